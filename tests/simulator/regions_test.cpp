#include "simulator/board/mailbox_table.h"
#include "tests/simulator/simulator_test.h"

#include <algorithm>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using enum DriverStatus;
using testing::ElementsAre;

constexpr std::uint32_t no_fcf = 0xFFFF;

struct Dump {
  DriverStatus status;
  std::uint32_t mailbox_status;
  std::uint32_t count;
  std::array<std::uint8_t, 4096> bytes;
};

struct Fcf {
  DriverStatus status;
  std::uint32_t next;
  std::array<std::uint8_t, 556> record;
};

/** A mailbox that moves a part of a region, with its extended data. */
struct Mailbox {
  FirmwareMailbox words{};
  MailboxData data{.flag = 5};

  Mailbox(std::uint8_t command, std::uint32_t region, std::uint32_t position,
          std::uint32_t length) {
    words.command = command;
    words.word(1) = 0x32;
    words.word(2) = region | position << 16;
    words.word(4) = length;
  }
};

/** A board with regions and, where it is an FCoE board, FCFs. */
class RegionsTest : public SimulatorTest {
 protected:
  RegionsTest() {
    use_topology(one_board_with(R"("regions": [
      {"number": 30, "contents": "01 02 0A"},
      {"number": 22, "contents": "52473232", "locked": true}
    ], "fcfs": [
      {"index": 4, "fabric_name": "1000020000000001", "switch_name": "1000020100000001",
       "vlans": [0, 9, 4095]},
      {"index": 2, "fabric_name": "1000020000000002", "switch_name": "1000020100000002",
       "valid": false}
    ])"));
  }

  Dump dump(std::uint32_t region, std::uint32_t length) {
    Dump dump{};
    std::array<std::uint32_t, 3> request{2, region, 0};
    dump.status = send("RAVN_MGMT_HBA_ISSUE_DMP_MBX", {.request_size = length}, &request,
                       &dump.bytes, &dump.mailbox_status);
    dump.count = answer.reply_size;
    return dump;
  }

  /** The firmware's status of a write. */
  std::uint32_t update(std::uint32_t region, std::uint32_t length, std::uint8_t byte) {
    std::array<std::uint8_t, 4096> data{};
    std::fill_n(data.begin(), std::min<std::size_t>(length, data.size()), byte);
    std::uint32_t mailbox_status = 0xEEEE;
    EXPECT_EQ(send("RAVN_MGMT_HBA_ISSUE_UPD_MBX", {.request_size = length, .value = region}, &data,
                   &mailbox_status),
              success);
    return mailbox_status;
  }

  void pass(Mailbox& mailbox) {
    std::array<std::uint8_t, 4096> extension{};
    EXPECT_EQ(
        send("RAVN_MGMT_MBOX", {.request_size = 128}, &extension, &mailbox.words, &mailbox.data),
        success);
  }

  Fcf read_fcf(std::uint32_t index) {
    Fcf fcf{};
    fcf.status = send("RAVN_MGMT_HBA_GET_FCF_LIST", {.index = index}, &fcf.record);
    fcf.next = answer.value;
    return fcf;
  }
};

TEST_F(RegionsTest, ARegionIsWhatTheTopologySaysUntilItIsWritten) {
  const auto contents = [&] {
    const Dump region = dump(30, 12);
    EXPECT_EQ(region.status, success);
    EXPECT_EQ(region.mailbox_status, 0U);
    EXPECT_EQ(region.count, 12U);
    return std::vector(region.bytes.begin(), region.bytes.begin() + 6);
  };
  EXPECT_THAT(contents(), ElementsAre(1, 2, 10, 0, 0, 0));
  EXPECT_EQ(update(30, 5, 0x77), 0U);
  EXPECT_THAT(contents(), ElementsAre(0x77, 0x77, 0x77, 0x77, 0x77, 0));
  EXPECT_EQ(dump(30, 4).count, 4U);
}

TEST_F(RegionsTest, EmptyLockedAndUnknownRegionsAndWrongLengthsHaveTheirStatuses) {
  EXPECT_EQ(dump(23, 1024).mailbox_status, 0xFFFDU);
  EXPECT_EQ(dump(3, 12).mailbox_status, 0xFFF6U);
  EXPECT_EQ(dump(30, 4097).status, does_not_fit);
  EXPECT_EQ(update(3, 12, 1), 0xFFF6U);
  EXPECT_EQ(update(30, 13, 1), 0xFFFEU);
  EXPECT_EQ(update(30, 0, 1), 0xFFFEU);
  EXPECT_EQ(update(22, 512, 1), 0xFFF7U);
  EXPECT_EQ(dump(22, 512).bytes[0], 'R') << "a locked region can be read";
}

TEST_F(RegionsTest, MailboxesReachTheSameRegionsInSteps) {
  Mailbox write{0x1B, 23, 300, 300};
  write.data.in_bytes = 300;
  std::fill_n(write.data.bytes, 300, std::uint8_t{0x42});
  pass(write);
  EXPECT_EQ(write.words.status, 0U);
  EXPECT_EQ(dump(23, 1024).bytes[299], 0x42);

  const auto read = [&](std::uint32_t region, std::uint32_t offset) {
    Mailbox mailbox{0x17, region, offset, 128};
    mailbox.data.out_bytes = 512;
    pass(mailbox);
    return mailbox;
  };
  Mailbox middle = read(23, 256);
  EXPECT_EQ(middle.words.status, 0U);
  EXPECT_EQ(middle.words.word(4), 128U);
  EXPECT_EQ(middle.data.bytes[43], std::uint8_t{0x42});
  EXPECT_EQ(middle.data.bytes[44], std::uint8_t{0});
  EXPECT_EQ(read(23, 1000).words.word(4), 24U) << "what is left";
  EXPECT_EQ(read(23, 1024).words.word(4), 0U) << "nothing is left";
  EXPECT_EQ(read(14, 0).words.status, 0xFFFDU);

  Mailbox another_access{0x17, 23, 0, 128};
  another_access.words.word(1) = 0;
  pass(another_access);
  EXPECT_NE(another_access.words.status, 0U);
  Mailbox without_room{0x17, 23, 0, 128};
  pass(without_room);
  EXPECT_EQ(without_room.words.status, 0xFFFEU);
}

TEST_F(RegionsTest, OlderBoardsHaveMailboxesOnly) {
  use_topology(sli3_board());
  EXPECT_EQ(dump(30, 12).status, not_supported);
  Mailbox mailbox{0x17, 30, 0, 12};
  mailbox.data.out_bytes = 12;
  pass(mailbox);
  EXPECT_EQ(mailbox.words.status, 0xFFFD) << "the region is empty";
}

TEST_F(RegionsTest, FaultsCutReadsShortAndFailWrites) {
  use_faults(R"([
    {"command": "RAVN_MGMT_HBA_ISSUE_DMP_MBX", "effect": "short", "value": 3},
    {"command": "RAVN_MGMT_HBA_ISSUE_UPD_MBX", "effect": "mailbox_status", "value": "0x1234"}
  ])");
  EXPECT_EQ(dump(30, 12).count, 3U);
  EXPECT_EQ(update(30, 12, 9), 0x1234U);
  EXPECT_EQ(dump(30, 12).bytes[0], 1) << "the failed write wrote nothing";
}

TEST_F(RegionsTest, TheFcfTableIsWalkedFromIndexToIndex) {
  use_faults(R"([{"command": "RAVN_MGMT_HBA_GET_FCF_LIST", "skip": 3, "effect": "endless"}])");
  const Fcf first = read_fcf(no_fcf);
  EXPECT_EQ(first.next, 2U);
  EXPECT_EQ(answer.code, 2U) << "how many there are";
  std::array<std::uint8_t, 556> record{
      0,    0, 0, 0, 0x6E, 0x08, 0, 0, 0x40, 0x1F, 0, 0, 128, 0, 0, 0, 4, 0, 1, 0,  //
      0x10, 0, 2, 0, 0,    0,    0, 1, 3,    0,    0, 1, 0,   0, 0, 0, 1, 2};
  record[36 + 4095 / 8] = 0x80;
  record[548] = 0x10;
  record[550] = 2;
  record[551] = 1;
  record[555] = 1;
  EXPECT_TRUE(same(first.record, record));
  const Fcf second = read_fcf(2);
  EXPECT_EQ(second.next, no_fcf);
  EXPECT_EQ(second.record[31], 0) << "it is not in use";
  EXPECT_EQ(read_fcf(3).status, not_found);
  EXPECT_EQ(read_fcf(2).next, 2U) << "the scripted table has no end";
}

TEST_F(RegionsTest, AnEmptyFcfTableIsAnEmptyRecordAndOtherBoardsHaveNone) {
  use_topology(one_board_with(R"("fcfs": [])"));
  EXPECT_TRUE(same(read_fcf(no_fcf).record, {}));
  use_topology(with(one_board, R"("adapter_type": "0x704")", R"("adapter_type": "0x3200")"));
  EXPECT_EQ(read_fcf(no_fcf).status, not_supported);
}

}  // namespace

}  // namespace ravnsim::test
