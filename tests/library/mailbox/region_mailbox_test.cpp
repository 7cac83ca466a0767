#include "library/mailbox/region_mailbox.h"

#include "tests/library/mailbox/mailbox_script.h"

#include <ovk/core.h>

#include <array>
#include <map>
#include <utility>
#include <vector>

namespace ovk::test {
namespace {

class RegionLengthTest : public LibraryTest {};

TEST_F(RegionLengthTest, KnowsTheLengthOfEachRegionAndLogsTheOthers) {
  const std::map<std::uint32_t, std::uint32_t> lengths = {
      {0, 60},   {4, 120},   {5, 200},   {6, 200},  {7, 200},    {8, 60},
      {9, 256},  {10, 256},  {14, 1000}, {17, 100}, {19, 2028},  {21, 200},
      {22, 512}, {23, 1024}, {30, 12},   {32, 8},   {160, 4096}, {162, 4096}};
  log_at(0);
  for (std::uint32_t region = 0; region < 300; ++region) {
    LogLevel = region == 3 || region == 23 ? OVK_LOG_ERROR : 0;
    const auto known = lengths.find(region);
    EXPECT_EQ(valid_region(region), known == lengths.end() ? 0 : known->second) << region;
  }
  EXPECT_THAT(log_lines(), testing::ElementsAre(LogLine{"valid_region", "ERROR: Invalid region 3"},
                                                LogLine{"", ""}));
}

class Sli4RegionTest : public LibraryTest {
 protected:
  /** Expects the question for the SLI mode; a mode of 0 is refused. */
  void expect_mode(std::uint32_t mode) {
    mode == 0 ? expect_no_sli_mode(board0) : expect_sli_mode(board0, mode);
  }

  Exchange& expect_dump(std::uint32_t region, std::uint32_t length, std::uint32_t offset = 0) {
    expect_sli_mode(board0, 4);
    return channel.expect("RAVN_MGMT_HBA_ISSUE_DMP_MBX", board0)
        .word(1, offset)
        .word(2, length)
        .sends(1, std::array{2U, region, 0U});
  }

  std::uint32_t dump(std::uint32_t region, std::uint32_t offset = 0) {
    return OVK_IssueDumpMBox(0, 2, 0, region, offset, dest_.data(), &size_);
  }

  ByteVector dest_ = ByteVector(4100, 0xEE);
  std::uint32_t size_ = 4096;
};

TEST_F(Sli4RegionTest, ADumpIsCheckedInOrder) {
  struct {
    const char* what;
    std::uint32_t sli_mode;
    std::uint32_t type;
    std::uint32_t room;
    std::uint8_t* dest;
    std::uint32_t result;
  } const cases[] = {{"no SLI mode", 0, 9, 0, nullptr, 1},
                     {"an older board", 3, 2, 0, nullptr, 2},
                     {"a type too low", 4, 0, 0, nullptr, 2},
                     {"a type too high", 4, 5, 0, nullptr, 2},
                     {"no room", 4, 2, 0, nullptr, 7},
                     {"no destination", 4, 2, 9, nullptr, 4},
                     {"no such region", 4, 2, 9, dest_.data(), 3}};
  for (const auto& [what, sli_mode, type, room, dest, result] : cases) {
    expect_mode(sli_mode);
    size_ = room;
    EXPECT_EQ(OVK_IssueDumpMBox(0, type, 0, 3, 0, dest, &size_), result) << what;
    EXPECT_EQ(size_, room);
  }
  expect_mode(4);
  const AllocationWatch no_memory{0};
  EXPECT_EQ(dump(23), OVK_NO_MEMORY);
  EXPECT_EQ(size_, 9U);
}

TEST_F(Sli4RegionTest, ADumpDeliversWhatLiesBehindTheOffset) {
  struct {
    std::uint32_t offset;
    std::uint32_t room;
    std::uint32_t returned;
    std::uint32_t delivered;
  } const cases[] = {
      {0, 4096, 1024, 1024},       {0, 100, 1024, 100},      {24, 4096, 1024, 1000},
      {1023, 9, 1024, 1},          {1024, 9, 1024, 0},       {0xFFFFFFFF, 9, 1024, 0},
      {0, 4100, 0xFFFFFFFF, 4096}, {4095, 9, 0xFFFFFFFF, 1}, {4096, 9, 4097, 0}};
  const ByteVector image = counted_bytes(4096);
  for (const auto& [offset, room, returned, delivered] : cases) {
    SCOPED_TRACE(testing::Message() << "offset " << offset << ", room " << room);
    dest_.assign(4100, 0xEE);
    size_ = room;
    expect_dump(23, 1024, offset).answers(3, returned).replies(2, image);
    const AllocationWatch memory;
    EXPECT_EQ(dump(23, offset), OVK_OK);
    EXPECT_EQ(memory.outstanding(), 0);
    ByteVector expected(4100, 0xEE);
    std::copy_n(image.data() + (delivered == 0 ? 0 : offset), delivered, expected.begin());
    EXPECT_EQ(size_, delivered);
    EXPECT_THAT(dest_, SameBytes(expected));
  }
}

TEST_F(Sli4RegionTest, AFailedDumpCommandStillDelivers) {
  for (const auto& [status, delivery] : {std::pair{0x0BAD0001U, 0}, std::pair{0U, 19}}) {
    dest_.assign(4, 0xEE);
    size_ = 2;
    expect_dump(22, 512).answers(3, 512).replies(2, counted_bytes(4)).ends_with(status, delivery);
    EXPECT_EQ(dump(22), 1U);
    EXPECT_EQ(size_, 2U);
    EXPECT_EQ(dest_, (ByteVector{1, 2, 0xEE, 0xEE}));
  }
}

TEST_F(Sli4RegionTest, AFirmwareStatusDecidesADumpAndDeliversNothing) {
  struct {
    std::uint32_t mailbox_status;
    std::uint32_t status;
    int delivery;
    std::uint32_t result;  // intended: with any other firmware status it is the delivery error
  } const cases[] = {{0xFFFD, 0, 0, 4},           {0xFFF7, 0, 0, 5},
                     {0xFFF6, 0, 0, 6},           {0xFFFD, 0x0BAD0001, 19, 4},
                     {0xFFF7, 0x0BAD0001, 19, 5}, {0xFFF6, 0x0BAD0001, 19, 6},
                     {7, 0x0BAD0001, 0, 0},       {7, 0, 19, 19},
                     {0x1FFFD, 0, 0, 0}};
  for (const auto& [mailbox_status, status, delivery, result] : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << mailbox_status << ", " << status);
    size_ = 100;
    expect_dump(14, 1000).answers(3, 100).replies(3, mailbox_status).ends_with(status, delivery);
    EXPECT_EQ(dump(14), result);
    EXPECT_EQ(size_, 0U);
  }
  EXPECT_THAT(dest_, SameBytes(ByteVector(4100, 0xEE)));
}

TEST_F(Sli4RegionTest, AnUpdateIsCheckedInOrder) {
  const ByteVector data(1025);
  std::uint32_t status = 77;
  const auto update = [&](std::uint8_t type, std::uint32_t region, std::uint32_t length) {
    return OVK_IssueUpdateCfgMBox(0, type, region, data.data(), length, &status);
  };
  EXPECT_EQ(update(1, 3, 1025), 2);
  struct {
    std::uint32_t sli_mode;
    std::uint32_t region;
    std::int32_t result;
  } const cases[] = {{0, 3, 1}, {3, 3, 2}, {4, 3, 3}, {4, 23, 7}};
  for (const auto& [sli_mode, region, result] : cases) {
    expect_mode(sli_mode);
    EXPECT_EQ(update(2, region, 1025), result) << "mode " << sli_mode << ", region " << region;
  }
  expect_mode(4);
  const AllocationWatch no_memory{0};
  EXPECT_EQ(update(2, 23, 1024), 12);
  EXPECT_EQ(status, 77U);
}

TEST_F(Sli4RegionTest, AnUpdateWritesTheWholeRegionAndHandsOutTheFirmwaresStatus) {
  const ByteVector data = counted_bytes(10);
  std::uint32_t firmware_status = 77;
  struct {
    std::uint32_t status;
    int delivery;
    std::int32_t result;
    std::uint32_t handed_out;
  } const cases[] = {{0x0BAD0001, 0, 1, 77}, {0, 5, 1, 77}, {0, 0, 0, 0xFFF7}};
  for (const auto& [status, delivery, result, handed_out] : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << status << ", " << delivery);
    expect_sli_mode(board0, 4);
    channel.expect("RAVN_MGMT_HBA_ISSUE_UPD_MBX", board0)
        .word(2, 512)
        .word(4, 22)
        .sends(1, data)
        .replies(2, 0xFFF7U)
        .ends_with(status, delivery);
    const AllocationWatch memory;
    EXPECT_EQ(OVK_IssueUpdateCfgMBox(0, 2, 22, data.data(), 10, &firmware_status), result);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_EQ(firmware_status, handed_out);
  }
}

class LegacyRegionTest : public MailboxTest {
 protected:
  /** Expects a step of a dump, and answers with a length and data. */
  Exchange& expect_step(std::uint8_t region, std::uint32_t position, std::uint32_t returned,
                        const ByteVector& data, std::uint16_t status = 0) {
    return expect_extended_mailbox(region_mailbox(0x17, region, position, 128),
                                   extended_data(0, 512, 5, {}))
        .replies(2, region_mailbox(0x17, region, position, returned, status))
        .replies(3, extended_data(0, returned, 5, data));
  }

  std::uint32_t dump(std::uint8_t region) { return LEG_IssueDumpMBox(0, dest_.data(), region); }

  /** Checks that the destination holds so many bytes of each value, and nothing behind them. */
  void expect_dest(const std::vector<std::pair<std::size_t, std::uint8_t>>& runs) {
    ByteVector expected;
    for (const auto& [size, value] : runs) {
      expected.resize(expected.size() + size, value);
    }
    expected.resize(dest_.size(), 0xEE);
    EXPECT_THAT(dest_, SameBytes(expected));
  }

  ByteVector dest_ = ByteVector(4100, 0xEE);
};

TEST_F(LegacyRegionTest, ADumpEndsWhereTheAdapterEndsItAndAllocatesForItsMailboxesOnly) {
  expect_step(14, 0, 100, ByteVector(128, 1));
  expect_step(14, 100, 128, ByteVector(128, 2));
  expect_step(14, 228, 0, ByteVector(128, 3));
  const AllocationWatch memory;
  EXPECT_EQ(dump(14), OVK_OK);
  EXPECT_EQ(memory.allocations(), 3) << "the extension buffer of each mailbox";
  EXPECT_EQ(memory.outstanding(), 0);
  expect_dest({{100, 1}, {128, 2}});
}

TEST_F(LegacyRegionTest, AReturnedLengthNeverLeadsOutOfTheBuffers) {
  expect_step(3, 0, 128, ByteVector(2048, 6));
  EXPECT_EQ(dump(3), OVK_OK) << "a region without a length delivers nothing";
  expect_dest({});

  expect_step(22, 0, 128, ByteVector(2048, 1));
  expect_step(22, 128, 0xFFFFFFFF, ByteVector(2048, 2));
  EXPECT_EQ(dump(22), OVK_OK);
  expect_dest({{128, 1}, {384, 2}});

  // Each step carries 512 bytes, whatever it says.
  expect_step(19, 0, 2027, ByteVector(2048, 3));
  expect_step(19, 2027, 128, ByteVector(2048, 4));
  EXPECT_EQ(dump(19), OVK_OK);
  expect_dest({{512, 3}, {1515, 0}, {1, 4}});

  expect_step(160, 0, 4095, {});
  expect_step(160, 4095, 1, ByteVector(2048, 5));
  EXPECT_EQ(dump(160), OVK_OK);
  expect_dest({{4095, 0}, {1, 5}});
}

TEST_F(LegacyRegionTest, AFailedDumpGivesItsStatusAndDeliversNothing) {
  using Case = std::pair<std::uint16_t, std::uint32_t>;
  for (const auto& [status, result] :
       {Case{0xFFFD, 4}, Case{0xFFF7, 5}, Case{0xFFF6, 6}, Case{0x1234, 0x1234}}) {
    expect_step(23, 0, 128, {}, status);
    EXPECT_EQ(dump(23), result);
  }
  expect_step(23, 0, 128, ByteVector(128, 1));
  expect_step(23, 128, 128, {}).status(0x0BAD0039);
  EXPECT_EQ(dump(23), 253U);
  EXPECT_EQ(host().sleeps, (std::vector<std::uint64_t>{100000}));
  {
    const AllocationWatch no_memory{0};
    EXPECT_EQ(dump(23), OVK_NO_MEMORY);
  }
  expect_dest({});
}

TEST_F(LegacyRegionTest, UpdatesSendWholeWordsInOneAttempt) {
  const ByteVector data = counted_bytes(2048);
  const auto expect_update = [&](std::uint8_t region, std::uint32_t length) -> Exchange& {
    const std::uint32_t sent = length / 4 * 4;
    return expect_extended_mailbox(region_mailbox(0x1B, region, length, length),
                                   extended_data(sent, 0, 5, counted_bytes(sent)));
  };
  expect_update(22, 512);
  EXPECT_EQ(LegacySetRegion22(0, data.data(), 512), OVK_OK);
  expect_update(23, 1023);
  EXPECT_EQ(LegacySetRegion23(0, data.data(), 1023), OVK_OK);
  expect_update(23, 2048).status(0x0BAD0039);
  EXPECT_EQ(LegacySetRegion23(0, data.data(), 2048), 2U);
  EXPECT_EQ(host().sleeps, (std::vector<std::uint64_t>{100000}));
  EXPECT_EQ(LegacySetRegion22(0, data.data(), 2052), 2U) << "more than a mailbox carries";
}

}  // namespace
}  // namespace ovk::test
