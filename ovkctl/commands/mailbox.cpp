#include "ovkctl/frame/command.h"
#include "ovkctl/frame/files.h"

#include <ovk/core.h>
#include <ovk/mailbox.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fmt/core.h>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace ovkctl {
namespace {

constexpr const char* see_whether_ready =
    "See with \"ovkctl state show\" whether the board is ready.";

// ---- Mailboxes ------------------------------------------------------------------------------

constexpr std::size_t word_size = sizeof(std::uint32_t);
constexpr std::size_t longest_mailbox = 4096;
constexpr std::size_t command_offset = offsetof(Mailbox, command);

constexpr Rest<std::string> mailbox_words{
    "WORD", "the mailbox's words, or @FILE with them as bytes", "0x00008400"};
constexpr Option<HexBytes> write_option{"--write", "HEX", "data that the mailbox writes",
                                        "01 02 03 04"};
constexpr Setting<std::uint32_t> read_setting{"--read", "BYTES", "how much data the mailbox reads",
                                              "0",      "4",     {1, OVK_MAILBOX_EXTENSION_SIZE}};
constexpr Option<HexBytes> ext_option{"--ext", "HEX", "extended data to send"};
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
  std::optional<HexBytes> write;
  std::uint32_t read;
  std::optional<HexBytes> ext;
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
    const Bytes file = read_file(text.substr(1), longest_mailbox);
    mailbox.insert(mailbox.end(), file.begin(), file.end());
    return;
  }
  std::uint32_t word = 0;
  parse_value(text, word);
  mailbox.resize(mailbox.size() + word_size);
  std::memcpy(&*mailbox.end() - word_size, &word, word_size);
}

Bytes mailbox_of(const std::vector<std::string>& words) {
  Bytes mailbox;
  for (const std::string& word : words) {
    append_words(mailbox, word);
  }
  if (mailbox.size() > longest_mailbox || mailbox.size() % word_size != 0) {
    throw UsageError(
        fmt::format("A mailbox has whole words, at most {} of them.", longest_mailbox / word_size));
  }
  return mailbox;
}

/** Writes a word by its number; there is no word 0 to write. */
void put_word(Bytes& mailbox, std::size_t number, std::uint32_t value) {
  if (number != 0) {
    std::memcpy(mailbox.data() + number * word_size, &value, word_size);
  }
}

std::uint32_t address_of(const Bytes& bytes) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(bytes.data()));
}

/** The words of the mailbox's command; null for one that moves no memory. */
const MemoryWords* memory_words_of(const Bytes& mailbox) {
  const auto* const words =
      std::ranges::find(memory_words, mailbox[command_offset], &MemoryWords::command);
  return words != std::end(memory_words) ? words : nullptr;
}

/**
 * Puts the lengths and addresses of the data into the mailbox of a command that has some. Whatever
 * the user wrote there is replaced, because an address of another process would be followed.
 */
void attach_memory(Parcel& parcel) {
  const MemoryWords* const words = memory_words_of(parcel.mailbox);
  if ((!parcel.read.empty() && words == nullptr) ||
      (!parcel.write.empty() && (words == nullptr || words->write_length == 0))) {
    throw UsageError(fmt::format("The mailbox command {:#04x} does not move data that way.",
                                 parcel.mailbox[command_offset]));
  }
  if (words != nullptr) {
    put_word(parcel.mailbox, words->read_length, static_cast<std::uint32_t>(parcel.read.size()));
    put_word(parcel.mailbox, words->read_address, address_of(parcel.read));
    put_word(parcel.mailbox, words->write_length, static_cast<std::uint32_t>(parcel.write.size()));
    put_word(parcel.mailbox, words->write_address, address_of(parcel.write));
  }
}

/** Takes the addresses out again; they mean nothing to anyone else. */
void detach_memory(Parcel& parcel) {
  if (const MemoryWords* const words = memory_words_of(parcel.mailbox); words != nullptr) {
    put_word(parcel.mailbox, words->read_address, 0);
    put_word(parcel.mailbox, words->write_address, 0);
  }
}

Parcel pack(const MailboxArguments& given) {
  Parcel parcel{
      mailbox_of(given.words), given.write.value_or(HexBytes{}).bytes, Bytes(given.read), {}};
  if (parcel.write.size() > OVK_MAILBOX_EXTENSION_SIZE) {
    throw UsageError(fmt::format("A mailbox writes at most {} bytes.", OVK_MAILBOX_EXTENSION_SIZE));
  }
  parcel.mailbox.resize(std::max(parcel.mailbox.size(), sizeof(Mailbox)));
  const Bytes ext = given.ext.value_or(HexBytes{}).bytes;
  if (ext.size() > OVK_MAILBOX_EXTENDED_WORDS * word_size || ext.size() % word_size != 0) {
    throw UsageError(fmt::format("Extended data has whole words, at most {} of them.",
                                 OVK_MAILBOX_EXTENDED_WORDS));
  }
  parcel.ext.resize(std::max<std::size_t>(ext.size() / word_size, given.ext_words));
  std::ranges::copy(ext, static_cast<std::uint8_t*>(static_cast<void*>(parcel.ext.data())));
  attach_memory(parcel);
  return parcel;
}

/** Sends a mailbox as long as it is, in the room that the call looks at. */
std::uint32_t send_sli4(const Board& board, const MailboxArguments& given, Bytes& mailbox) {
  const std::size_t size = mailbox.size();
  mailbox.resize(std::max<std::size_t>(size, OVK_MAILBOX_ROOM));
  const std::uint32_t result = OVK_IssueMboxWithRetryV2(
      board, as_mailbox(mailbox), static_cast<std::uint32_t>(size / word_size), given.attempts,
      given.delay);
  mailbox.resize(size);
  return result;
}

/** Sends the mailbox the way that the board and its data need. */
std::uint32_t send(const Board& board, const MailboxArguments& given, Parcel& parcel) {
  Mailbox* const mailbox = as_mailbox(parcel.mailbox);
  if (!parcel.ext.empty()) {
    const std::size_t sent = given.ext ? given.ext->bytes.size() / word_size : 0;
    return OVK_IssueMboxWithRetryEx(board, mailbox, parcel.ext.data(), given.ext_flag,
                                    static_cast<std::uint32_t>(sent), given.ext_words,
                                    given.attempts, given.delay);
  }
  DrvInfo driver{.record_version = OVK_DRV_INFO_VERSION};
  board.check(OVK_GetDrvInfo(board, &driver), "Reading the driver information");
  if (driver.sli_mode >= OVK_SLI4) {
    return send_sli4(board, given, parcel.mailbox);
  }
  const auto size = static_cast<std::uint32_t>(parcel.mailbox.size());
  if (size > sizeof(Mailbox)) {
    throw UsageError(
        fmt::format("A mailbox of this board has at most {} words.", OVK_MAILBOX_WORDS));
  }
  return OVK_IssueMboxWithRetry(board, mailbox, size / word_size, size, given.attempts,
                                given.delay);
}

constexpr auto status_words =
    words<std::uint16_t>({{0, "completed"},
                          {OVK_MAILBOX_NOT_ISSUED, "not handed to the firmware"},
                          {OVK_MAILBOX_BUSY, "the firmware is busy"},
                          {OVK_MAILBOX_FAILED, "the driver could not run it"}});

std::string status_text(std::uint16_t status) {
  return find_word<std::uint16_t>(status_words, status).value_or("the firmware's own status");
}

constexpr const char* see_state =
    "See with \"ovkctl state show\" whether the board is ready; after a reset that takes a while.";

constexpr ResultText send_results[] = {
    {OVK_FAILED, "the command was not delivered or the driver refused it", see_state},
    {OVK_MAILBOX_NOT_READY, "the board takes no mailboxes now", see_state},
    {OVK_MAILBOX_WRONG_KIND, "mailboxes of this length are not for this board",
     "An SLI-4 board takes 64 words, or more of them for SLI_CONFIG."},
};

const char* status_advice(std::uint16_t status) {
  switch (status) {
    case OVK_MAILBOX_NOT_ISSUED:
      return see_state;
    case OVK_MAILBOX_BUSY:
      return "Give it more attempts with --attempts.";
    default:
      return "The firmware's documentation of the command tells what it means.";
  }
}

/** Looks at the mailbox status where the result says that it tells more. */
void check_sent(std::uint32_t result, const Board& board, const Mailbox& mailbox) {
  const std::string operation = fmt::format("Sending a mailbox to {}", board.name());
  if (result != OVK_MAILBOX_SEE_STATUS) {
    check(result, operation, send_results);
    return;
  }
  throw OperationFailed(fmt::format("{} failed with result {}: mailbox status {:#06x}, {}.",
                                    operation, result, mailbox.status, status_text(mailbox.status)),
                        status_advice(mailbox.status), result);
}

/** Adds bytes that a file gets and that are shown also then. */
void add_bytes(Section& section, const char* key, const char* label, const Bytes& bytes) {
  section.dump(key, label, bytes).payload("", "", bytes);
}

/** What came back; a file gets the parts of it one after the other. */
Report sent_report(const Board& board, const Parcel& parcel) {
  Mailbox header;
  std::memcpy(&header, parcel.mailbox.data(), sizeof header);
  Report report = board.report();
  report.field("command", "Command", Hex{header.command, 2})
      .field("status", "Status", Hex{header.status, 4})
      .field("status_text", "", status_text(header.status));
  add_bytes(report, "mailbox", "Mailbox", parcel.mailbox);
  if (!parcel.read.empty()) {
    add_bytes(report, "read", "Data that was read", parcel.read);
  }
  if (!parcel.ext.empty()) {
    Bytes ext(parcel.ext.size() * word_size);
    std::memcpy(ext.data(), parcel.ext.data(), ext.size());
    add_bytes(report, "extended_data", "Extended data", ext);
  }
  return report;
}

Report send_mailbox(const Board& board, const MailboxArguments& given) {
  Parcel parcel = pack(given);
  board.ask("A raw mailbox can change or interrupt {board} in any way that its firmware knows.");
  const std::uint32_t result = send(board, given, parcel);
  check_sent(result, board, *as_mailbox(parcel.mailbox));
  detach_memory(parcel);
  return sent_report(board, parcel);
}

// ---- Dumps ----------------------------------------------------------------------------------

Report induce_dump(const Board& board) {
  const std::uint32_t result = OVK_SetDumpEnv(board, OVK_DUMP_INDUCE);
  if (result != OVK_DUMP_INDUCED) {
    throw OperationFailed(
        fmt::format("Inducing a dump of {} failed: {}.", board.name(),
                    result == OVK_DUMP_NOTHING_DONE ? "the driver refused it"
                                                    : "the SLI mode of the board cannot be read"),
        see_whether_ready, result);
  }
  return board.done("The firmware of {board} writes a dump.");
}

constexpr ResultText dump_region_results[] = {
    {OVK_DUMP_REGION_MISSING, "the board has no dump region for the host",
     "Boards with an SLI-4 interface keep their dumps themselves."},
    {OVK_DUMP_REGION_NOT_READ, "the driver could not get it from the board", see_whether_ready},
    {OVK_DUMP_REGION_UNKNOWN, "there is no dump region of this selector",
     "Try another --selector."},
};

constexpr Setting<std::uint32_t> selector_setting{"--selector", "NUMBER",
                                                  "which descriptor, the driver's", "0"};

Report show_dump_region(const Board& board, std::uint32_t selector) {
  Bytes descriptor(OVK_DUMP_DESCRIPTOR_SIZE);
  std::uint32_t length = OVK_DUMP_DESCRIPTOR_SIZE;
  board.check(OVK_GetDriverDumpRegion(board, selector, descriptor.data(), &length),
              "Reading the dump region", dump_region_results);
  descriptor.resize(std::min<std::size_t>(length, descriptor.size()));
  Report report = board.report();
  report.field("selector", "Selector", selector).field("length", "Length", Size{length});
  add_bytes(report, "descriptor", "Descriptor", descriptor);
  return report;
}

/** The mode of SetBrdEnv that only asks. */
constexpr std::uint32_t query_state = 0;

// ---- Reset ----------------------------------------------------------------------------------

constexpr ResultText reset_results[] = {
    {OVK_FAILED, "the driver does not reset it now",
     "A board that is being reset takes no other: see \"ovkctl state show\"."},
    {OVK_RESET_NO_SUCH_MODE, "the driver does not have this mode", "Use --mode 1 or --mode 2."},
};

constexpr Setting<std::uint32_t> reset_mode_setting{
    "--mode", "MODE", "1 or 2; 3 where the driver has it", "1", "", {1, 3}};
constexpr Option<std::uint32_t> wait_option{
    "--wait", "SECONDS", "wait until the board is ready again", "60", {1, 3600}};

/** Waits until the driver reports the board as normal; whether it did in time. */
bool wait_until_ready(const Board& board, std::uint32_t seconds) {
  constexpr auto step = std::chrono::milliseconds{100};
  constexpr std::uint32_t steps_per_second = 10;
  Progress progress = board.progress("Waiting", std::uint64_t{seconds} * steps_per_second);
  for (std::uint32_t i = 0; i <= seconds * steps_per_second; ++i) {
    if (SetBrdEnv(board, query_state) == OVK_BOARD_NORMAL) {
      return true;
    }
    progress.update(i);
    std::this_thread::sleep_for(step);
  }
  return false;
}

Report reset(const Board& board, std::uint32_t mode, std::optional<std::uint32_t> wait) {
  board.check(OVK_ResetAdapter(board, mode), "The reset", reset_results);
  const bool ready = wait && wait_until_ready(board, *wait);
  if (wait && !ready) {
    throw OperationFailed(
        fmt::format("Board {} is not ready {} s after its reset.", std::uint32_t{board}, *wait),
        "Look in the driver's log for the reason.");
  }
  return board.listing()
      .field("mode", "", mode)
      .field("ready", "", ready)
      .note(fmt::format("Board {} {}", std::uint32_t{board},
                        ready
                            ? "is reset and ready again."
                            : "is being reset. See with \"ovkctl state show\" when it is ready."));
}

// ---- Loopback -------------------------------------------------------------------------------

/** Modes of OVK_ConfigLoopback. */
enum class LoopbackMode : std::uint32_t { internal = 1, external = 2 };

constexpr auto loopback_modes = words<LoopbackMode>(
    {{LoopbackMode::internal, "internal"}, {LoopbackMode::external, "external"}});

enum class Pattern { counting, zeros, ones, alternating, random };

constexpr auto patterns = words<Pattern>({{Pattern::counting, "counting"},
                                          {Pattern::zeros, "zeros"},
                                          {Pattern::ones, "ones"},
                                          {Pattern::alternating, "alternating"},
                                          {Pattern::random, "random"}});

constexpr Choice<LoopbackMode> loopback_mode_choice{"--mode", "where a frame turns around",
                                                    loopback_modes, LoopbackMode::internal};
constexpr Choice<Pattern> pattern_choice{"--pattern", "what the frames hold", patterns,
                                         Pattern::counting, "random"};
constexpr Setting<std::uint32_t> size_setting{"--size", "BYTES", "length of a frame",
                                              "2048",   "",      {1, OVK_LOOPBACK_MAX_SIZE}};
constexpr Setting<std::uint32_t> count_setting{"--count", "NUMBER", "how many frames are sent",
                                               "100",     "1000",   {1, 1000000000}};
constexpr Option<std::uint32_t> value_option{"--value", "NUMBER",
                                             "a value for the driver of an SLI-4 board"};
constexpr Setting<std::uint32_t> arg_setting{"--arg", "NUMBER", "a further argument for the driver",
                                             "0"};

/** What the command line says about a loopback test. */
struct LoopbackArguments {
  LoopbackMode mode;
  Pattern pattern;
  std::uint32_t size;
  std::uint32_t count;
  std::optional<std::uint32_t> value;
  std::uint32_t arg;
};

/** What became of the frames. */
struct Tally {
  std::uint32_t sent = 0;
  std::uint32_t intact = 0;
  std::uint32_t corrupted = 0;
  std::uint32_t lost = 0;
  std::uint64_t wrong_bytes = 0;
  std::uint32_t first_bad_frame = 0;
  std::uint32_t first_bad_byte = 0;
};

constexpr ResultText start_results[] = {
    {OVK_LOOPBACK_NOT_PERMITTED, "the driver does not permit loopback now",
     "A board below SLI-4 takes no --value; another test may be running."},
};

constexpr ResultText end_results[] = {
    {OVK_LOOPBACK_NOT_PERMITTED, "the driver does not permit it",
     "The port may not be in loopback."},
};

constexpr ResultText frame_results[] = {
    {OVK_LOOPBACK_PORT_BUSY, "the port is busy",
     "Wait for the port to become idle and run the test again."},
};

std::atomic<bool> interrupted = false;

/** Ends the test at Ctrl-C, so that the port does not stay in loopback. */
class InterruptWatch {
 public:
  InterruptWatch() : previous_{std::signal(SIGINT, [](int) { interrupted = true; })} {}
  ~InterruptWatch() { std::signal(SIGINT, previous_); }
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

 private:
  void (*previous_)(int);
};

/** A port that is in loopback as long as this lives. */
class LoopbackPort {
 public:
  LoopbackPort(const Board& board, const LoopbackArguments& given) : board_{board} {
    board.check(OVK_ConfigLoopbackV2(board, given.value.value_or(OVK_LOOPBACK_NO_VALUE),
                                     static_cast<std::uint32_t>(given.mode), given.arg),
                "Setting the loopback mode", start_results);
  }
  ~LoopbackPort() {
    if (active_) {
      OVK_EndLoopback(board_);
    }
  }
  LoopbackPort(const LoopbackPort&) = delete;
  LoopbackPort& operator=(const LoopbackPort&) = delete;

  /** Takes the port out of loopback and says when that fails. */
  void end() {
    active_ = false;
    board_.check(OVK_EndLoopback(board_), "Ending the loopback mode", end_results);
  }

 private:
  Board board_;
  bool active_ = true;
};

/** A byte of a frame. Counting starts at the frame's number, so that no two frames are alike. */
std::uint8_t pattern_byte(Pattern pattern, std::uint32_t number, std::size_t place,
                          std::minstd_rand& random) {
  switch (pattern) {
    case Pattern::zeros:
      return 0x00;
    case Pattern::ones:
      return 0xff;
    case Pattern::alternating:
      return place % 2 == 0 ? 0xaa : 0x55;
    case Pattern::random:
      return static_cast<std::uint8_t>(random() >> 8);
    default:
      return static_cast<std::uint8_t>(number + place);
  }
}

void compare(const Bytes& sent, const Bytes& received, Tally& tally) {
  std::uint64_t wrong = 0;
  for (std::size_t i = 0; i < sent.size(); ++i) {
    if (sent[i] == received[i]) {
      continue;
    }
    if (wrong == 0 && tally.corrupted == 0) {
      tally.first_bad_frame = tally.sent - 1;
      tally.first_bad_byte = static_cast<std::uint32_t>(i);
    }
    ++wrong;
  }
  tally.wrong_bytes += wrong;
  ++(wrong == 0 ? tally.intact : tally.corrupted);
}

/** Sends one frame around. What came back is compared with what was sent, byte for byte. */
void exchange(const Board& board, const Bytes& frame, Tally& tally) {
  // The other way round than what was sent, so that a driver that delivers nothing is noticed.
  Bytes received(frame.size());
  std::ranges::transform(frame, received.begin(),
                         [](std::uint8_t byte) { return static_cast<std::uint8_t>(~byte); });
  const LoopbackRequest request{static_cast<std::uint32_t>(frame.size()), frame.data(),
                                received.data()};
  const std::uint32_t result = OVK_RunLoopbackTest(board, &request);
  ++tally.sent;
  if (result == OVK_LOOPBACK_NOTHING_RECEIVED) {
    ++tally.lost;
    return;
  }
  board.check(result, "Sending a loopback frame", frame_results);
  compare(frame, received, tally);
}

Tally send_frames(const Board& board, const LoopbackArguments& given) {
  Tally tally;
  Bytes frame(given.size);
  std::minstd_rand random;
  Progress progress = board.progress("Loopback", given.count);
  const InterruptWatch watch;
  for (std::uint32_t number = 0; number < given.count && !interrupted; ++number) {
    for (std::size_t i = 0; i < frame.size(); ++i) {
      frame[i] = pattern_byte(given.pattern, number, i, random);
    }
    exchange(board, frame, tally);
    progress.update(number + 1);
  }
  return tally;
}

Report loopback_report(const Board& board, const LoopbackArguments& given, const Tally& tally) {
  Report report = board.report();
  report.field("mode", "Mode", word_of(loopback_modes, given.mode))
      .field("pattern", "Pattern", word_of(patterns, given.pattern))
      .field("frame_size", "Frame size", Size{given.size})
      .field("sent", "Frames sent", tally.sent)
      .field("intact", "Came back intact", tally.intact)
      .field("corrupted", "Came back corrupted", tally.corrupted)
      .field("lost", "Did not come back", tally.lost)
      .field("wrong_bytes", "Wrong bytes", tally.wrong_bytes);
  if (tally.corrupted != 0) {
    report.field("first_bad_frame", "First bad frame", tally.first_bad_frame)
        .field("first_bad_byte", "First bad byte in it", tally.first_bad_byte);
  }
  if (tally.sent < given.count) {
    report.note("Interrupted before all frames were sent.");
  }
  return report;
}

Report run_loopback(const Board& board, const LoopbackArguments& given) {
  LoopbackPort port{board, given};
  const Tally tally = send_frames(board, given);
  port.end();
  Report report = loopback_report(board, given, tally);
  if (tally.intact == tally.sent) {
    return report;
  }
  const bool no_plug = given.mode == LoopbackMode::external && tally.lost == tally.sent;
  throw FailedWithReport(std::move(report),
                         fmt::format("{} of {} frames did not come back intact.",
                                     tally.sent - tally.intact, tally.sent),
                         no_plug
                             ? "An external loopback needs a loopback plug in the port."
                             : "Check the transceiver and the cable, or the board itself when the "
                               "internal loopback fails too.");
}

Report end_loopback(const Board& board) {
  board.check(OVK_EndLoopback(board), "Ending the loopback mode", end_results);
  return board.done("The port of {board} is no longer in loopback.");
}

// ---- State ----------------------------------------------------------------------------------

constexpr auto states = words<std::uint32_t>({{OVK_BOARD_NORMAL, "normal"},
                                              {OVK_BOARD_NOT_READY, "not-ready"},
                                              {3, "mode-3"},
                                              {5, "mode-5"}});

constexpr OptionalWord<BoardIndex> any_board_word{"BOARD", "library board index"};
constexpr ChoiceWord<std::uint32_t> state_word{"STATE", "normal, not-ready, mode-3 or mode-5",
                                               states, "not-ready"};

/** The state that the driver answers; it has none only when the command failed. */
std::uint32_t change_state(const Board& board, std::uint32_t mode, const char* operation) {
  const std::int32_t state = SetBrdEnv(board, mode);
  if (state == 0) {
    throw OperationFailed(fmt::format("{} of {} failed.", operation, board.name()),
                          "A board that is being reset changes its state when it is back.");
  }
  return static_cast<std::uint32_t>(state);
}

/** A board and its state. */
struct StateRow {
  std::uint32_t board;
  std::uint32_t state;
};

constexpr Column<StateRow> state_columns[] = {
    {"board", "BOARD", field<&StateRow::board>},
    {"code", "CODE", field<&StateRow::state>},
    {"state", "STATE", [](const StateRow& row) { return word_of(states, row.state, "state "); }},
};

Report states_report(const std::vector<Board>& boards) {
  std::vector<StateRow> rows;
  for (const Board& board : boards) {
    rows.push_back({board, change_state(board, query_state, "Reading the state")});
  }
  return Report{}.table("boards", "", state_columns, rows, "There is no board.");
}

Report show_states(const Host& host, std::optional<BoardIndex> one) {
  if (one) {
    return states_report({host.board(*one)});
  }
  std::vector<Board> boards;
  for (std::uint32_t index = 0; index < host.board_count(); ++index) {
    boards.push_back(host.board({index}));
  }
  return states_report(boards);
}

Report set_state(const Board& board, std::uint32_t state) {
  change_state(board, state, "Setting the state");
  return states_report({board});
}

}  // namespace

void add_mailbox(Command root) {
  root.noun("mbox", "Talk to the firmware in its mailboxes")
      .command("send", "Send a raw mailbox to a board's firmware")
      .takes(mailbox_words, write_option, read_setting, ext_option, ext_words_setting,
             ext_flag_setting, attempts_setting, delay_setting)
      .asks_itself()
      .saves()
      .example("0 @mailbox.bin --attempts 5 -o answer.bin --yes")
      .shows(send_mailbox);

  const Command dump = root.noun("dump", "Take and find the dumps of boards");
  dump.command("induce", "Have a board's firmware write a dump and start anew")
      .asks("A dump interrupts all traffic of {board}.")
      .shows(induce_dump);
  dump.command("region", "Show where the host keeps the dump of an SLI-3 board")
      .on_board("1")
      .takes(selector_setting)
      .saves()
      .shows(show_dump_region);

  root.command("reset", "Reset a board")
      .takes(reset_mode_setting, wait_option)
      .asks("A reset interrupts all traffic of {board}.")
      .shows(reset);

  const Command loopback = root.noun("loopback", "Test a port by itself");
  loopback.command("run", "Send frames from a port to itself and compare what comes back")
      .takes(loopback_mode_choice, pattern_choice, size_setting, count_setting, value_option,
             arg_setting)
      .asks("A loopback test takes the port of {board} out of its fabric while it runs.")
      .shows(run_loopback);
  loopback.command("end", "Take a port out of loopback")
      .asks("Ending loopback initialises the link of {board} anew.")
      .shows(end_loopback);

  const Command state = root.noun("state", "Show and set the states of boards");
  state.command("show", "Show the state of one board or of all")
      .takes(any_board_word)
      .shows(show_states);
  state.command("set", "Put a board into another state")
      .takes(state_word)
      .asks("Another state can take the port of {board} out of its fabric.")
      .shows(set_state);
}

}  // namespace ovkctl
