#include "simulator/board/firmware.h"
#include "tests/simulator/simulator_test.h"

namespace ravnsim::test {

namespace {

using enum DriverStatus;

class MailboxTest : public SimulatorTest {
 protected:
  MailboxTest() { use_topology(one_board); }

  /** Sends a mailbox of these words, the command in bits 8 to 15 of the first. */
  Answer pass(const Bytes& mailbox, const Bytes& extension = {}, std::uint32_t size = 256,
              std::uint32_t in_bytes = 0) {
    return ask("MBOX", {.request_size = size}, {extension, mailbox, words({in_bytes})});
  }
  std::uint32_t mailbox_status(const Answer& passed) {
    EXPECT_EQ(passed.block.status, success);
    return passed.word(0, 2) >> 16;
  }
  /** Reads (1) or writes (2) an SLI_CONFIG mailbox with its external data. */
  Answer transfer(std::uint32_t direction, std::uint32_t size, std::uint8_t byte = 9) {
    return ask("MBOX_SLI_CFG_EXT", {.request_size = size, .selector = direction},
               {Bytes(256) + Bytes(3840, byte)});
  }
};

TEST_F(MailboxTest, WhatIsWrittenToTheFirmwaresMemoryIsReadBackByTheOtherCommands) {
  EXPECT_EQ(mailbox_status(pass(words({0x8400, 0, 0xAB000004}), {1, 2, 3, 4, 5})),
            mailbox_completed);
  for (const std::uint32_t command : {0x3800U, 0x8D00U, 0x8F00U}) {
    const Answer read = pass(words({command, 0, 0, 6}), Bytes(4096, 9));
    EXPECT_EQ(mailbox_status(read), mailbox_completed);
    EXPECT_EQ(read.part(3, 4), hex("04000009"));
    EXPECT_EQ(mailbox_status(pass(words({command, 0, 0, 4097}))), mailbox_bad_length);
  }
}

TEST_F(MailboxTest, TheDriverRefusesMailboxesThatAreNoneAndFaultsHaveTheFirmwareFail) {
  for (const std::uint32_t size : {0U, 6U, 2052U}) {
    EXPECT_EQ(pass({}, {}, size).block.status, mailbox_failed) << size;
  }
  EXPECT_EQ(pass({}, {}, 256, 2049).block.status, mailbox_failed);
  EXPECT_EQ(pass({}, {}, 256, 2048).block.status, success);
  EXPECT_EQ(mailbox_status(pass(words({0xEE00}))), mailbox_unknown_command);
  use_faults(R"([{"command": "RAVN_MGMT_MBOX", "effect": "mailbox_status", "value": "0xFFFD"}])");
  EXPECT_EQ(mailbox_status(pass({})), 0xFFFDU);
  EXPECT_EQ(mailbox_status(pass({})), mailbox_completed);
}

TEST_F(MailboxTest, ExternalDataOfSliConfigComesBackAsFarAsItIsAskedFor) {
  use_topology(with(one_board, R"("extended_sli_config": false,)", ""));
  EXPECT_EQ(status_of("MBOX_SLI_CFG_EXT_SUP"), success);
  EXPECT_EQ(transfer(2, 256 + 10, 7).block.status, success);
  EXPECT_EQ(transfer(1, 256 + 12).part(256 + 9, 4), hex("07000009"));
  EXPECT_EQ(transfer(3, 256).block.status, mailbox_failed);
  EXPECT_EQ(transfer(1, 4097).block.status, mailbox_failed);
}

}  // namespace

}  // namespace ravnsim::test
