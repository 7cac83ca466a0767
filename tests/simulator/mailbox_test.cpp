#include "simulator/mailbox_table.h"
#include "tests/simulator/simulator_test.h"

#include <array>
#include <cstring>

namespace ravnsim::test {

namespace {

constexpr std::uint32_t board = 3;

class MailboxTest : public SimulatorTest {
 protected:
  MailboxTest() {
    use_topology(
        with(one_board, R"("extended_sli_config": false)", R"("reset_milliseconds": 3600000)"));
  }

  /** Sends a mailbox and gives the driver's status. */
  DriverStatus send(const Channel& channel, FirmwareMailbox& mailbox, std::uint32_t size = 256) {
    CommandBlock block{.driver_board = board, .request_size = size};
    return channel.send(DriverCommand::mbox, block, &extension, &mailbox, &data);
  }

  static FirmwareMailbox mailbox_of(std::uint8_t command) {
    FirmwareMailbox mailbox{};
    mailbox.command = command;
    return mailbox;
  }

  std::array<std::uint8_t, 4096> extension{};
  MailboxData data{};
};

TEST_F(MailboxTest, WhatIsWrittenToTheFirmwaresMemoryIsReadBackByTheOtherCommands) {
  const Channel channel;
  FirmwareMailbox write = mailbox_of(0x84);
  write.word(2) = 0xAB000000 | 4;
  extension = {1, 2, 3, 4, 5};
  EXPECT_EQ(send(channel, write), DriverStatus::success);
  EXPECT_EQ(write.status, mailbox_completed);

  for (const int command : {0x38, 0x8D, 0x8F}) {
    extension.fill(9);
    FirmwareMailbox read = mailbox_of(static_cast<std::uint8_t>(command));
    read.word(3) = 6;
    EXPECT_EQ(send(channel, read), DriverStatus::success);
    EXPECT_EQ(read.status, mailbox_completed);
    EXPECT_EQ((std::array{extension[3], extension[4], extension[5], extension[6]}),
              (std::array<std::uint8_t, 4>{4, 0, 0, 9}));
    read.word(3) = 4097;
    EXPECT_EQ(send(channel, read), DriverStatus::success);
    EXPECT_EQ(read.status, mailbox_bad_length);
  }
}

TEST_F(MailboxTest, TheDriverRefusesMailboxesThatAreNone) {
  const Channel channel;
  FirmwareMailbox mailbox = mailbox_of(0x00);
  for (const std::uint32_t size : {0U, 6U, 2052U}) {
    EXPECT_EQ(send(channel, mailbox, size), DriverStatus::mailbox_failed) << size;
  }
  data.in_bytes = 2049;
  EXPECT_EQ(send(channel, mailbox), DriverStatus::mailbox_failed);
  data.in_bytes = 2048;
  EXPECT_EQ(send(channel, mailbox), DriverStatus::success);
  mailbox = mailbox_of(0xEE);
  EXPECT_EQ(send(channel, mailbox), DriverStatus::success);
  EXPECT_EQ(mailbox.status, mailbox_unknown_command);
}

TEST_F(MailboxTest, FaultsKeepTheFirmwareBusyOrHaveItFail) {
  use_faults(R"([
    {"command": "RAVN_MGMT_MBOX", "effect": "busy", "times": 2},
    {"command": "RAVN_MGMT_MBOX", "effect": "mailbox_status", "value": "0xFFFD"}
  ])");
  const Channel channel;
  FirmwareMailbox mailbox = mailbox_of(0x00);
  EXPECT_EQ(send(channel, mailbox), DriverStatus::busy);
  EXPECT_EQ(send(channel, mailbox), DriverStatus::busy);
  EXPECT_EQ(send(channel, mailbox), DriverStatus::success);
  EXPECT_EQ(mailbox.status, 0xFFFD);
  EXPECT_EQ(send(channel, mailbox), DriverStatus::success);
  EXPECT_EQ(mailbox.status, mailbox_completed);
}

TEST_F(MailboxTest, ExternalDataOfSliConfigIsKeptAcrossProcesses) {
  use_state();
  struct Extended {
    FirmwareMailbox mailbox;
    std::array<std::uint8_t, 3840> data;
  };
  const auto transfer = [](Extended& extended, std::uint32_t direction, std::uint32_t size) {
    const Channel channel;
    CommandBlock block{.driver_board = board, .request_size = size, .selector = direction};
    return channel.send(DriverCommand::mbox_sli_cfg_ext, block, &extended);
  };
  Extended extended{};
  extended.data.fill(7);
  EXPECT_EQ(transfer(extended, 2, 256 + 10), DriverStatus::success);
  extended.data.fill(9);
  EXPECT_EQ(transfer(extended, 1, 256 + 12), DriverStatus::success);
  EXPECT_EQ((std::array{extended.data[9], extended.data[10], extended.data[11], extended.data[12]}),
            (std::array<std::uint8_t, 4>{7, 0, 0, 9}));
  EXPECT_EQ(transfer(extended, 3, 256), DriverStatus::mailbox_failed);
  EXPECT_EQ(transfer(extended, 1, 4097), DriverStatus::mailbox_failed);

  use_topology(one_board);
  EXPECT_EQ(transfer(extended, 1, 256), DriverStatus::not_supported);
}

TEST_F(MailboxTest, ABoardThatIsBeingResetTakesNone) {
  const Channel channel;
  CommandBlock reset{.driver_board = board, .selector = 1};
  EXPECT_EQ(channel.send(DriverCommand::reset, reset), DriverStatus::success);
  FirmwareMailbox mailbox = mailbox_of(0x00);
  EXPECT_EQ(send(channel, mailbox), DriverStatus::not_ready);
}

}  // namespace

}  // namespace ravnsim::test
