#include "regions/region23.h"
#include "regions/region_update.h"
#include "tests/regions/region_script.h"

#include <ovk/regions.h>

#include <array>
#include <cstdlib>
#include <memory>

namespace ovk::test {
namespace {

using Image = std::unique_ptr<Region23Image, decltype(&std::free)>;

class Region23Test : public RegionTest {
 protected:
  /** Reads the region, of which the traffic was expected before. */
  static std::uint32_t read(std::uint32_t sli_mode, ByteVector& bytes) {
    void* untouched = &bytes;
    auto* image = static_cast<Region23Image*>(untouched);
    std::uint32_t length = 77;
    const std::uint32_t result = GetRegion23(0, &image, &length, sli_mode);
    const Image owner{image, &std::free};
    EXPECT_EQ(image != nullptr, result == OVK_OK);
    EXPECT_EQ(length, result == OVK_OK ? region23_size : 0);
    bytes = image != nullptr ? bytes_of(*image) : ByteVector{};
    return result;
  }

  void expect_default_of(const char* what, const ByteVector& image) {
    SCOPED_TRACE(what);
    expect_read(23, image);
    ByteVector bytes;
    EXPECT_EQ(read(sli4, bytes), 0U);
    ByteVector expected = image;
    std::copy_n(default_region23().begin(), default_end, expected.begin());
    EXPECT_EQ(bytes, expected) << "what stood behind the default's end stays";
  }

  void expect_unchanged(const char* what, const ByteVector& image) {
    SCOPED_TRACE(what);
    expect_read(23, image);
    ByteVector bytes;
    EXPECT_EQ(read(sli4, bytes), 0U);
    EXPECT_EQ(bytes, image);
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
  const ByteVector image = default_region23();
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
  ByteVector bytes;
  EXPECT_EQ(read(sli4, bytes), 0U);
  EXPECT_EQ(bytes[1022], 0x77);
  EXPECT_EQ(bytes[1023], 0);
  bytes.resize(default_end);
  ByteVector expected = default_region23();
  expected.resize(default_end);
  EXPECT_EQ(bytes, expected);
}

TEST_F(Region23Test, OlderBoardsAreReadByMailboxes) {
  const ByteVector image = patched(default_region23(), {{400, ByteVector(624, 0x42)}});
  expect_legacy_read(23, image);
  ByteVector bytes;
  EXPECT_EQ(read(sli3, bytes), 0U);
  EXPECT_EQ(bytes, image);
}

TEST_F(Region23Test, EmptyRegionsReadAsTheDefaultOneAndOtherFailuresFail) {
  ByteVector bytes;
  for (const auto status : std::array<std::uint16_t, 3>{0xFFFD, 0xFFF7, 0xFFF6}) {
    SCOPED_TRACE(status);
    expect_read(23, bare_region23(), status);
    EXPECT_EQ(read(sli4, bytes), 0U);
    EXPECT_EQ(bytes, default_region23());
    expect_failing_legacy_read(23, status);
    EXPECT_EQ(read(sli3, bytes), 0U);
    EXPECT_EQ(bytes, default_region23());
  }
  expect_read(23, bare_region23()).status(0x0BAD0001);
  EXPECT_EQ(read(sli4, bytes), 1U);
  expect_read(23, bare_region23(), 0xFFFE).delivery_error(-3);
  EXPECT_EQ(read(sli4, bytes), 1U);
  expect_failing_legacy_read(23, 0xFFFC);
  EXPECT_EQ(read(sli3, bytes), 1U);
}

TEST_F(Region23Test, InitialisationWritesTheDefaultRegionOnBothGenerations) {
  expect_mode(sli4);
  expect_write(23, default_region23());
  EXPECT_EQ(OVK_InitR23(0), 0U);

  expect_mode(sli3);
  expect_legacy_write(23, default_region23());
  EXPECT_EQ(OVK_InitR23(0), 0U);

  expect_mode(sli4);
  expect_write(23, default_region23(), 0xFFF6);
  EXPECT_EQ(OVK_InitR23(0), 0xFFF6U);

  expect_mode(sli4);
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
    ByteVector image(region22_size);
    for (std::size_t i = 0; i < image.size(); ++i) {
      image[i] = static_cast<std::uint8_t>(i * 3 + i / 256);
    }
    return patched(image, {{0, {'R', 'G', '2', '2'}}});
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
  ByteVector expected = sample_region22();
  expected.erase(expected.begin(), expected.begin() + 8);
  expected.resize(region22_size);
  const auto expect_delivered = [&] {
    std::memset(entries.data(), 0xEE, entries.size() * sizeof(Region22Entry));
    EXPECT_EQ(OVK_GetRegion22(0, entries.data(), &count), 0U);
    EXPECT_EQ(count, 32U);
    const auto* bytes = entries.front().bytes;
    EXPECT_EQ(ByteVector(bytes, bytes + region22_size), expected);
    EXPECT_EQ(entries[32].bytes[0], 0xEE);
  };

  expect_read_by_type(sample_region22());
  expect_delivered();
  expect_adapter_type(board0, 0x704);
  expect_read(22, sample_region22());
  expect_delivered();
  expect_adapter_type(board0, without_commands);
  expect_legacy_read(22, sample_region22());
  expect_delivered();
}

TEST_F(Region22Test, AFailedReadDeliversNothing) {
  const auto expect_result = [this](std::uint32_t result) {
    EXPECT_EQ(OVK_GetRegion22(0, entries.data(), &count), result);
    EXPECT_EQ(count, 77U);
    EXPECT_EQ(entries.front().bytes[0], 0);
  };
  expect_no_adapter_type();
  expect_result(0x0BAD0042);
  expect_read_by_type(sample_region22(), 0xFFF7);
  expect_result(5);
  expect_read_by_type(sample_region22()).answers(3, 511);
  expect_result(0xFFFE);
  expect_read_by_type(patched(sample_region22(), {{3, {'3'}}}));
  expect_result(0xFFFE);
  expect_read_by_type(sample_region22()).status(0x0BAD0001);
  expect_result(1);
  expect_adapter_type(board0, without_commands);
  expect_failing_legacy_read(22, 0xFFFC);
  expect_result(0xFFFC);
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

  for (const auto status : std::array<std::uint16_t, 2>{0xFFFC, 0xFFFE}) {
    SCOPED_TRACE(status);
    expect_adapter_type(board0, without_commands);
    expect_failing_legacy_read(22, status);
    expect_legacy_write(22, default_region22());
    expect_legacy_write(22, changed);
    EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), 0U);
  }

  expect_read_by_type(sample_region22(), 0xFFFD);
  expect_write_by_type(default_region22(), 0xFFF6);
  EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), 0xFFF6U) << "a failed repair ends the set";
}

TEST_F(Region22Test, ASetFailsWhenTheRegionCannotBeRead) {
  for (const std::uint32_t status : {0xFFF7U, 0xFFF6U}) {
    expect_read_by_type(sample_region22(), status);
    EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), 1U);
  }
  expect_read_by_type(sample_region22()).status(0x0BAD0001);
  EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), 1U);
  expect_no_adapter_type();
  EXPECT_EQ(OVK_SetRegion22(0, entries.data(), 1), 0x0BAD0042U);
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
  expect_mode(sli4);
  expect_no_memory([] { return OVK_InitR23(0); });
}

TEST_F(Region22Test, EveryFailureFreesItsBuffers) {
  const auto expect_freed = [](const auto& call) {
    const AllocationWatch memory;
    EXPECT_NE(call(), OVK_OK);
    EXPECT_GT(memory.allocations(), 0);
    EXPECT_EQ(memory.outstanding(), 0);
  };
  expect_read_by_type(sample_region22(), 0xFFFD);
  expect_write_by_type(default_region22(), 0xFFF6);
  expect_freed([this] { return OVK_SetRegion22(0, entries.data(), 1); });
  expect_read_by_type(sample_region22()).answers(3, 1);
  expect_freed([this] { return OVK_GetRegion22(0, entries.data(), &count); });
  Region23Image* image = nullptr;
  std::uint32_t length = 0;
  expect_read(23, bare_region23()).status(0x0BAD0001);
  expect_freed([&] { return GetRegion23(0, &image, &length, sli4); });
}

}  // namespace
}  // namespace ovk::test
