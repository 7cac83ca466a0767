#include "library/mailbox/region_mailbox.h"

#include "tests/library/mailbox/mailbox_script.h"

#include <ovk/core.h>

#include <array>
#include <map>
#include <utility>
#include <vector>

namespace ovk::test {
namespace {

class RegionCommandTest : public LibraryTest {
 protected:
  Exchange& expect_dump(std::uint32_t region, std::uint32_t length, std::uint32_t offset = 0) {
    expect_sli_mode(board0, 4);
    return channel.expect("RAVN_MGMT_HBA_ISSUE_DMP_MBX", board0)
        .word(1, offset)
        .word(2, length)
        .sends(1, std::array{2U, region, 0U});
  }

  ByteVector dest = ByteVector(4100, 0xEE);
};

TEST_F(RegionCommandTest, EachRegionHasItsLengthAndOthersAreLogged) {
  const std::map<std::uint32_t, std::uint32_t> lengths = {
      {0, 60},   {4, 120},   {5, 200},   {6, 200},  {7, 200},    {8, 60},
      {9, 256},  {10, 256},  {14, 1000}, {17, 100}, {19, 2028},  {21, 200},
      {22, 512}, {23, 1024}, {30, 12},   {32, 8},   {160, 4096}, {162, 4096}};
  for (std::uint32_t region = 0; region < 300; ++region) {
    const auto known = lengths.find(region);
    EXPECT_EQ(valid_region(region), known == lengths.end() ? 0 : known->second) << region;
  }
  log_at(OVK_LOG_ERROR);
  valid_region(3);
  valid_region(23);
  EXPECT_THAT(log_lines(), testing::ElementsAre(LogLine{"valid_region", "ERROR: Invalid region 3"},
                                                LogLine{"", ""}));
}

TEST_F(RegionCommandTest, ADumpIsCheckedInOrder) {
  const auto refusal = [this](std::uint32_t type, std::uint32_t room, std::uint8_t* place) {
    expect_sli_mode(board0, 4);
    return OVK_IssueDumpMBox(0, type, 0, 3, 0, place, &room);
  };
  EXPECT_EQ(refusal(0, 0, nullptr), 2U) << "a type too low";
  EXPECT_EQ(refusal(5, 0, nullptr), 2U) << "a type too high";
  EXPECT_EQ(refusal(1, 0, nullptr), 7U) << "no room";
  EXPECT_EQ(refusal(4, 9, nullptr), 4U) << "no destination";
  EXPECT_EQ(refusal(2, 9, dest.data()), 3U) << "no such region";
}

TEST_F(RegionCommandTest, ADumpDeliversWhatLiesBehindTheOffset) {
  const ByteVector image = counted_bytes(4096);
  using Case = std::array<std::uint32_t, 4>;
  for (const auto& [offset, room, returned, delivered] :
       {Case{0, 100, 1024, 100}, Case{24, 4096, 1024, 1000}, Case{1023, 9, 1024, 1},
        Case{1024, 9, 1024, 0}, Case{0xFFFFFFFF, 9, 1024, 0}, Case{0, 4100, 0xFFFFFFFF, 4096},
        Case{4096, 9, 4097, 0}}) {
    SCOPED_TRACE(testing::Message() << "offset " << offset << ", room " << room);
    dest.assign(4100, 0xEE);
    std::uint32_t size = room;
    expect_dump(23, 1024, offset).answers(3, returned).replies(2, image);
    EXPECT_EQ(OVK_IssueDumpMBox(0, 2, 0, 23, offset, dest.data(), &size), OVK_OK);
    EXPECT_EQ(size, delivered);
    ByteVector expected(4100, 0xEE);
    std::copy_n(image.data() + (delivered == 0 ? 0 : offset), delivered, expected.begin());
    EXPECT_THAT(dest, SameBytes(expected));
  }
}

TEST_F(RegionCommandTest, AFirmwareStatusDecidesADumpAndDeliversNothing) {
  // Intended: the result of a firmware status without one of its own is the delivery error.
  using Case = std::array<std::uint32_t, 4>;
  for (const auto& [mailbox_status, status, delivery, result] :
       {Case{0xFFFD, 0, 0, 4}, Case{0xFFF7, 0x0BAD0001, 19, 5}, Case{0xFFF6, 0, 19, 6},
        Case{7, 0x0BAD0001, 0, 0}, Case{7, 0, 19, 19}, Case{0x1FFFD, 0, 0, 0}}) {
    SCOPED_TRACE(testing::Message() << std::hex << mailbox_status << ", " << status);
    std::uint32_t size = 100;
    expect_dump(14, 1000)
        .answers(3, 100)
        .replies(2, counted_bytes(100))
        .replies(3, mailbox_status)
        .ends_with(status, static_cast<int>(delivery));
    EXPECT_EQ(OVK_IssueDumpMBox(0, 2, 0, 14, 0, dest.data(), &size), result);
    EXPECT_EQ(size, 0U);
  }
  EXPECT_THAT(dest, SameBytes(ByteVector(4100, 0xEE)));
}

TEST_F(RegionCommandTest, AnUpdateIsCheckedInOrder) {
  std::uint32_t status = 77;
  const auto update = [&](std::uint8_t type, std::uint32_t region) {
    return OVK_IssueUpdateCfgMBox(0, type, region, dest.data(), 1025, &status);
  };
  EXPECT_EQ(update(1, 3), 2) << "not the type of updates";
  expect_sli_mode(board0, 4);
  EXPECT_EQ(update(2, 3), 3) << "no such region";
  expect_sli_mode(board0, 4);
  EXPECT_EQ(update(2, 23), 7) << "longer than the region";
  EXPECT_EQ(status, 77U);
}

class LegacyRegionTest : public MailboxTest {
 protected:
  /** Expects a dump to deliver so many bytes of each value, and nothing behind them. */
  static void expect_dump(std::uint8_t region,
                          const std::vector<std::pair<std::size_t, std::uint8_t>>& runs,
                          std::uint32_t result = OVK_OK) {
    ByteVector dest(4100, 0xEE);
    ByteVector expected;
    for (const auto& [size, value] : runs) {
      expected.resize(expected.size() + size, value);
    }
    expected.resize(dest.size(), 0xEE);
    EXPECT_EQ(LEG_IssueDumpMBox(0, dest.data(), region), result);
    EXPECT_THAT(dest, SameBytes(expected));
  }
};

TEST_F(LegacyRegionTest, ADumpEndsWhereTheAdapterEndsItAndNeverLeadsOutOfTheBuffers) {
  expect_region_step(14, 0, 100, ByteVector(128, 1));
  expect_region_step(14, 100, 128, ByteVector(128, 2));
  expect_region_step(14, 228, 0, ByteVector(128, 3));
  expect_dump(14, {{100, 1}, {128, 2}});

  expect_region_step(3, 0, 128, ByteVector(2048, 6));
  expect_dump(3, {});  // a region without a length

  expect_region_step(22, 0, 128, ByteVector(2048, 1));
  expect_region_step(22, 128, 0xFFFFFFFF, ByteVector(2048, 2));
  expect_dump(22, {{128, 1}, {384, 2}});

  // Each step carries 512 bytes, whatever it says.
  expect_region_step(19, 0, 2027, ByteVector(2048, 3));
  expect_region_step(19, 2027, 128, ByteVector(2048, 4));
  expect_dump(19, {{512, 3}, {1515, 0}, {1, 4}});

  expect_region_step(160, 0, 4095, {});
  expect_region_step(160, 4095, 1, ByteVector(2048, 5));
  expect_dump(160, {{4095, 0}, {1, 5}});
}

TEST_F(LegacyRegionTest, AFailedDumpDeliversNothingOfItsSteps) {
  expect_region_step(23, 0, 128, ByteVector(128, 1));
  expect_region_step(23, 128, 128, {}).status(0x0BAD0039);
  expect_dump(23, {}, OVK_MAILBOX_BUSY);
  EXPECT_EQ(host().sleeps, (std::vector<std::uint64_t>{100000}));
}

TEST_F(LegacyRegionTest, UpdatesSendWholeWordsInOneAttempt) {
  const ByteVector data = counted_bytes(2048);
  expect_region_update(23, counted_bytes(1023));
  EXPECT_EQ(LegacySetRegion23(0, data.data(), 1023), OVK_OK);
  expect_region_update(23, data).status(0x0BAD0039);
  EXPECT_EQ(LegacySetRegion23(0, data.data(), 2048), 2U);
  EXPECT_EQ(host().sleeps, (std::vector<std::uint64_t>{100000}));
}

}  // namespace
}  // namespace ovk::test
