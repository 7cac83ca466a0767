#include "simulator/board/mailbox_table.h"
#include "tests/simulator/simulator_test.h"

namespace ravnsim::test {

namespace {

using enum DriverStatus;

class MailboxTest : public SimulatorTest {
 protected:
  MailboxTest() { use_topology(one_board); }

  /** Sends a mailbox and gives the driver's status. */
  DriverStatus pass(FirmwareMailbox& mailbox, std::uint32_t size = 256) {
    return send("RAVN_MGMT_MBOX", {.request_size = size}, &extension, &mailbox, &data);
  }

  DriverStatus ask_for_extended_sli_config() { return send("RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP", {}); }

  /** Reads (1) or writes (2) an SLI_CONFIG mailbox with its external data. */
  DriverStatus transfer(std::uint32_t direction, std::uint32_t size) {
    return send("RAVN_MGMT_MBOX_SLI_CFG_EXT", {.request_size = size, .selector = direction},
                &extended);
  }

  static FirmwareMailbox mailbox_of(std::uint8_t command) {
    FirmwareMailbox mailbox{};
    mailbox.command = command;
    return mailbox;
  }

  std::array<std::uint8_t, 4096> extension{};
  MailboxData data{};
  struct {
    FirmwareMailbox mailbox;
    std::array<std::uint8_t, 3840> data;
  } extended{};
};

TEST_F(MailboxTest, WhatIsWrittenToTheFirmwaresMemoryIsReadBackByTheOtherCommands) {
  FirmwareMailbox write = mailbox_of(0x84);
  write.word(2) = 0xAB000000 | 4;
  extension = {1, 2, 3, 4, 5};
  EXPECT_EQ(pass(write), success);
  EXPECT_EQ(write.status, mailbox_completed);

  for (const int command : {0x38, 0x8D, 0x8F}) {
    extension.fill(9);
    FirmwareMailbox read = mailbox_of(static_cast<std::uint8_t>(command));
    read.word(3) = 6;
    EXPECT_EQ(pass(read), success);
    EXPECT_EQ(read.status, mailbox_completed);
    EXPECT_EQ((std::array{extension[3], extension[4], extension[5], extension[6]}),
              (std::array<std::uint8_t, 4>{4, 0, 0, 9}));
    read.word(3) = 4097;
    EXPECT_EQ(pass(read), success);
    EXPECT_EQ(read.status, mailbox_bad_length);
  }
}

TEST_F(MailboxTest, TheDriverRefusesMailboxesThatAreNone) {
  FirmwareMailbox mailbox = mailbox_of(0x00);
  for (const std::uint32_t size : {0U, 6U, 2052U}) {
    EXPECT_EQ(pass(mailbox, size), mailbox_failed) << size;
  }
  data.in_bytes = 2049;
  EXPECT_EQ(pass(mailbox), mailbox_failed);
  data.in_bytes = 2048;
  EXPECT_EQ(pass(mailbox), success);
  mailbox = mailbox_of(0xEE);
  EXPECT_EQ(pass(mailbox), success);
  EXPECT_EQ(mailbox.status, mailbox_unknown_command);
}

TEST_F(MailboxTest, AFaultHasTheFirmwareFail) {
  use_faults(R"([{"command": "RAVN_MGMT_MBOX", "effect": "mailbox_status", "value": "0xFFFD"}])");
  FirmwareMailbox mailbox = mailbox_of(0x00);
  for (const std::uint16_t status : {std::uint16_t{0xFFFD}, std::uint16_t{mailbox_completed}}) {
    EXPECT_EQ(pass(mailbox), success);
    EXPECT_EQ(mailbox.status, status);
  }
}

TEST_F(MailboxTest, ExternalDataOfSliConfigComesBackAsFarAsItIsAskedFor) {
  use_topology(with(one_board, R"("extended_sli_config": false,)", ""));
  EXPECT_EQ(ask_for_extended_sli_config(), success);
  extended.data.fill(7);
  EXPECT_EQ(transfer(2, 256 + 10), success);
  extended.data.fill(9);
  EXPECT_EQ(transfer(1, 256 + 12), success);
  EXPECT_EQ((std::array{extended.data[9], extended.data[10], extended.data[11], extended.data[12]}),
            (std::array<std::uint8_t, 4>{7, 0, 0, 9}));
  EXPECT_EQ(transfer(3, 256), mailbox_failed);
  EXPECT_EQ(transfer(1, 4097), mailbox_failed);
}

TEST_F(MailboxTest, ABoardWithoutExtendedSliConfigSaysSo) {
  EXPECT_EQ(ask_for_extended_sli_config(), not_supported);
  EXPECT_EQ(transfer(1, 256), not_supported);
}

}  // namespace

}  // namespace ravnsim::test
