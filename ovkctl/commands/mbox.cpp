#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"

#include <ovk/core.h>
#include <ovk/mailbox.h>

#include <algorithm>
#include <cstring>
#include <optional>

namespace ovkctl {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kWordSize = sizeof(std::uint32_t);
constexpr std::size_t kLongestMailbox = 4096;
constexpr std::size_t kCommandOffset = offsetof(Mailbox, command);

/** What the command line says about a mailbox. */
struct Arguments {
  Given<BoardIndex> board;
  Given<std::vector<std::string>> words;
  Given<HexBytes> write;
  Given<std::uint32_t> read;
  Given<HexBytes> ext;
  Given<std::uint32_t> ext_words;
  Given<std::uint8_t> ext_flag;
  Given<std::uint32_t> attempts;
  Given<std::uint32_t> delay;
  Given<std::string> output;
  Given<bool> yes;
};

/** Where a command's mailbox names the memory that it moves; 0 where it moves none that way. */
struct MemoryWords {
  std::uint8_t command;
  std::size_t read_length;
  std::size_t read_address;
  std::size_t write_length;
  std::size_t write_address;
};

constexpr MemoryWords kMemoryWords[] = {
    {0x38, 3, 4, 0, 0}, {0x84, 5, 6, 2, 3}, {0x8D, 3, 4, 0, 0}, {0x8F, 3, 4, 0, 0}};

/** A mailbox and all that travels with it. */
struct Parcel {
  Bytes mailbox;
  Bytes write;
  Bytes read;
  std::vector<std::uint32_t> ext;
};

/** The mailbox as the library takes it. */
Mailbox* as_mailbox(Bytes& bytes) {
  void* const start = bytes.data();
  return static_cast<Mailbox*>(start);
}

void append_words(Bytes& mailbox, const std::string& text) {
  if (text.starts_with('@')) {
    const Bytes file = read_file(text.substr(1), kLongestMailbox);
    mailbox.insert(mailbox.end(), file.begin(), file.end());
    return;
  }
  std::uint32_t word = 0;
  parse_value(text, word);
  Bytes bytes(kWordSize);
  std::memcpy(bytes.data(), &word, kWordSize);
  mailbox.insert(mailbox.end(), bytes.begin(), bytes.end());
}

Bytes mailbox_of(const std::vector<std::string>& words) {
  Bytes mailbox;
  for (const std::string& word : words) {
    append_words(mailbox, word);
  }
  if (mailbox.size() > kLongestMailbox || mailbox.size() % kWordSize != 0) {
    throw UsageError("A mailbox has whole words, at most " +
                     std::to_string(kLongestMailbox / kWordSize) + " of them.");
  }
  return mailbox;
}

/** Writes a word by its number; there is no word 0 to write. */
void put_word(Bytes& mailbox, std::size_t number, std::uint32_t value) {
  if (number != 0) {
    std::memcpy(mailbox.data() + number * kWordSize, &value, kWordSize);
  }
}

std::uint32_t address_of(const Bytes& bytes) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(bytes.data()));
}

/**
 * Puts the lengths and addresses of the data into the mailbox of a command that has some. Whatever
 * the user wrote there is replaced, because an address of another process would be followed.
 */
void attach_memory(Parcel& parcel) {
  const std::uint8_t command = parcel.mailbox[kCommandOffset];
  const auto* const words = std::ranges::find(kMemoryWords, command, &MemoryWords::command);
  const bool known = words != std::end(kMemoryWords);
  if ((!parcel.read.empty() && !known) ||
      (!parcel.write.empty() && (!known || words->write_length == 0))) {
    throw UsageError("The mailbox command " + hex_text(command, 2) +
                     " does not move data that way.");
  }
  if (known) {
    put_word(parcel.mailbox, words->read_length, static_cast<std::uint32_t>(parcel.read.size()));
    put_word(parcel.mailbox, words->read_address, address_of(parcel.read));
    put_word(parcel.mailbox, words->write_length, static_cast<std::uint32_t>(parcel.write.size()));
    put_word(parcel.mailbox, words->write_address, address_of(parcel.write));
  }
}

/** Takes the addresses out again; they mean nothing to anyone else. */
void detach_memory(Parcel& parcel) {
  const std::uint8_t command = parcel.mailbox[kCommandOffset];
  const auto* const words = std::ranges::find(kMemoryWords, command, &MemoryWords::command);
  if (words != std::end(kMemoryWords)) {
    put_word(parcel.mailbox, words->read_address, 0);
    put_word(parcel.mailbox, words->write_address, 0);
  }
}

Parcel pack(const Arguments& arguments) {
  Parcel parcel{mailbox_of(*arguments.words), arguments.write->bytes, Bytes(*arguments.read), {}};
  if (parcel.write.size() > OVK_MAILBOX_EXTENSION_SIZE) {
    throw UsageError("A mailbox writes at most 4096 bytes.");
  }
  parcel.mailbox.resize(std::max(parcel.mailbox.size(), sizeof(Mailbox)));
  const Bytes& ext = arguments.ext->bytes;
  if (ext.size() > OVK_MAILBOX_EXTENDED_WORDS * kWordSize || ext.size() % kWordSize != 0) {
    throw UsageError("Extended data has whole words, at most 512 of them.");
  }
  parcel.ext.resize(std::max<std::size_t>(ext.size() / kWordSize, *arguments.ext_words));
  std::ranges::copy(ext, static_cast<std::uint8_t*>(static_cast<void*>(parcel.ext.data())));
  attach_memory(parcel);
  return parcel;
}

bool is_sli4(std::uint32_t board) {
  DrvInfo driver{.record_version = OVK_DRV_INFO_VERSION};
  check_board(OVK_GetDrvInfo(board, &driver), board, "Reading the driver information");
  return driver.sli_mode >= OVK_SLI4;
}

/** Sends a mailbox as long as it is, in the room that the call looks at. */
std::uint32_t send_sli4(std::uint32_t board, const Arguments& arguments, Bytes& mailbox) {
  const std::size_t size = mailbox.size();
  mailbox.resize(std::max<std::size_t>(size, OVK_MAILBOX_ROOM));
  const std::uint32_t result = OVK_IssueMboxWithRetryV2(
      board, as_mailbox(mailbox), static_cast<std::uint32_t>(size / kWordSize), *arguments.attempts,
      *arguments.delay);
  mailbox.resize(size);
  return result;
}

/** Sends the mailbox the way that the board and its data need. */
std::uint32_t send(std::uint32_t board, const Arguments& arguments, Parcel& parcel) {
  Mailbox* const mailbox = as_mailbox(parcel.mailbox);
  if (!parcel.ext.empty()) {
    return OVK_IssueMboxWithRetryEx(
        board, mailbox, parcel.ext.data(), *arguments.ext_flag,
        static_cast<std::uint32_t>(arguments.ext->bytes.size() / kWordSize), *arguments.ext_words,
        *arguments.attempts, *arguments.delay);
  }
  const auto size = static_cast<std::uint32_t>(parcel.mailbox.size());
  if (is_sli4(board)) {
    return send_sli4(board, arguments, parcel.mailbox);
  }
  if (size > sizeof(Mailbox)) {
    throw UsageError("A mailbox of this board has at most 64 words.");
  }
  return OVK_IssueMboxWithRetry(board, mailbox, size / kWordSize, size, *arguments.attempts,
                                *arguments.delay);
}

std::string status_text(std::uint16_t status) {
  switch (status) {
    case 0:
      return "completed";
    case OVK_MAILBOX_NOT_ISSUED:
      return "not handed to the firmware";
    case OVK_MAILBOX_BUSY:
      return "the firmware is busy";
    case OVK_MAILBOX_FAILED:
      return "the driver could not run it";
    default:
      return "the firmware's own status";
  }
}

constexpr const char* kSeeState =
    "See with \"ovkctl state show\" whether the board is ready; after a reset that takes a while.";

constexpr ResultText kSendResults[] = {
    {OVK_FAILED, "the command was not delivered or the driver refused it", kSeeState},
    {OVK_MAILBOX_NOT_READY, "the board takes no mailboxes now", kSeeState},
    {OVK_MAILBOX_WRONG_KIND, "mailboxes of this length are not for this board",
     "An SLI-4 board takes 64 words, or more of them for SLI_CONFIG."},
};

const char* status_advice(std::uint16_t status) {
  switch (status) {
    case OVK_MAILBOX_NOT_ISSUED:
      return kSeeState;
    case OVK_MAILBOX_BUSY:
      return "Give it more attempts with --attempts.";
    default:
      return "The firmware's documentation of the command tells what it means.";
  }
}

/** Looks at the mailbox status where the result says that it tells more. */
void check_sent(std::uint32_t result, std::uint32_t board, const Mailbox& mailbox) {
  const std::string operation = "Sending a mailbox to board " + std::to_string(board);
  if (result != OVK_MAILBOX_SEE_STATUS) {
    check(result, operation, kSendResults);
    return;
  }
  throw OperationFailed(operation + " failed with result 2: mailbox status " +
                            hex_text(mailbox.status, 4) + ", " + status_text(mailbox.status) + ".",
                        status_advice(mailbox.status), result);
}

Bytes bytes_of(const std::vector<std::uint32_t>& words) {
  Bytes bytes(words.size() * kWordSize);
  if (!bytes.empty()) {
    std::memcpy(bytes.data(), words.data(), bytes.size());
  }
  return bytes;
}

Report sent_report(std::uint32_t board, const Parcel& parcel) {
  Mailbox header;
  std::memcpy(&header, parcel.mailbox.data(), sizeof header);
  Report report;
  report.field("board", "Board", board)
      .field("command", "Command", Hex{header.command, 2})
      .field("status", "Status", Hex{header.status, 4})
      .field("status_text", "", status_text(header.status))
      .dump("mailbox", "Mailbox", parcel.mailbox);
  if (!parcel.read.empty()) {
    report.dump("read", "Data that was read", parcel.read);
  }
  if (!parcel.ext.empty()) {
    report.dump("extended_data", "Extended data", bytes_of(parcel.ext));
  }
  return report;
}

Bytes raw_answer(const Parcel& parcel) {
  Bytes bytes = parcel.mailbox;
  const Bytes ext = bytes_of(parcel.ext);
  bytes.insert(bytes.end(), parcel.read.begin(), parcel.read.end());
  bytes.insert(bytes.end(), ext.begin(), ext.end());
  return bytes;
}

void run_send(const Arguments& arguments, const Context& context) {
  Parcel parcel = pack(arguments);
  const Session session;
  const std::uint32_t board = session.board(*arguments.board);
  confirm(*arguments.yes, "A raw mailbox can change or interrupt board " + std::to_string(board) +
                              " in any way that its firmware knows.");
  const std::uint32_t result = send(board, arguments, parcel);
  check_sent(result, board, *as_mailbox(parcel.mailbox));
  detach_memory(parcel);
  if (arguments.output.present()) {
    write_file(*arguments.output, raw_answer(parcel));
  }
  context.print(sent_report(board, parcel));
}

void add_send(Command mbox) {
  const Command send = mbox.subcommand("send", "Send a raw mailbox to a board's firmware");
  send.example("ovkctl mbox send 0 0 --yes");
  send.example("ovkctl mbox send 1 0x00008400 --write \"01 02 03 04\" --read 4 --yes");
  send.example("ovkctl mbox send 0 @mailbox.bin --attempts 5 -o answer.bin --yes");
  const Arguments arguments{
      send.board(),
      send.arguments<std::string>("WORD", "the mailbox's words, or @FILE with them as bytes"),
      send.option<HexBytes>("--write", "HEX", "data that the mailbox writes"),
      send.option<std::uint32_t>("--read", "BYTES", "how much data the mailbox reads", 0,
                                 between(1, OVK_MAILBOX_EXTENSION_SIZE)),
      send.option<HexBytes>("--ext", "HEX", "extended data to send"),
      send.option<std::uint32_t>("--ext-words", "NUMBER", "words of extended data to receive", 0,
                                 between(1, OVK_MAILBOX_EXTENDED_WORDS)),
      send.option<std::uint8_t>("--ext-flag", "NUMBER", "the kind of the extended data", 0),
      send.option<std::uint32_t>("--attempts", "NUMBER", "how often a busy firmware is asked", 3,
                                 between(1, 1000)),
      send.option<std::uint32_t>("--delay", "MS", "the wait between the attempts", 1000),
      send.output_file(),
      send.yes()};
  send.action([arguments](const Context& context) { run_send(arguments, context); });
}

}  // namespace

void add_mbox(Command root) {
  const Command mbox = root.subcommand("mbox", "Talk to the firmware in its mailboxes");
  add_send(mbox);
}

}  // namespace ovkctl
