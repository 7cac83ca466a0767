#include "ovkctl/frame/command.h"
#include "ovkctl/frame/files.h"

#include <ovk/core.h>
#include <ovk/mailbox.h>

#include <algorithm>

namespace ovkctl {
namespace {

constexpr std::size_t word_size = sizeof(std::uint32_t);
constexpr std::size_t most_words = 1024;

constexpr Rest<std::string> mailbox_words{
    "WORD", "the mailbox's words, or @FILE with them as bytes", "0x00008400"};
constexpr Setting<HexBytes> write_setting{"--write", "HEX", "data that the mailbox writes", "",
                                          "01 02 03 04"};
constexpr Setting<std::uint32_t> read_setting{"--read", "BYTES", "how much data the mailbox reads",
                                              "0",      "4",     {1, OVK_MAILBOX_EXTENSION_SIZE}};
constexpr Setting<HexBytes> ext_setting{"--ext", "HEX", "extended data to send", ""};
constexpr Setting<std::uint32_t> ext_words_setting{
    "--ext-words", "NUMBER", "words of extended data to receive",
    "0",           "",       {1, OVK_MAILBOX_EXTENDED_WORDS}};
constexpr Setting<std::uint8_t> ext_flag_setting{"--ext-flag", "NUMBER",
                                                 "the kind of the extended data", "0"};
constexpr Setting<std::uint32_t> attempts_setting{
    "--attempts", "NUMBER", "how often a busy firmware is asked", "3", "", {1, 1000}};
constexpr Setting<std::uint32_t> delay_setting{"--delay", "MS", "the wait between the attempts",
                                               "1000"};

/** What the command line says about a mailbox. */
struct MailboxArguments {
  std::vector<std::string> words;
  HexBytes write;
  std::uint32_t read;
  HexBytes ext;
  std::uint32_t ext_words;
  std::uint8_t ext_flag;
  std::uint32_t attempts;
  std::uint32_t delay;
};

/** Where a command's mailbox names the memory that it moves; 0 where it moves none that way. */
struct MemoryWords {
  std::uint8_t command;
  std::size_t read_length;
  std::size_t read_address;
  std::size_t write_length;
  std::size_t write_address;
};

constexpr MemoryWords memory_words[] = {
    {0x38, 3, 4, 0, 0}, {0x84, 5, 6, 2, 3}, {0x8D, 3, 4, 0, 0}, {0x8F, 3, 4, 0, 0}};

/** A mailbox and all that travels with it. */
struct Parcel {
  Bytes mailbox;        ///< with room behind it for what the calls look at
  std::uint32_t words;  ///< of the mailbox itself
  Bytes write;
  Bytes read;
  Bytes ext;
  MemoryWords memory;
};

/** Bytes as the library takes them. */
template <typename Record>
Record* as_records(Bytes& bytes) {
  void* const start = bytes.data();
  return static_cast<Record*>(start);
}

void check_words(const Bytes& bytes, std::size_t most, const char* what) {
  if (bytes.size() > most * word_size || bytes.size() % word_size != 0) {
    throw UsageError("{} has whole words, at most {} of them.", what, most);
  }
}

Bytes mailbox_of(const std::vector<std::string>& words) {
  Bytes mailbox;
  for (const std::string& text : words) {
    Bytes part(word_size);
    if (text.starts_with('@')) {
      part = read_file(text.substr(1), most_words * word_size);
    } else {
      parse_value(text, *as_records<std::uint32_t>(part));
    }
    mailbox.insert(mailbox.end(), part.begin(), part.end());
  }
  check_words(mailbox, most_words, "A mailbox");
  mailbox.resize(std::max(mailbox.size(), sizeof(Mailbox)));
  return mailbox;
}

MemoryWords memory_words_of(std::uint8_t command) {
  const auto* const words = std::ranges::find(memory_words, command, &MemoryWords::command);
  return words != std::end(memory_words) ? *words : MemoryWords{};
}

/** Writes a word by its number; there is no word 0 to write. */
void put_word(Parcel& parcel, std::size_t number, std::size_t value) {
  if (number != 0) {
    as_records<std::uint32_t>(parcel.mailbox)[number] = static_cast<std::uint32_t>(value);
  }
}

/**
 * Puts the lengths and addresses of the data into the mailbox of a command that has some. Whatever
 * the user wrote there is replaced, because an address of another process would be followed.
 */
void attach_memory(Parcel& parcel) {
  const MemoryWords& memory = parcel.memory;
  if ((!parcel.read.empty() && memory.read_length == 0) ||
      (!parcel.write.empty() && memory.write_length == 0)) {
    throw UsageError("The mailbox command {:#04x} does not move data that way.",
                     as_records<Mailbox>(parcel.mailbox)->command);
  }
  put_word(parcel, memory.read_length, parcel.read.size());
  put_word(parcel, memory.read_address, reinterpret_cast<std::uintptr_t>(parcel.read.data()));
  put_word(parcel, memory.write_length, parcel.write.size());
  put_word(parcel, memory.write_address, reinterpret_cast<std::uintptr_t>(parcel.write.data()));
}

Parcel pack(const MailboxArguments& given) {
  Parcel parcel{.mailbox = mailbox_of(given.words),
                .words = 0,
                .write = given.write.bytes,
                .read = Bytes(given.read),
                .ext = given.ext.bytes,
                .memory = {}};
  if (parcel.write.size() > OVK_MAILBOX_EXTENSION_SIZE) {
    throw UsageError("A mailbox writes at most {} bytes.", OVK_MAILBOX_EXTENSION_SIZE);
  }
  check_words(parcel.ext, OVK_MAILBOX_EXTENDED_WORDS, "Extended data");
  parcel.ext.resize(std::max(parcel.ext.size(), given.ext_words * word_size));
  parcel.words = parcel.mailbox.size() / word_size;
  parcel.mailbox.resize(std::max<std::size_t>(parcel.mailbox.size(), OVK_MAILBOX_ROOM));
  parcel.memory = memory_words_of(as_records<Mailbox>(parcel.mailbox)->command);
  attach_memory(parcel);
  return parcel;
}

/** Takes the room and the addresses away again; they mean nothing to anyone else. */
void unpack(Parcel& parcel) {
  put_word(parcel, parcel.memory.read_address, 0);
  put_word(parcel, parcel.memory.write_address, 0);
  parcel.mailbox.resize(parcel.words * word_size);
}

/** Sends the mailbox the way that the board and its data need. */
std::uint32_t send(const Board& board, const MailboxArguments& given, Parcel& parcel) {
  auto* const mailbox = as_records<Mailbox>(parcel.mailbox);
  if (!parcel.ext.empty()) {
    return OVK_IssueMboxWithRetryEx(board, mailbox, as_records<std::uint32_t>(parcel.ext),
                                    given.ext_flag, given.ext.bytes.size() / word_size,
                                    given.ext_words, given.attempts, given.delay);
  }
  DrvInfo driver{.record_version = OVK_DRV_INFO_VERSION};
  board.check(OVK_GetDrvInfo(board, &driver), "Reading the driver information");
  if (driver.sli_mode >= OVK_SLI4) {
    return OVK_IssueMboxWithRetryV2(board, mailbox, parcel.words, given.attempts, given.delay);
  }
  if (parcel.words > OVK_MAILBOX_WORDS) {
    throw UsageError("A mailbox of this board has at most {} words.", OVK_MAILBOX_WORDS);
  }
  return OVK_IssueMboxWithRetry(board, mailbox, parcel.words, parcel.words * word_size,
                                given.attempts, given.delay);
}

constexpr const char* see_state =
    "See with \"ovkctl state show\" whether the board is ready; after a reset that takes a while.";

constexpr ResultText send_results[] = {
    {OVK_FAILED, "the command was not delivered or the driver refused it", see_state},
    {OVK_MAILBOX_NOT_READY, "the board takes no mailboxes now", see_state},
    {OVK_MAILBOX_WRONG_KIND, "mailboxes of this length are not for this board",
     "An SLI-4 board takes 64 words, or more of them for SLI_CONFIG."},
};

constexpr const char* see_documentation =
    "The firmware's documentation of the command tells what it means.";

/** The statuses of a mailbox that are not the firmware's own, and at last what stands for those. */
constexpr ResultText statuses[] = {
    {0, "completed", see_documentation},
    {OVK_MAILBOX_NOT_ISSUED, "not handed to the firmware", see_state},
    {OVK_MAILBOX_BUSY, "the firmware is busy", "Give it more attempts with --attempts."},
    {OVK_MAILBOX_FAILED, "the driver could not run it", see_documentation},
    {0, "the firmware's own status", see_documentation},
};

const ResultText& text_of(std::uint16_t status) {
  const auto* const end = std::end(statuses) - 1;
  return *std::find_if(statuses, end, [status](auto& each) { return each.result == status; });
}

/** Looks at the mailbox status where the result says that it tells more. */
void check_sent(std::uint32_t result, const Board& board, std::uint16_t status) {
  const std::string operation = fmt::format("Sending a mailbox to {}", board.name());
  if (result != OVK_MAILBOX_SEE_STATUS) {
    check(result, operation, send_results);
    return;
  }
  const ResultText& text = text_of(status);
  throw OperationFailed(fmt::format("{} failed with result {}: mailbox status {:#06x}, {}.",
                                    operation, result, status, text.meaning),
                        text.advice, result);
}

/** Adds bytes that a file gets and that are shown also then. */
void add_bytes(Section& section, const char* key, const char* label, const Bytes& bytes) {
  if (!bytes.empty()) {
    section.dump(key, label, bytes).payload("", "", bytes);
  }
}

/** What came back goes into a file one part after the other. */
Report send_mailbox(const Board& board, const MailboxArguments& given) {
  Parcel parcel = pack(given);
  board.ask("A raw mailbox can change or interrupt {board} in any way that its firmware knows.");
  const std::uint32_t result = send(board, given, parcel);
  const Mailbox mailbox = *as_records<Mailbox>(parcel.mailbox);
  check_sent(result, board, mailbox.status);
  unpack(parcel);
  Report report = board.report()
                      .field("command", "Command", Hex{mailbox.command, 2})
                      .field("status", "Status", Hex{mailbox.status, 4})
                      .field("status_text", "", text_of(mailbox.status).meaning);
  add_bytes(report, "mailbox", "Mailbox", parcel.mailbox);
  add_bytes(report, "read", "Data that was read", parcel.read);
  add_bytes(report, "extended_data", "Extended data", parcel.ext);
  return report;
}

}  // namespace

void add_mailbox(Command root) {
  root.noun("mbox", "Talk to the firmware in its mailboxes")
      .command("send", "Send a raw mailbox to a board's firmware")
      .takes(mailbox_words, write_setting, read_setting, ext_setting, ext_words_setting,
             ext_flag_setting, attempts_setting, delay_setting)
      .asks_itself()
      .saves()
      .example("0 @mailbox.bin --attempts 5 -o answer.bin --yes")
      .shows(send_mailbox);
}

}  // namespace ovkctl
