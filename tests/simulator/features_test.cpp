// Rules, regions, mailboxes and the firmware's log, as far as one process has to see several steps
// or ovkctl does not show it.

#include "tests/simulator/simulator_test.h"

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using testing::ElementsAre;
using enum DriverStatus;

constexpr std::uint32_t read_region = 0x1700;
constexpr std::uint32_t write_region = 0x1B00;

class FeaturesTest : public SimulatorTest {
 protected:
  FeaturesTest() { use_topology(full_board()); }

  /** Asks the firmware's log for that many bytes, of which the descriptor admits some; gives what
     is there and where the oldest byte stands. */
  std::vector<std::uint32_t> read_log(std::uint32_t offset, std::uint32_t size,
                                      std::uint32_t admitted = 64) {
    memory.assign(64, '\xEE');
    const auto address = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&memory[0]));
    const Answer read =
        ask("GET_RAS_LOG", {}, {words({0, 0, offset, size}), words({admitted, 0, address})});
    EXPECT_EQ(read.block.status, success);
    return {read.word(0), read.word(4)};
  }
  /** The firmware's status of a region that is read or written whole. */
  std::uint32_t dump(std::uint32_t region) {
    return ask("HBA_ISSUE_DMP_MBX", {.request_size = 4096}, {words({2, region})}).word(0, 3);
  }
  std::uint32_t update(std::uint32_t region, std::uint32_t length) {
    return ask("HBA_ISSUE_UPD_MBX", {.request_size = length, .value = region}).word(0, 2);
  }
  /** Sends a mailbox that moves a part of a region; `bytes` go along, and there is room for more.
   */
  Answer move(std::uint32_t command, std::uint32_t position, std::uint32_t length,
              const Bytes& bytes, std::uint32_t room, std::uint32_t access = 0x32) {
    const auto given = static_cast<std::uint32_t>(bytes.size());
    return ask("MBOX", {.request_size = 128},
               {{},
                words({command, access, 23 | position << 16, 0, length}),
                words({given, room}) + Bytes{5} + bytes});
  }
  /** The status that the firmware gives a mailbox of these words, with an extension. */
  static std::uint32_t mailbox_status(const Answer& answer) { return answer.word(0, 2) >> 16; }
  Answer pass(const Bytes& mailbox, const Bytes& extension = {}) {
    return ask("MBOX", {.request_size = 256}, {extension, mailbox});
  }

  std::string memory;
};

TEST_F(FeaturesTest, TheFirmwaresLogIsReadAsFarAsThereIsLogAndRoom) {
  ASSERT_EQ(status_of("SET_RAS_CONFIG", {}, {{1, 4}}), success);
  EXPECT_THAT(read_log(0, 64), ElementsAre(2 * 102400 - 102400, 0));
  EXPECT_THAT(memory, testing::StartsWith("0000000000 fw "));
  EXPECT_EQ(memory.back(), '\n');
  EXPECT_THAT(read_log(0, 4096, 4), ElementsAre(204800, 0));
  EXPECT_EQ(memory, "0000" + std::string(60, '\xEE')) << "no more than the descriptor admits";
  EXPECT_THAT(read_log(262144 - 32, 64), ElementsAre(262144, 45056));
  EXPECT_THAT(memory.substr(32), testing::Each('\xEE')) << "nothing behind the end";
}

TEST_F(FeaturesTest, RegionsThatAreEmptyLockedOrUnknownHaveTheirStatuses) {
  EXPECT_EQ(dump(30), 0U);
  EXPECT_EQ(dump(23), 0xFFFDU);
  EXPECT_EQ(dump(3), 0xFFF6U);
  EXPECT_EQ(update(3, 12), 0xFFF6U);
  EXPECT_EQ(update(30, 13), 0xFFFEU);
  EXPECT_EQ(update(30, 0), 0xFFFEU);
  EXPECT_EQ(update(22, 512), 0xFFF7U);
  EXPECT_EQ(ask("HBA_ISSUE_DMP_MBX", {.request_size = 2}, {words({2, 30})}).block.reply_size, 2U);
  use_faults(R"([
    {"command": "RAVN_MGMT_HBA_ISSUE_DMP_MBX", "effect": "short", "value": 3},
    {"command": "RAVN_MGMT_HBA_ISSUE_UPD_MBX", "effect": "mailbox_status", "value": "0x1234"}])");
  const Answer cut = ask("HBA_ISSUE_DMP_MBX", {.request_size = 12}, {words({2, 30})});
  EXPECT_EQ(cut.block.reply_size, 3U);
  EXPECT_EQ(cut.part(0, 4, 2), hex("01020a00"));
  EXPECT_EQ(update(30, 12), 0x1234U);
  EXPECT_EQ(ask("HBA_ISSUE_DMP_MBX", {.request_size = 12}, {words({2, 30})}).part(0, 3, 2),
            hex("01020a"))
      << "the failed write wrote nothing";
}

TEST_F(FeaturesTest, MailboxesReachRegionsInSteps) {
  EXPECT_EQ(mailbox_status(move(write_region, 300, 300, Bytes(300, 0x42), 0)), 0U);
  const auto moved = [this](std::uint32_t position) {
    return move(read_region, position, 128, {}, 512).word(16, 2);
  };
  EXPECT_EQ(move(read_region, 256, 128, {}, 512).part(9 + 43, 2, 3), hex("4200"));
  EXPECT_EQ(moved(256), 128U);
  EXPECT_EQ(moved(1000), 24U) << "what is left";
  EXPECT_EQ(moved(1024), 0U) << "nothing is left";
  EXPECT_EQ(mailbox_status(move(read_region, 0, 128, {}, 0)), 0xFFFEU) << "no room";
  EXPECT_EQ(mailbox_status(move(write_region, 0, 128, Bytes(128), 0)), 0xFFFEU) << "no length";
  EXPECT_NE(mailbox_status(move(read_region, 0, 128, {}, 512, 0)), 0U) << "another access";
}

TEST_F(FeaturesTest, WhatIsWrittenToTheFirmwaresMemoryIsReadBackByTheOtherCommands) {
  EXPECT_EQ(mailbox_status(pass(words({0x8400, 0, 0xAB000004}), {1, 2, 3, 4, 5})), 0U);
  for (const std::uint32_t command : {0x3800U, 0x8D00U, 0x8F00U}) {
    const Answer read = pass(words({command, 0, 0, 6}), Bytes(4096, 9));
    EXPECT_EQ(read.part(3, 4), hex("04000009"));
    EXPECT_NE(mailbox_status(pass(words({command, 0, 0, 4097}))), 0U);
  }
  EXPECT_NE(mailbox_status(pass(words({0x8400, 0, 4097}))), 0U);
  EXPECT_NE(mailbox_status(pass(words({0xEE00}))), 0U);
  use_faults(R"([{"command": "RAVN_MGMT_MBOX", "effect": "mailbox_status", "value": "0xFFFD"}])");
  EXPECT_EQ(mailbox_status(pass({})), 0xFFFDU);
  EXPECT_EQ(mailbox_status(pass({})), 0U);
}

TEST_F(FeaturesTest, ExternalDataOfSliConfigComesBackAsFarAsItIsAskedFor) {
  const auto transfer = [this](std::uint32_t direction, std::uint32_t size, std::uint8_t byte) {
    return ask("MBOX_SLI_CFG_EXT", {.request_size = size, .selector = direction},
               {Bytes(4096, byte)});
  };
  EXPECT_EQ(transfer(2, 256 + 10, 7).block.status, success);
  EXPECT_EQ(transfer(1, 256 + 12, 9).part(256 + 9, 4), hex("07000009"));
}

TEST_F(FeaturesTest, TheFcfTableEndsAndHasItsDefaults) {
  Bytes record =
      hex("000000006e080000401f00008000000002000100") + hex("1000020000000001") + hex("00000001");
  record.resize(548);
  const Answer only = ask("HBA_GET_FCF_LIST", {.index = 0xFFFF});
  EXPECT_EQ(only.payload(), record + hex("1000020100000001"));
  EXPECT_EQ(only.block.value, 0xFFFFU);
  EXPECT_EQ(only.block.code, 1U) << "how many there are";
  use_faults(R"([{"command": "RAVN_MGMT_HBA_GET_FCF_LIST", "effect": "endless"}])");
  EXPECT_EQ(ask("HBA_GET_FCF_LIST", {.index = 2}).block.value, 2U);
  use_faults("[]");
  use_topology(one_board);
  EXPECT_EQ(ask("HBA_GET_FCF_LIST", {.index = 0xFFFF}).payload(), Bytes(556));
}

}  // namespace

}  // namespace ravnsim::test
