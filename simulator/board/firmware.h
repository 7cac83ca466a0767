/**
 * @file
 * The mailboxes that the firmware of a board completes.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ravnsim {

class Adapter;

/** A mailbox at the firmware. */
struct FirmwareMailbox {
  std::uint8_t byte0;
  std::uint8_t command;
  std::uint16_t status;  ///< what `complete` gives
  std::uint32_t words4[63];

  /** A word by its number. */
  [[nodiscard]] std::uint32_t& word(std::size_t number) { return words4[number - 1]; }
};

static_assert(sizeof(FirmwareMailbox) == 256);
static_assert(offsetof(FirmwareMailbox, words4) == 4);

/** The extended data that travels beside a mailbox. */
struct [[gnu::packed]] MailboxData {
  std::uint32_t in_bytes;   ///< how much of `bytes` the caller gives
  std::uint32_t out_bytes;  ///< how much the caller has room for
  std::uint8_t flag;
  std::uint8_t bytes[2048];
};

static_assert(sizeof(MailboxData) == 2057);
static_assert(offsetof(MailboxData, bytes) == 9);

/** One mailbox and what comes with it. */
struct MailboxCall {
  FirmwareMailbox& mailbox;
  std::span<std::uint8_t> extension;  ///< what the mailbox's addresses name, moved both ways
  MailboxData& data;
};

/** Mailbox statuses that the firmware gives whatever the command is. */
enum MailboxStatus : std::uint16_t {
  mailbox_completed = 0,
  mailbox_bad_length = 0xFFFE,
  mailbox_unknown_command = 0xFFFF,
};

/** Completes a mailbox as the firmware does, and gives its status. */
std::uint16_t complete(Adapter& adapter, MailboxCall& call);

}  // namespace ravnsim
