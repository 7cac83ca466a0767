#include "simulator/regions.h"

#include "tests/simulator/simulator_test.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

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

/** A mailbox with its extended data, as it travels. */
struct Mailbox {
  std::array<std::uint32_t, 64> words{};
  struct [[gnu::packed]] {
    std::uint32_t in_bytes;
    std::uint32_t out_bytes;
    std::uint8_t flag;
    std::uint8_t bytes[2048];
  } data{};

  Mailbox(std::uint32_t command, std::uint32_t region, std::uint32_t position,
          std::uint32_t length) {
    words[0] = command << 8;
    words[1] = 0x32;
    words[2] = region | position << 16;
    words[4] = length;
    data.flag = 5;
  }

  [[nodiscard]] std::uint32_t status() const { return words[0] >> 16; }
};

/** A board with regions and, where it is an FCoE board, FCFs. */
class RegionsTest : public SimulatorTest {
 protected:
  RegionsTest() {
    use(R"("regions": [
      {"number": 30, "contents": "01 02 0A"},
      {"number": 22, "contents": "52473232", "locked": true}
    ], "fcfs": [
      {"index": 4, "fabric_name": "1000000000000001", "switch_name": "2000000000000001",
       "vlans": [0, 9, 4095]},
      {"index": 2, "fabric_name": "1000000000000002", "switch_name": "2000000000000002",
       "valid": false}
    ])");
  }

  void use(const std::string& members, const std::string& sli_mode = R"("sli_mode": 4)") {
    use_topology(with(one_board, R"("sli_mode": 4)", sli_mode + ", " + members));
  }

  static std::vector<vmk_MgmtCallbackInfo> region_callbacks() {
    constexpr std::uint32_t in = VMK_MGMT_PARAMETER_IN;
    constexpr std::uint32_t out = VMK_MGMT_PARAMETER_OUT;
    constexpr std::uint32_t in_out = VMK_MGMT_PARAMETER_IN_OUT;
    return {
        callback(DriverCommand::hba_issue_dmp_mbx, {{12, in}, {4096, out}, {4, out}}),
        callback(DriverCommand::hba_issue_upd_mbx, {{4096, in}, {4, out}}),
        callback(DriverCommand::hba_get_fcf_list, {{556, out}}),
        callback(DriverCommand::mbox, {{4096, in_out}, {256, in_out}, {2057, in_out}}),
    };
  }

  static Dump dump(const Channel& channel, std::uint32_t region, std::uint32_t length) {
    Dump dump{};
    CommandBlock block{.driver_board = 3, .request_size = length};
    std::array<std::uint32_t, 3> request{2, region, 0};
    dump.status = channel.send(DriverCommand::hba_issue_dmp_mbx, block, &request, &dump.bytes,
                               &dump.mailbox_status);
    dump.count = block.reply_size;
    return dump;
  }

  /** The firmware's status of a write. */
  static std::uint32_t update(const Channel& channel, std::uint32_t region, std::uint32_t length,
                              std::uint8_t byte) {
    std::array<std::uint8_t, 4096> data{};
    std::fill_n(data.begin(), std::min<std::size_t>(length, data.size()), byte);
    std::uint32_t mailbox_status = 0xEEEE;
    CommandBlock block{.driver_board = 3, .request_size = length, .value = region};
    EXPECT_EQ(channel.send(DriverCommand::hba_issue_upd_mbx, block, &data, &mailbox_status),
              DriverStatus::success);
    return mailbox_status;
  }

  static void pass(const Channel& channel, Mailbox& mailbox) {
    std::array<std::uint8_t, 4096> extension{};
    CommandBlock block{.driver_board = 3, .request_size = 128, .reply_size = 256};
    EXPECT_EQ(channel.send(DriverCommand::mbox, block, &extension, &mailbox.words, &mailbox.data),
              DriverStatus::success);
  }

  static Fcf read_fcf(const Channel& channel, std::uint32_t index) {
    Fcf fcf{};
    CommandBlock block{.driver_board = 3, .index = index};
    fcf.status = channel.send(DriverCommand::hba_get_fcf_list, block, &fcf.record);
    fcf.next = block.value;
    return fcf;
  }
};

TEST_F(RegionsTest, ARegionIsWhatTheTopologySaysUntilItIsWrittenAndThenSurvivesProcesses) {
  use_state();
  {
    const Channel channel{region_callbacks()};
    const Dump initial = dump(channel, 30, 12);
    EXPECT_EQ(initial.status, DriverStatus::success);
    EXPECT_EQ(initial.mailbox_status, 0U);
    EXPECT_EQ(initial.count, 12U);
    EXPECT_THAT(std::vector(initial.bytes.begin(), initial.bytes.begin() + 5),
                testing::ElementsAre(1, 2, 10, 0, 0));
    EXPECT_EQ(update(channel, 30, 5, 0x77), 0U);
  }
  const Channel channel{region_callbacks()};
  const Dump written = dump(channel, 30, 12);
  EXPECT_THAT(std::vector(written.bytes.begin(), written.bytes.begin() + 6),
              testing::ElementsAre(0x77, 0x77, 0x77, 0x77, 0x77, 0));
  EXPECT_EQ(dump(channel, 30, 4).count, 4U);
}

TEST_F(RegionsTest, EmptyLockedAndUnknownRegionsAndWrongLengthsHaveTheirStatuses) {
  const Channel channel{region_callbacks()};
  EXPECT_EQ(dump(channel, 23, 1024).mailbox_status, 0xFFFDU);
  EXPECT_EQ(dump(channel, 3, 12).mailbox_status, 0xFFF6U);
  EXPECT_EQ(dump(channel, 30, 4097).status, DriverStatus::does_not_fit);
  EXPECT_EQ(update(channel, 3, 12, 1), 0xFFF6U);
  EXPECT_EQ(update(channel, 30, 13, 1), 0xFFFEU);
  EXPECT_EQ(update(channel, 30, 0, 1), 0xFFFEU);
  EXPECT_EQ(update(channel, 22, 512, 1), 0xFFF7U);
  EXPECT_EQ(dump(channel, 22, 512).bytes[0], 'R') << "a locked region can be read";
}

TEST_F(RegionsTest, MailboxesReachTheSameRegionsInSteps) {
  const Channel channel{region_callbacks()};
  Mailbox write{0x1B, 23, 300, 300};
  write.data.in_bytes = 300;
  std::fill_n(write.data.bytes, 300, std::uint8_t{0x42});
  pass(channel, write);
  EXPECT_EQ(write.status(), 0U);
  EXPECT_EQ(dump(channel, 23, 1024).bytes[299], 0x42);

  const auto read = [&](std::uint32_t region, std::uint32_t offset) {
    Mailbox mailbox{0x17, region, offset, 128};
    mailbox.data.out_bytes = 512;
    pass(channel, mailbox);
    return mailbox;
  };
  const Mailbox middle = read(23, 256);
  EXPECT_EQ(middle.status(), 0U);
  EXPECT_EQ(middle.words[4], 128U);
  EXPECT_EQ(middle.data.bytes[43], 0x42);
  EXPECT_EQ(middle.data.bytes[44], 0);
  EXPECT_EQ(read(23, 1000).words[4], 24U) << "what is left";
  EXPECT_EQ(read(23, 1024).words[4], 0U) << "nothing is left";
  EXPECT_EQ(read(14, 0).status(), 0xFFFDU);

  Mailbox another_access{0x17, 23, 0, 128};
  another_access.words[1] = 0;
  pass(channel, another_access);
  EXPECT_NE(another_access.status(), 0U);
  Mailbox without_room{0x17, 23, 0, 128};
  pass(channel, without_room);
  EXPECT_EQ(without_room.status(), 0xFFFEU);
}

TEST_F(RegionsTest, OlderBoardsHaveMailboxesOnly) {
  use(R"("regions": [{"number": 30, "contents": "01"}])", R"("sli_mode": 3)");
  const Channel channel{region_callbacks()};
  EXPECT_EQ(dump(channel, 30, 12).status, DriverStatus::not_supported);
  Mailbox mailbox{0x17, 30, 0, 12};
  mailbox.data.out_bytes = 12;
  pass(channel, mailbox);
  EXPECT_EQ(mailbox.data.bytes[0], 1);
}

TEST_F(RegionsTest, FaultsCutReadsShortAndFailWrites) {
  use_faults(R"([
    {"command": "RAVN_MGMT_HBA_ISSUE_DMP_MBX", "effect": "short", "value": 3},
    {"command": "RAVN_MGMT_HBA_ISSUE_UPD_MBX", "effect": "mailbox_status", "value": "0x1234"}
  ])");
  const Channel channel{region_callbacks()};
  EXPECT_EQ(dump(channel, 30, 12).count, 3U);
  EXPECT_EQ(update(channel, 30, 12, 9), 0x1234U);
  EXPECT_EQ(dump(channel, 30, 12).bytes[0], 1) << "the failed write wrote nothing";
}

TEST_F(RegionsTest, TheFcfTableIsWalkedFromIndexToIndex) {
  use_faults(R"([{"command": "RAVN_MGMT_HBA_GET_FCF_LIST", "skip": 3, "effect": "endless"}])");
  const Channel channel{region_callbacks()};
  const Fcf first = read_fcf(channel, no_fcf);
  EXPECT_EQ(first.next, 2U);
  EXPECT_EQ(first.record[16], 4);
  EXPECT_EQ(first.record[18], 1);
  EXPECT_EQ(first.record[31], 1);
  EXPECT_EQ(first.record[36], 1);
  EXPECT_EQ(first.record[37], 2);
  EXPECT_EQ(first.record[547], 0x80);
  EXPECT_EQ(first.record[555], 1);
  const Fcf second = read_fcf(channel, 2);
  EXPECT_EQ(second.next, no_fcf);
  EXPECT_EQ(second.record[31], 0) << "it is not in use";
  EXPECT_EQ(read_fcf(channel, 3).status, DriverStatus::not_found);
  EXPECT_EQ(read_fcf(channel, 2).next, 2U) << "the scripted table has no end";
}

TEST_F(RegionsTest, AnEmptyFcfTableIsAnEmptyRecordAndOtherBoardsHaveNone) {
  use(R"("fcfs": [])");
  EXPECT_EQ(read_fcf(Channel{region_callbacks()}, no_fcf).record, Fcf{}.record);
  use_topology(with(one_board, R"("adapter_type": "0x704")", R"("adapter_type": "0x3200")"));
  EXPECT_EQ(read_fcf(Channel{region_callbacks()}, no_fcf).status, DriverStatus::not_supported);
}

TEST_F(RegionsTest, MistakesInRegionsAndFcfsAreNamed) {
  struct Mistake {
    const char* members;
    const char* said;
  };
  const Mistake mistakes[] = {
      {R"("regions": [{"number": 3}])", "/boards/0/regions/0/number: the firmware has no such"},
      {R"("regions": [{"number": 32, "contents": "0g"}])", "regions/0/contents: bytes are written"},
      {R"("regions": [{"number": 32, "contents": "012"}])", "takes up to 8 whole bytes"},
      {R"("regions": [{"number": 32, "contents": "010203040506070809"}])", "up to 8 whole bytes"},
      {R"("regions": [{"number": 32}, {"number": 32}])", "regions/1: the board has this region"},
      {R"("fcfs": [{"fabric_name": "1000000000000001", "switch_name": "2000000000000001",
         "vlans": [4096]}])",
       "fcfs/0/vlans/0"},
  };
  for (const Mistake& mistake : mistakes) {
    use(mistake.members);
    EXPECT_THAT(said_by_a_channel(), testing::HasSubstr(mistake.said));
  }
}

}  // namespace

}  // namespace ravnsim::test
