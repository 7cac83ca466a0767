#include "mailbox/region_mailbox.h"

#include "tests/mailbox/mailbox_script.h"
#include "tests/support/library_test.h"

#include <ovk/core.h>

#include <map>
#include <numeric>
#include <vector>

namespace ovk::test {
namespace {

ByteVector words(std::initializer_list<std::uint32_t> values) {
  ByteVector bytes(values.size() * 4);
  std::memcpy(bytes.data(), std::data(values), bytes.size());
  return bytes;
}

/** Firmware statuses with a result of their own. */
constexpr std::pair<std::uint32_t, std::uint32_t> region_results[] = {
    {0xFFFD, 4}, {0xFFF7, 5}, {0xFFF6, 6}};

class RegionLengthTest : public LibraryTest {};

TEST_F(RegionLengthTest, KnowsTheLengthOfEachRegionAndLogsTheOthers) {
  const std::map<std::uint32_t, std::uint32_t> lengths = {
      {0, 60},   {4, 120},   {5, 200},   {6, 200},  {7, 200},    {8, 60},
      {9, 256},  {10, 256},  {14, 1000}, {17, 100}, {19, 2028},  {21, 200},
      {22, 512}, {23, 1024}, {30, 12},   {32, 8},   {160, 4096}, {162, 4096}};
  log_at(0);
  for (std::uint32_t region = 0; region < 300; ++region) {
    const auto known = lengths.find(region);
    EXPECT_EQ(valid_region(region), known == lengths.end() ? 0 : known->second) << region;
  }
  EXPECT_THAT(log_lines(), testing::IsEmpty());
  LogLevel = OVK_LOG_ERROR;
  EXPECT_EQ(valid_region(3), 0U);
  EXPECT_EQ(valid_region(23), 1024U);
  EXPECT_THAT(log_lines(), testing::ElementsAre(LogLine{"valid_region", "ERROR: Invalid region 3"},
                                                LogLine{"", ""}));
}

class Sli4RegionTest : public LibraryTest {
 protected:
  Exchange& expect_dump(std::uint32_t region, std::uint32_t length, std::uint32_t offset = 0) {
    expect_sli_mode(board0, 4);
    return channel.expect("RAVN_MGMT_HBA_ISSUE_DMP_MBX", board0)
        .word(1, offset)
        .word(2, length)
        .sends(1, words({2, region, 0}));
  }

  std::uint32_t dump(std::uint32_t region, std::uint32_t offset = 0) {
    return OVK_IssueDumpMBox(0, 2, 0, region, offset, dest_.data(), &size_);
  }

  ByteVector dest_ = ByteVector(4100, 0xEE);
  std::uint32_t size_ = 4096;
};

TEST_F(Sli4RegionTest, ADumpIsCheckedInOrder) {
  std::uint32_t none = 0;
  expect_no_sli_mode(board0);
  EXPECT_EQ(OVK_IssueDumpMBox(0, 9, 0, 3, 0, nullptr, &none), 1U);
  expect_sli_mode(board0, 3);
  EXPECT_EQ(OVK_IssueDumpMBox(0, 2, 0, 3, 0, nullptr, &none), 2U);
  for (const std::uint32_t type : {0U, 5U}) {
    expect_sli_mode(board0, 4);
    EXPECT_EQ(OVK_IssueDumpMBox(0, type, 0, 3, 0, nullptr, &none), 2U);
  }
  expect_sli_mode(board0, 4);
  EXPECT_EQ(OVK_IssueDumpMBox(0, 2, 0, 3, 0, nullptr, &none), 7U);
  expect_sli_mode(board0, 4);
  EXPECT_EQ(OVK_IssueDumpMBox(0, 2, 0, 3, 0, nullptr, &size_), 4U);
  expect_sli_mode(board0, 4);
  EXPECT_EQ(dump(3), 3U);
  expect_sli_mode(board0, 4);
  const AllocationWatch no_memory{0};
  EXPECT_EQ(dump(23), OVK_NO_MEMORY);
  EXPECT_EQ(size_, 4096U);
}

TEST_F(Sli4RegionTest, ADumpDeliversWhatLiesBehindTheOffset) {
  struct Case {
    std::uint32_t offset, room, returned, delivered;
  };
  const ByteVector image = counting_bytes(4096);
  for (const auto& [offset, room, returned, delivered] :
       {Case{0, 4096, 1024, 1024}, Case{0, 100, 1024, 100}, Case{24, 4096, 1024, 1000},
        Case{1023, 9, 1024, 1}, Case{1024, 9, 1024, 0}, Case{0xFFFFFFFF, 9, 1024, 0},
        Case{0, 4100, 0xFFFFFFFF, 4096}, Case{4095, 9, 0xFFFFFFFF, 1}, Case{4096, 9, 4097, 0}}) {
    dest_.assign(4100, 0xEE);
    size_ = room;
    expect_dump(23, 1024, offset).answers(3, returned).replies(2, image);
    const AllocationWatch memory;
    EXPECT_EQ(dump(23, offset), OVK_OK);
    EXPECT_EQ(memory.outstanding(), 0);
    ByteVector expected(4100, 0xEE);
    std::copy_n(image.begin() + (delivered == 0 ? 0 : offset), delivered, expected.begin());
    EXPECT_EQ(size_, delivered) << "offset " << offset << ", room " << room;
    EXPECT_EQ(dest_, expected) << "offset " << offset << ", room " << room;
  }
}

TEST_F(Sli4RegionTest, AFailedDumpCommandStillDelivers) {
  for (const auto& [status, delivery] : {std::pair{0x0BAD0001U, 0}, std::pair{0U, 19}}) {
    dest_.assign(4, 0xEE);
    size_ = 2;
    expect_dump(22, 512)
        .answers(3, 512)
        .replies(2, counting_bytes(4, 1))
        .status(status)
        .delivery_error(delivery);
    EXPECT_EQ(dump(22), 1U);
    EXPECT_EQ(size_, 2U);
    EXPECT_EQ(dest_, (ByteVector{1, 8, 0xEE, 0xEE}));
  }
}

TEST_F(Sli4RegionTest, AFirmwareStatusDecidesADumpAndDeliversNothing) {
  const auto dump_with = [this](std::uint32_t mailbox_status, std::uint32_t status, int delivery) {
    size_ = 100;
    expect_dump(14, 1000)
        .answers(3, 100)
        .replies(3, words({mailbox_status}))
        .status(status)
        .delivery_error(delivery);
    const std::uint32_t result = dump(14);
    EXPECT_EQ(size_, 0U);
    return result;
  };
  for (const auto& [mailbox_status, result] : region_results) {
    EXPECT_EQ(dump_with(mailbox_status, 0, 0), result);
    EXPECT_EQ(dump_with(mailbox_status, 0x0BAD0001, 19), result);
  }
  EXPECT_EQ(dump_with(7, 0x0BAD0001, 0), 0U) << "intended";
  EXPECT_EQ(dump_with(7, 0, 19), 19U);
  EXPECT_EQ(dump_with(0x1FFFD, 0, 0), 0U);
  EXPECT_EQ(dest_, ByteVector(4100, 0xEE));
}

TEST_F(Sli4RegionTest, AnUpdateIsCheckedInOrder) {
  const ByteVector data(1025);
  std::uint32_t status = 77;
  const auto update = [&](std::uint8_t type, std::uint32_t region, std::uint32_t length) {
    return OVK_IssueUpdateCfgMBox(0, type, region, data.data(), length, &status);
  };
  EXPECT_EQ(update(1, 3, 1025), 2);
  expect_no_sli_mode(board0);
  EXPECT_EQ(update(2, 3, 1025), 1);
  expect_sli_mode(board0, 3);
  EXPECT_EQ(update(2, 3, 1025), 2);
  expect_sli_mode(board0, 4);
  EXPECT_EQ(update(2, 3, 1025), 3);
  expect_sli_mode(board0, 4);
  EXPECT_EQ(update(2, 23, 1025), 7);
  expect_sli_mode(board0, 4);
  const AllocationWatch no_memory{0};
  EXPECT_EQ(update(2, 23, 1024), 12);
  EXPECT_EQ(status, 77U);
}

TEST_F(Sli4RegionTest, AnUpdateWritesTheWholeRegionAndHandsOutTheFirmwaresStatus) {
  const ByteVector data = counting_bytes(10);
  std::uint32_t status = 77;
  const auto expect_update = [&]() -> Exchange& {
    expect_sli_mode(board0, 4);
    return channel.expect("RAVN_MGMT_HBA_ISSUE_UPD_MBX", board0)
        .word(2, 512)
        .word(4, 22)
        .sends(1, data)
        .replies(2, words({0xFFF7}));
  };
  expect_update().status(0x0BAD0001);
  EXPECT_EQ(OVK_IssueUpdateCfgMBox(0, 2, 22, data.data(), 10, &status), 1);
  expect_update().delivery_error(5);
  EXPECT_EQ(OVK_IssueUpdateCfgMBox(0, 2, 22, data.data(), 10, &status), 1);
  EXPECT_EQ(status, 77U);
  expect_update();
  const AllocationWatch memory;
  EXPECT_EQ(OVK_IssueUpdateCfgMBox(0, 2, 22, data.data(), 10, &status), 0);
  EXPECT_EQ(status, 0xFFF7U);
  EXPECT_EQ(memory.outstanding(), 0);
}

class LegacyRegionTest : public LibraryTest {
 protected:
  /** A region mailbox as both commands have it. */
  static ByteVector request(std::uint8_t command, std::uint8_t region, std::uint32_t position,
                            std::uint32_t length) {
    ByteVector mailbox(128);
    mailbox[1] = command;
    mailbox[4] = 0x32;
    mailbox[8] = region;
    mailbox[10] = static_cast<std::uint8_t>(position);
    mailbox[11] = static_cast<std::uint8_t>(position >> 8);
    std::memcpy(mailbox.data() + 16, &length, sizeof length);
    return mailbox;
  }

  /** Expects a step of a dump, and answers with a length and data. */
  Exchange& expect_step(std::uint8_t region, std::uint32_t position, std::uint32_t returned,
                        const ByteVector& data, std::uint16_t status = 0) {
    ByteVector reply = request(0x17, region, position, returned);
    std::memcpy(reply.data() + 2, &status, sizeof status);
    return channel.expect("RAVN_MGMT_MBOX", board0)
        .word(2, 128)
        .word(3, 256)
        .sends(2, request(0x17, region, position, 128))
        .sends(3, extended_data(0, 512, 5, {}))
        .replies(2, reply)
        .replies(3, extended_data(0, returned, 5, data));
  }

  std::uint32_t dump(std::uint8_t region) { return LEG_IssueDumpMBox(0, dest_.data(), region); }

  ByteVector dest_ = ByteVector(4100, 0xEE);
};

TEST_F(LegacyRegionTest, ADumpReadsTheRegionInStepsOf128BytesAndAllocatesForNothingElse) {
  const ByteVector image = counting_bytes(1024);
  for (std::uint32_t position = 0; position < 1024; position += 128) {
    expect_step(23, position, 128, {image.begin() + position, image.begin() + position + 128});
  }
  const AllocationWatch memory;
  EXPECT_EQ(dump(23), OVK_OK);
  EXPECT_EQ(memory.allocations(), 8) << "the extension buffer of each mailbox";
  EXPECT_EQ(memory.outstanding(), 0);
  EXPECT_EQ((ByteVector{dest_.begin(), dest_.begin() + 1024}), image);
  EXPECT_EQ(dest_[1024], 0xEE);
}

TEST_F(LegacyRegionTest, ADumpEndsWhereTheAdapterEndsIt) {
  expect_step(14, 0, 100, ByteVector(128, 1));
  expect_step(14, 100, 128, ByteVector(128, 2));
  expect_step(14, 228, 0, ByteVector(128, 3));
  EXPECT_EQ(dump(14), OVK_OK);
  ByteVector expected(100, 1);
  expected.resize(228, 2);
  expected.resize(4100, 0xEE);
  EXPECT_EQ(dest_, expected);
}

TEST_F(LegacyRegionTest, AReturnedLengthNeverLeadsOutOfTheBuffers) {
  expect_step(22, 0, 128, ByteVector(2048, 1));
  expect_step(22, 128, 0xFFFFFFFF, ByteVector(2048, 2));
  EXPECT_EQ(dump(22), OVK_OK);
  ByteVector expected(128, 1);
  expected.resize(512, 2);
  expected.resize(4100, 0xEE);
  EXPECT_EQ(dest_, expected);

  expect_step(19, 0, 2027, ByteVector(2048, 3));
  expect_step(19, 2027, 128, ByteVector(2048, 4));
  EXPECT_EQ(dump(19), OVK_OK);
  EXPECT_EQ(dest_[511], 3);
  EXPECT_EQ(dest_[512], 0) << "each step carries 512 bytes, whatever it says";
  EXPECT_EQ(dest_[2027], 4);
  EXPECT_EQ(dest_[2028], 0xEE);

  expect_step(160, 0, 4095, {});
  expect_step(160, 4095, 1, ByteVector(2048, 5));
  EXPECT_EQ(dump(160), OVK_OK);
  EXPECT_EQ(dest_[4095], 5);
  EXPECT_EQ(dest_[4096], 0xEE);

  expect_step(3, 0, 128, ByteVector(2048, 6));
  EXPECT_EQ(dump(3), OVK_OK) << "a region without a length delivers nothing";
  EXPECT_NE(dest_[0], 6);
}

TEST_F(LegacyRegionTest, AFailedDumpGivesItsStatusAndDeliversNothing) {
  for (const auto& [status, result] : region_results) {
    expect_step(23, 0, 128, {}, static_cast<std::uint16_t>(status));
    EXPECT_EQ(dump(23), result);
  }
  expect_step(23, 0, 128, {}, 0x1234);
  EXPECT_EQ(dump(23), 0x1234U);
  expect_step(23, 0, 128, ByteVector(128, 1));
  expect_step(23, 128, 128, {}).status(0x0BAD0039);
  EXPECT_EQ(dump(23), 253U);
  EXPECT_EQ(host().sleeps, (std::vector<std::uint64_t>{100000}));
  {
    const AllocationWatch no_memory{0};
    EXPECT_EQ(dump(23), OVK_NO_MEMORY);
  }
  EXPECT_EQ(dest_, ByteVector(4100, 0xEE));
}

TEST_F(LegacyRegionTest, UpdatesSendWholeWordsInOneAttempt) {
  const ByteVector data = counting_bytes(2048);
  const auto expect_update = [&](std::uint8_t region, std::uint32_t length) -> Exchange& {
    const std::uint32_t sent = length / 4 * 4;
    return channel.expect("RAVN_MGMT_MBOX", board0)
        .word(2, 128)
        .word(3, 256)
        .sends(2, request(0x1B, region, length, length))
        .sends(3, extended_data(sent, 0, 5, {data.begin(), data.begin() + sent}));
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
