#include "tests/simulator/simulator_test.h"

#include <algorithm>

namespace ravnsim::test {

namespace {

using enum DriverStatus;

constexpr std::uint32_t no_fcf = 0xFFFF;
constexpr std::uint32_t read_region = 0x1700;
constexpr std::uint32_t write_region = 0x1B00;

/** A board with regions and, since it is an FCoE board, FCFs. */
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

  Answer dump(std::uint32_t region, std::uint32_t length) {
    return ask("HBA_ISSUE_DMP_MBX", {.request_size = length}, {words({2, region, 0})});
  }
  std::uint32_t dump_status(std::uint32_t region, std::uint32_t length) {
    return dump(region, length).word(0, 3);
  }
  /** The firmware's status of a write. */
  std::uint32_t update(std::uint32_t region, std::uint32_t length, std::uint8_t byte) {
    const Answer answer = ask("HBA_ISSUE_UPD_MBX", {.request_size = length, .value = region},
                              {Bytes(std::min(length, 4096U), byte), words({0xEEEE})});
    EXPECT_EQ(answer.block.status, success);
    return answer.word(0, 2);
  }

  /** Sends a mailbox that moves a part of a region; `bytes` go along, and there is room for more.
   */
  Answer pass(std::uint32_t command, std::uint32_t region, std::uint32_t position,
              std::uint32_t length, const Bytes& bytes = {}, std::uint32_t room = 0,
              std::uint32_t access = 0x32) {
    const auto given = static_cast<std::uint32_t>(bytes.size());
    return ask("MBOX", {.request_size = 128},
               {{},
                words({command, access, region | position << 16, 0, length}),
                words({given, room}) + Bytes{5} + bytes});
  }
  static std::uint32_t mailbox_status(const Answer& answer) { return answer.word(0, 2) >> 16; }

  Answer read_fcf(std::uint32_t index) { return ask("HBA_GET_FCF_LIST", {.index = index}); }
};

TEST_F(RegionsTest, ARegionIsWhatTheTopologySaysUntilItIsWritten) {
  const Answer first = dump(30, 12);
  EXPECT_EQ(first.block.status, success);
  EXPECT_EQ(first.word(0, 3), 0U);
  EXPECT_EQ(first.block.reply_size, 12U);
  EXPECT_EQ(first.part(0, 6, 2), hex("01020a000000"));
  EXPECT_EQ(update(30, 5, 0x77), 0U);
  EXPECT_EQ(dump(30, 12).part(0, 6, 2), hex("777777777700"));
  EXPECT_EQ(dump(30, 4).block.reply_size, 4U);
}

TEST_F(RegionsTest, EmptyLockedAndUnknownRegionsAndWrongLengthsHaveTheirStatuses) {
  EXPECT_EQ(dump_status(23, 1024), 0xFFFDU);
  EXPECT_EQ(dump_status(3, 12), 0xFFF6U);
  EXPECT_EQ(dump(30, 4097).block.status, does_not_fit);
  EXPECT_EQ(update(3, 12, 1), 0xFFF6U);
  EXPECT_EQ(update(30, 13, 1), 0xFFFEU);
  EXPECT_EQ(update(30, 0, 1), 0xFFFEU);
  EXPECT_EQ(update(22, 512, 1), 0xFFF7U);
  EXPECT_EQ(dump(22, 512).payload(2)[0], 'R') << "a locked region can be read";
  use_topology(sli3_board());
  EXPECT_EQ(dump(30, 12).block.status, not_supported);
  EXPECT_EQ(mailbox_status(pass(read_region, 30, 0, 12, {}, 12)), 0xFFFDU) << "empty";
}

TEST_F(RegionsTest, MailboxesReachTheSameRegionsInSteps) {
  EXPECT_EQ(mailbox_status(pass(write_region, 23, 300, 300, Bytes(300, 0x42))), 0U);
  EXPECT_EQ(dump(23, 1024).payload(2)[299], 0x42);
  const auto read = [&](std::uint32_t region, std::uint32_t offset) {
    return pass(read_region, region, offset, 128, {}, 512);
  };
  const auto moved = [](const Answer& answer) { return answer.word(16, 2); };
  const Answer middle = read(23, 256);
  EXPECT_EQ(mailbox_status(middle), 0U);
  EXPECT_EQ(moved(middle), 128U);
  EXPECT_EQ(middle.part(9 + 43, 2, 3), hex("4200"));
  EXPECT_EQ(moved(read(23, 1000)), 24U) << "what is left";
  EXPECT_EQ(moved(read(23, 1024)), 0U) << "nothing is left";
  EXPECT_EQ(mailbox_status(read(14, 0)), 0xFFFDU);
  EXPECT_NE(mailbox_status(pass(read_region, 23, 0, 128, {}, 512, 0)), 0U) << "another access";
  EXPECT_EQ(mailbox_status(pass(read_region, 23, 0, 128)), 0xFFFEU) << "no room";
}

TEST_F(RegionsTest, FaultsCutReadsShortAndFailWrites) {
  use_faults(R"([
    {"command": "RAVN_MGMT_HBA_ISSUE_DMP_MBX", "effect": "short", "value": 3},
    {"command": "RAVN_MGMT_HBA_ISSUE_UPD_MBX", "effect": "mailbox_status", "value": "0x1234"}
  ])");
  EXPECT_EQ(dump(30, 12).block.reply_size, 3U);
  EXPECT_EQ(update(30, 12, 9), 0x1234U);
  EXPECT_EQ(dump(30, 12).payload(2)[0], 1) << "the failed write wrote nothing";
}

TEST_F(RegionsTest, TheFcfTableIsWalkedFromIndexToIndex) {
  use_faults(R"([{"command": "RAVN_MGMT_HBA_GET_FCF_LIST", "skip": 3, "effect": "endless"}])");
  const Answer first = read_fcf(no_fcf);
  EXPECT_EQ(first.block.value, 2U);
  EXPECT_EQ(first.block.code, 2U) << "how many there are";
  Bytes record = hex("000000006e080000401f00008000000004000100") + hex("1000020000000001") +
                 hex("03000001000000000102");
  record.resize(556);
  record[36 + 4095 / 8] = 0x80;
  std::ranges::copy(hex("1000020100000001"), &record[548]);
  EXPECT_EQ(first.payload(), record);
  const Answer second = read_fcf(2);
  EXPECT_EQ(second.block.value, no_fcf);
  EXPECT_EQ(second.payload()[31], 0) << "it is not in use";
  EXPECT_EQ(read_fcf(3).block.status, not_found);
  EXPECT_EQ(read_fcf(2).block.value, 2U) << "the scripted table has no end";

  use_faults("[]");
  use_topology(one_board_with(R"("fcfs": [])"));
  EXPECT_EQ(read_fcf(no_fcf).payload(), Bytes(556));
  use_topology(with(one_board, R"("adapter_type": "0x704")", R"("adapter_type": "0x3200")"));
  EXPECT_EQ(read_fcf(no_fcf).block.status, not_supported);
}

}  // namespace

}  // namespace ravnsim::test
