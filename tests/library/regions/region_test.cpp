#include "library/mailbox/region_mailbox.h"
#include "library/regions/region23.h"
#include "library/regions/region_update.h"
#include "tests/library/regions/region_script.h"

#include <ovk/regions.h>

#include <cstdlib>
#include <functional>
#include <memory>

namespace ovk::test {
namespace {

/** A region's image, and what is the matter with it. */
using Sample = std::pair<const char*, ByteVector>;

class Region23Test : public RegionTest {
 protected:
  /** Reads the region, which gives this image, or fails without an image. */
  static void expect_image(std::uint32_t sli_mode, const ByteVector& expected) {
    void* untouched = &sli_mode;
    auto* image = static_cast<Region23Image*>(untouched);
    std::uint32_t length = 77;
    const AllocationWatch memory;
    EXPECT_EQ(GetRegion23(0, &image, &length, sli_mode), expected.empty() ? 1U : 0U);
    EXPECT_EQ(memory.outstanding(), expected.empty() ? 0 : 1);
    const std::unique_ptr<Region23Image, decltype(&std::free)> owner{image, &std::free};
    EXPECT_EQ(length, expected.size());
    EXPECT_THAT(image != nullptr ? bytes_of(*image) : ByteVector{}, SameBytes(expected));
  }

  /** The default region with what stood in an image behind the default's end. */
  static ByteVector default_over(ByteVector image) {
    std::copy_n(default_region23().begin(), default_end, image.begin());
    return image;
  }

  static ByteVector image_of_types(std::initializer_list<std::uint8_t> types,
                                   std::uint8_t words = 2) {
    ByteVector image = bare_region23();
    std::size_t at = 8;
    for (const std::uint8_t type : types) {
      image = patched(image, {{at, {type, words}}});
      at += 4 + words * 4U;
    }
    return image;
  }
};

TEST_F(Region23Test, AnImageOfFourKnownRecordsIsReadAsItIs) {
  for (const auto& [what, image] :
       {Sample{"an end first", image_of_types({0xff, 0xff, 0xa0, 0xa2})},
        Sample{"records without data", image_of_types({0xa0, 0xa1, 0xa2, 0xff}, 0)},
        Sample{"a length of the fourth", patched(default_region23(), {{357, {0xff, 9, 8}}})},
        Sample{"a fourth that ends the image", image_of_types({0xa0, 0xa1, 0xa2, 0xa0}, 83)}}) {
    SCOPED_TRACE(what);
    expect_read(23, image);
    expect_image(sli4, image);
  }
}

TEST_F(Region23Test, WhatIsNotARegion23IsReadAsTheDefaultOne) {
  for (const auto& [what, image] :
       {Sample{"signature", patched(image_of_types({0xff, 0xff, 0xff, 0xff}), {{3, {'2'}}})},
        Sample{"version", patched(image_of_types({0xff, 0xff, 0xff, 0xff}), {{4, {2}}})},
        Sample{"an unknown first record", image_of_types({0xa3, 0xa1, 0xa2, 0xff})},
        Sample{"an unknown fourth record", image_of_types({0xa0, 0xa1, 0xa2, 0xa3})},
        Sample{"a first record beyond the image", image_of_types({0xa0}, 255)},
        Sample{"a fourth record behind the image", image_of_types({0xa0, 0xa1, 0xa2}, 84)}}) {
    SCOPED_TRACE(what);
    expect_read(23, image);
    expect_image(sli4, default_over(image));
  }
  const ByteVector whole = image_of_types({0xa0, 0xa1, 0xa2, 0xff});
  expect_read(23, whole).answers(3, 1023);
  expect_image(sli4, patched(default_over(whole), {{1023, {0}}}));
}

TEST_F(Region23Test, EmptyRegionsReadAsTheDefaultOneAndOtherFailuresFail) {
  for (const auto status : std::to_array<std::uint16_t>({0xFFFD, 0xFFF7, 0xFFF6})) {
    SCOPED_TRACE(status);
    expect_read(23, bare_region23(), status);
    expect_image(sli4, default_region23());
    expect_legacy_read(23, bare_region23(), status);
    expect_image(sli3, default_region23());
  }
  const ByteVector none;
  expect_read(23, bare_region23()).status(0x0BAD0001);
  expect_image(sli4, none);
  expect_read(23, bare_region23(), 0xFFFE).delivery_error(-3);
  expect_image(sli4, none);
  expect_legacy_read(23, bare_region23(), 0xFFFC);
  expect_image(sli3, none);
}

TEST_F(Region23Test, InitialisationWritesTheDefaultRegionOnBothGenerations) {
  expect_sli_mode(board0, sli3);
  expect_legacy_write(23, default_region23());
  EXPECT_EQ(OVK_InitR23(0), 0U);
  expect_sli_mode(board0, sli4);
  expect_write(23, default_region23(), 0xFFF6);
  EXPECT_EQ(OVK_InitR23(0), 0xFFF6U);
  expect_no_sli_mode(board0);
  EXPECT_EQ(OVK_InitR23(0), 1U);
}

TEST_F(Region23Test, AWriteTakesNoMoreThanTheRegionAndOnlyTheFirmwareTellsOfItsFailure) {
  const ByteVector bytes(2000, 0x31);
  expect_write(23, ByteVector(region23_size, 0x31), 0xFFF6).delivery_error(1);
  EXPECT_EQ(fcoeSetRegion23(0, bytes.data(), 2000), 0U);
  expect_write(23, ByteVector(5, 0x31)).word(2, region23_size);
  EXPECT_EQ(fcoeSetRegion23(0, bytes.data(), 5), 0U);
  expect_adapter_type(board0, with_commands);
  expect_write(22, ByteVector(region22_size, 0x31));
  EXPECT_EQ(fcoeSetRegion22(0, bytes.data(), 2000), 0U);
}

class Region22Test : public RegionTest {
 protected:
  static ByteVector sample_region22() {
    return patched(counted_bytes(region22_size), {{0, {'R', 'G', '2', '2'}}});
  }

  Exchange& expect_command_read(const ByteVector& image, std::uint32_t mailbox_status = 0) {
    expect_adapter_type(board0, with_commands);
    return expect_read(22, image, mailbox_status);
  }

  /** A read in the way of an adapter type. */
  void expect_read_by(std::uint32_t type, const ByteVector& image) {
    expect_adapter_type(board0, type);
    if (type == without_commands) {
      expect_legacy_read(22, image);
    } else {
      expect_read(22, image);
    }
  }

  /** A write in the way of an adapter type. The region command asks for the type once more. */
  Exchange& expect_write_by(std::uint32_t type, const ByteVector& image) {
    if (type == without_commands) {
      return expect_legacy_write(22, image);
    }
    expect_adapter_type(board0, type);
    return expect_write(22, image);
  }

  void expect_no_adapter_type() {
    channel.expect("RAVN_MGMT_GET_RAVNOVK_INFO", board0).status(0x0BAD0042);
  }

  std::vector<Region22Entry> entries = std::vector<Region22Entry>(64);
  std::uint32_t count = 77;
};

TEST_F(Region22Test, DeliversThirtyTwoEntriesOfWhichTheLastEndsInZeros) {
  const ByteVector image = sample_region22();
  ByteVector expected{image.begin() + 8, image.end()};
  expected.resize(region22_size);
  expected.resize(entries.size() * sizeof(Region22Entry), 0xEE);
  for (const std::uint32_t type : {with_commands, 0x704U, without_commands}) {
    std::memset(entries.data(), 0xEE, expected.size());
    expect_read_by(type, image);
    EXPECT_EQ(OVK_GetRegion22(0, entries.data(), &count), 0U);
    EXPECT_EQ(count, 32U);
    EXPECT_THAT(bytes_of(entries), SameBytes(expected)) << type;
  }
}

TEST_F(Region22Test, AFailedReadDeliversNothingAndFailsASet) {
  const auto expect_get = [this](std::uint32_t result) {
    EXPECT_EQ(OVK_GetRegion22(0, entries.data(), &count), result);
    EXPECT_EQ(count, 77U);
    EXPECT_EQ(bytes_of(entries.front()), ByteVector(16));
  };
  expect_command_read(sample_region22()).answers(3, 511);
  expect_get(0xFFFE);
  expect_command_read(patched(sample_region22(), {{3, {'3'}}}));
  expect_get(0xFFFE);
  expect_adapter_type(board0, without_commands);
  expect_legacy_read(22, sample_region22(), 0xFFFC);
  expect_get(0xFFFC);

  const auto expect_both = [&](const auto& script, std::uint32_t of_get, std::uint32_t of_set) {
    script();
    expect_get(of_get);
    script();
    EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), of_set);
  };
  expect_both([&] { expect_no_adapter_type(); }, 0x0BAD0042, 0x0BAD0042);
  expect_both([&] { expect_command_read(sample_region22(), 0xFFF7); }, 5, 1);
  expect_both([&] { expect_command_read(sample_region22(), 0xFFF6); }, 6, 1);
  expect_both([&] { expect_command_read(sample_region22()).status(0x0BAD0001); }, 1, 1);
}

TEST_F(Region22Test, ASetReplacesTheFirstEntriesThatFitAndKeepsTheRest) {
  std::memset(entries.data(), 0x5C, entries.size() * sizeof(Region22Entry));
  for (const std::uint32_t type : {with_commands, without_commands}) {
    for (const std::uint32_t given : {0U, 2U, 31U, 32U, 64U, 0x10000001U}) {
      expect_read_by(type, sample_region22());
      expect_write_by(
          type, patched(sample_region22(), {{8, ByteVector(std::min(given, 31U) * 16, 0x5C)}}));
      EXPECT_EQ(OVK_SetRegion22(0, entries.data(), given), 0U);
    }
  }
  entries[0].bytes[1] = 0xAB;
  expect_read_by(with_commands, sample_region22());
  expect_write_by(with_commands,
                  patched(sample_region22(), {{8, ByteVector(16, 0x5C)}, {9, {0xAB}}}))
      .replies(2, 0x1234U);
  EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), 0x1234U);
}

TEST_F(Region22Test, ASetFirstRepairsARegionThatIsEmptyOrDamaged) {
  entries[0].bytes[0] = 0xAB;
  const auto expect_repaired = [&](const char* what, std::uint32_t type) {
    SCOPED_TRACE(what);
    expect_write_by(type, default_region22());
    expect_write_by(type, patched(default_region22(), {{8, {0xAB}}}));
    EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), 0U);
  };
  expect_command_read(sample_region22(), 0xFFFD);
  expect_repaired("empty", with_commands);
  expect_command_read(patched(sample_region22(), {{0, {'r'}}}));
  expect_repaired("no signature", with_commands);
  expect_command_read(sample_region22()).answers(3, 100);
  expect_repaired("too short", with_commands);
  for (const auto status : std::to_array<std::uint16_t>({0xFFFC, 0xFFFE})) {
    expect_adapter_type(board0, without_commands);
    expect_legacy_read(22, sample_region22(), status);
    expect_repaired("read by mailboxes", without_commands);
  }

  expect_command_read(sample_region22(), 0xFFFD);
  expect_write_by(with_commands, default_region22()).replies(2, 0xFFF6U);
  EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), 0xFFF6U) << "a failed repair ends the set";
}

TEST_F(Region22Test, InitialisationWritesARegionWithoutEntries) {
  for (const std::uint32_t type : {with_commands, without_commands}) {
    expect_adapter_type(board0, type);
    expect_write_by(type, default_region22());
    EXPECT_EQ(OVK_InitR22(0), 0U);
  }
  expect_no_adapter_type();
  EXPECT_EQ(OVK_InitR22(0), 0x0BAD0042U);
}

TEST_F(Region22Test, OnlyAdaptersWithRegionCommandsAreWrittenByThem) {
  const ByteVector image(1000, 0x42);
  expect_adapter_type(board0, 0x704);
  expect_write(14, image, 0xFFF6);
  EXPECT_EQ(OVK_SetRegion14(0, image.data()), 0xFFF6U);
  expect_adapter_type(board0, without_commands);
  EXPECT_EQ(OVK_SetRegion14(0, image.data()), 2U);
  expect_no_adapter_type();
  EXPECT_EQ(OVK_SetRegion14(0, image.data()), 0x0BAD0042U);
}

TEST_F(Region22Test, WithoutMemoryNothingOfARegionIsSentAndWithItAllIsFreed) {
  ByteVector dest(region23_size);
  Region23Image* image = nullptr;
  std::uint32_t length = 77;
  const auto expect_no_memory = [](const auto& call) {
    const AllocationWatch no_memory{0};
    EXPECT_EQ(call(), 12U);
  };
  expect_no_memory([&] { return GetRegion23(0, &image, &length, sli4); });
  expect_no_memory([&] { return LEG_IssueDumpMBox(0, dest.data(), 23); });
  expect_sli_mode(board0, sli4);
  expect_no_memory([] { return OVK_InitR23(0); });
  for (int i = 0; i < 3; ++i) {
    expect_adapter_type(board0, with_commands);
  }
  expect_no_memory([&] { return OVK_GetRegion22(0, entries.data(), &count); });
  expect_no_memory([&] { return OVK_SetRegion22(0, entries.data(), 1); });
  expect_no_memory([] { return OVK_InitR22(0); });

  expect_read_by(without_commands, sample_region22());
  expect_write_by(without_commands, patched(sample_region22(), {{8, ByteVector(16)}}));
  const AllocationWatch memory;
  EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), 0U);
  EXPECT_EQ(memory.allocations(), 6) << "the image, and the extension of each mailbox";
  EXPECT_EQ(memory.outstanding(), 0);
}

}  // namespace
}  // namespace ovk::test
