/**
 * @file
 * Which function of the firmware completes which mailbox.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>

namespace ravnsim {

class Adapter;

/** A mailbox at the firmware. */
struct FirmwareMailbox {
  std::uint8_t byte0;
  std::uint8_t command;
  std::uint16_t status;  ///< what the mailbox's function returns
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

/** Completes a mailbox. What it returns becomes the mailbox's status. */
using MailboxFunction = std::uint16_t (*)(Adapter& adapter, MailboxCall& call);

/** The mailbox commands that the firmware knows. */
class MailboxTable {
 public:
  /** Enters the function of a command code. Entering a second one is an error of the program. */
  void on(std::uint8_t command, MailboxFunction function);

  /** The command code's function, or null. */
  [[nodiscard]] MailboxFunction find(std::uint8_t command) const;

 private:
  std::map<std::uint8_t, MailboxFunction> functions_;
};

/** Each topic of the firmware enters its commands with a function of its own. */
void add_memory_mailboxes(MailboxTable& table);
void add_region_mailboxes(MailboxTable& table);
void add_sli_config_mailboxes(MailboxTable& table);

/** The table of all of them. */
MailboxTable all_mailboxes();

}  // namespace ravnsim
