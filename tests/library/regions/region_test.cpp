#include "library/regions/region23.h"
#include "library/regions/region_update.h"
#include "tests/library/regions/region_script.h"

#include <ovk/regions.h>

#include <array>
#include <cstdlib>
#include <memory>

namespace ovk::test {
namespace {

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

  void expect_unchanged(const char* what, const ByteVector& image) {
    SCOPED_TRACE(what);
    expect_read(23, image);
    expect_image(sli4, image);
  }

  /** The default region with what stood in an image behind the default's end. */
  static ByteVector default_over(ByteVector image) {
    std::copy_n(default_region23().begin(), default_end, image.begin());
    return image;
  }

  void expect_default_of(const char* what, const ByteVector& image) {
    SCOPED_TRACE(what);
    expect_read(23, image);
    expect_image(sli4, default_over(image));
  }

  static ByteVector image_of_types(std::initializer_list<std::uint8_t> types,
                                   std::uint8_t words = 2) {
    ByteVector image = bare_region23();
    std::size_t at = 8;
    for (const std::uint8_t type : types) {
      image[at] = type;
      image[at + 1] = words;
      at += 4 + words * 4U;
    }
    return image;
  }
};

TEST_F(Region23Test, AnImageOfFourKnownRecordsIsReadAsItIs) {
  expect_unchanged("records and an end", patched(default_region23(), {{360, {9, 8, 7}}}));
  expect_unchanged("an end first", image_of_types({0xff, 0xff, 0xa0, 0xa2}));
  expect_unchanged("records without data", image_of_types({0xa0, 0xa1, 0xa2, 0xff}, 0));
  expect_unchanged("the fourth's length does not matter",
                   patched(default_region23(), {{357, {0xff}}}));
  expect_unchanged("a fourth record that ends the image",
                   image_of_types({0xa0, 0xa1, 0xa2, 0xa0}, 83));
}

TEST_F(Region23Test, WhatIsNotARegion23IsReadAsTheDefaultOne) {
  expect_default_of("signature", patched(bare_region23(), {{3, {'2'}}}));
  expect_default_of("version", patched(bare_region23(), {{4, {2}}}));
  expect_default_of("an unknown first record", image_of_types({0xa3, 0xa1, 0xa2, 0xff}));
  expect_default_of("an unknown fourth record", image_of_types({0xa0, 0xa1, 0xa2, 0xa3}));
  expect_default_of("a first record beyond the image", image_of_types({0xa0}, 255));
  expect_default_of("a fourth record behind the image", image_of_types({0xa0, 0xa1, 0xa2}, 84));
  expect_default_of("an erased region", ByteVector(region23_size, 0xff));
}

TEST_F(Region23Test, AShortReadIsReadAsTheDefaultRegion) {
  expect_read(23, bare_region23()).answers(3, 1023);
  expect_image(sli4, patched(default_over(bare_region23()), {{1023, {0}}}));
}

TEST_F(Region23Test, OlderBoardsAreReadByMailboxes) {
  const ByteVector image = patched(default_region23(), {{400, counted_bytes(624)}});
  expect_legacy_read(23, image);
  expect_image(sli3, image);
}

TEST_F(Region23Test, EmptyRegionsReadAsTheDefaultOneAndOtherFailuresFail) {
  for (const auto status : std::to_array<std::uint16_t>({0xFFFD, 0xFFF7, 0xFFF6})) {
    SCOPED_TRACE(status);
    expect_read(23, bare_region23(), status);
    expect_image(sli4, default_region23());
    expect_failing_legacy_read(23, status);
    expect_image(sli3, default_region23());
  }
  const ByteVector none;
  expect_read(23, bare_region23()).status(0x0BAD0001);
  expect_image(sli4, none);
  expect_read(23, bare_region23(), 0xFFFE).delivery_error(-3);
  expect_image(sli4, none);
  expect_failing_legacy_read(23, 0xFFFC);
  expect_image(sli3, none);
}

TEST_F(Region23Test, InitialisationWritesTheDefaultRegionOnBothGenerations) {
  expect_sli_mode(board0, sli3);
  expect_legacy_write(23, default_region23());
  EXPECT_EQ(OVK_InitR23(0), 0U);

  expect_sli_mode(board0, sli4);
  expect_write(23, default_region23(), 0xFFF6);
  EXPECT_EQ(OVK_InitR23(0), 0xFFF6U);

  expect_sli_mode(board0, sli4);
  expect_write(23, default_region23(), 0xFFF6).delivery_error(1);
  EXPECT_EQ(OVK_InitR23(0), 0U) << "only the firmware tells of a failure";

  expect_no_sli_mode(board0);
  EXPECT_EQ(OVK_InitR23(0), 1U);
}

TEST_F(Region23Test, AWriteTakesNoMoreThanTheRegion) {
  const ByteVector bytes(2000, 0x31);
  expect_write(23, ByteVector(region23_size, 0x31));
  EXPECT_EQ(fcoeSetRegion23(0, bytes.data(), 2000), 0U);
  expect_write(23, patched(ByteVector(region23_size), {{0, ByteVector(5, 0x31)}}));
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

  Exchange& expect_read_by_type(const ByteVector& image, std::uint32_t mailbox_status = 0) {
    expect_adapter_type(board0, with_commands);
    return expect_read(22, image, mailbox_status);
  }

  /** A write by the region command asks for the type once more. */
  Exchange& expect_write_by_type(const ByteVector& image, std::uint32_t mailbox_status = 0) {
    expect_adapter_type(board0, with_commands);
    return expect_write(22, image, mailbox_status);
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
    expect_adapter_type(board0, type);
    if (type == without_commands) {
      expect_legacy_read(22, image);
    } else {
      expect_read(22, image);
    }
    EXPECT_EQ(OVK_GetRegion22(0, entries.data(), &count), 0U);
    EXPECT_EQ(count, 32U);
    EXPECT_THAT(bytes_of(entries), SameBytes(expected)) << type;
  }
}

TEST_F(Region22Test, AFailedReadDeliversNothingAndFailsASet) {
  const auto expect_get = [this](std::uint32_t result) {
    const AllocationWatch memory;
    EXPECT_EQ(OVK_GetRegion22(0, entries.data(), &count), result);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_EQ(count, 77U);
    EXPECT_EQ(bytes_of(entries.front()), ByteVector(16));
  };
  expect_read_by_type(sample_region22()).answers(3, 511);
  expect_get(0xFFFE);
  expect_read_by_type(patched(sample_region22(), {{3, {'3'}}}));
  expect_get(0xFFFE);
  expect_adapter_type(board0, without_commands);
  expect_failing_legacy_read(22, 0xFFFC);
  expect_get(0xFFFC);

  const auto expect_both = [&](const auto& script, std::uint32_t of_get, std::uint32_t of_set) {
    script();
    expect_get(of_get);
    script();
    EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), of_set);
  };
  expect_both([&] { expect_no_adapter_type(); }, 0x0BAD0042, 0x0BAD0042);
  expect_both([&] { expect_read_by_type(sample_region22(), 0xFFF7); }, 5, 1);
  expect_both([&] { expect_read_by_type(sample_region22(), 0xFFF6); }, 6, 1);
  expect_both([&] { expect_read_by_type(sample_region22()).status(0x0BAD0001); }, 1, 1);
}

TEST_F(Region22Test, ASetReplacesTheFirstEntriesAndKeepsTheRest) {
  entries[0].bytes[0] = 0xAB;
  entries[1].bytes[15] = 0xCD;
  const ByteVector changed =
      patched(sample_region22(), {{8, ByteVector(32)}, {8, {0xAB}}, {8 + 31, {0xCD}}});
  expect_read_by_type(sample_region22());
  expect_write_by_type(changed, 0x1234);
  EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 2), 0x1234U);

  expect_adapter_type(board0, without_commands);
  expect_legacy_read(22, sample_region22());
  expect_legacy_write(22, changed);
  EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 2), 0U);

  expect_read_by_type(sample_region22());
  expect_write_by_type(sample_region22());
  EXPECT_EQ(OVK_SetRegion22(0, nullptr, 0), 0U);
}

TEST_F(Region22Test, ASetWritesNoMoreEntriesThanFit) {
  std::memset(entries.data(), 0x5C, entries.size() * sizeof(Region22Entry));
  for (const std::uint32_t given : {31U, 32U, 64U, 0x10000001U}) {
    expect_read_by_type(sample_region22());
    expect_write_by_type(patched(sample_region22(), {{8, ByteVector(31 * 16, 0x5C)}}));
    EXPECT_EQ(OVK_SetRegion22(0, entries.data(), given), 0U);
  }
}

TEST_F(Region22Test, ASetFirstRepairsARegionThatIsEmptyOrDamaged) {
  entries[0].bytes[0] = 0xAB;
  const ByteVector changed = patched(default_region22(), {{8, {0xAB}}});
  const auto expect_repaired = [&](const char* what) {
    SCOPED_TRACE(what);
    expect_write_by_type(default_region22());
    expect_write_by_type(patched(changed, {{9, ByteVector(15)}}));
    EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), 0U);
  };
  expect_read_by_type(sample_region22(), 0xFFFD);
  expect_repaired("empty");
  expect_read_by_type(patched(sample_region22(), {{0, {'r'}}}));
  expect_repaired("no signature");
  expect_read_by_type(sample_region22()).answers(3, 100);
  expect_repaired("too short");

  for (const auto status : std::to_array<std::uint16_t>({0xFFFC, 0xFFFE})) {
    SCOPED_TRACE(status);
    expect_adapter_type(board0, without_commands);
    expect_failing_legacy_read(22, status);
    expect_legacy_write(22, default_region22());
    expect_legacy_write(22, changed);
    EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), 0U);
  }

  expect_read_by_type(sample_region22(), 0xFFFD);
  expect_write_by_type(default_region22(), 0xFFF6);
  const AllocationWatch memory;
  EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), 0xFFF6U) << "a failed repair ends the set";
  EXPECT_EQ(memory.outstanding(), 0);
}

TEST_F(Region22Test, InitialisationWritesARegionWithoutEntries) {
  expect_adapter_type(board0, with_commands);
  expect_write_by_type(default_region22(), 9);
  EXPECT_EQ(OVK_InitR22(0), 9U);
  expect_adapter_type(board0, without_commands);
  expect_legacy_write(22, default_region22());
  EXPECT_EQ(OVK_InitR22(0), 0U);
  expect_no_adapter_type();
  EXPECT_EQ(OVK_InitR22(0), 0x0BAD0042U);
}

TEST_F(Region22Test, OnlyAdaptersWithRegionCommandsAreWrittenByThem) {
  ByteVector image(1000, 0x42);
  expect_adapter_type(board0, 0x704);
  expect_write(14, image, 0xFFF6);
  EXPECT_EQ(OVK_SetRegion14(0, image.data()), 0xFFF6U);
  expect_adapter_type(board0, with_commands);
  expect_write(14, image).status(0x0BAD0001);
  EXPECT_EQ(OVK_SetRegion14(0, image.data()), 0U) << "only the firmware tells of a failure";
  expect_adapter_type(board0, without_commands);
  EXPECT_EQ(OVK_SetRegion14(0, image.data()), 2U);
  expect_adapter_type(board0, without_commands);
  EXPECT_EQ(fcoeSetRegion22(0, image.data(), 512), 2U);
  expect_no_adapter_type();
  EXPECT_EQ(OVK_SetRegion14(0, image.data()), 0x0BAD0042U);
}

TEST_F(Region22Test, WithoutMemoryNothingOfARegionIsSent) {
  Region23Image* image = nullptr;
  std::uint32_t length = 77;
  const auto expect_no_memory = [](const auto& call) {
    const AllocationWatch no_memory{0};
    EXPECT_EQ(call(), 12U);
  };
  expect_no_memory([&] { return GetRegion23(0, &image, &length, sli4); });
  expect_adapter_type(board0, with_commands);
  expect_no_memory([&] { return OVK_GetRegion22(0, entries.data(), &count); });
  expect_adapter_type(board0, with_commands);
  expect_no_memory([&] { return OVK_SetRegion22(0, entries.data(), 1); });
  expect_adapter_type(board0, with_commands);
  expect_no_memory([] { return OVK_InitR22(0); });
  expect_sli_mode(board0, sli4);
  expect_no_memory([] { return OVK_InitR23(0); });
}

}  // namespace
}  // namespace ovk::test
