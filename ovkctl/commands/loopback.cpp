#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"

#include <ovk/mailbox.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <random>
#include <utility>

namespace ovkctl {
namespace {

using Frame = std::vector<std::uint8_t>;

/** Modes of OVK_ConfigLoopback. */
enum class Mode : std::uint32_t { kInternal = 1, kExternal = 2 };

const Choices<Mode> kModes = {{"internal", Mode::kInternal}, {"external", Mode::kExternal}};

enum class Pattern { kCounting, kZeros, kOnes, kAlternating, kRandom };

const Choices<Pattern> kPatterns = {{"counting", Pattern::kCounting},
                                    {"zeros", Pattern::kZeros},
                                    {"ones", Pattern::kOnes},
                                    {"alternating", Pattern::kAlternating},
                                    {"random", Pattern::kRandom}};

struct Arguments {
  Given<BoardIndex> board;
  Given<Mode> mode;
  Given<Pattern> pattern;
  Given<std::uint32_t> size;
  Given<std::uint32_t> count;
  Given<std::uint32_t> value;
  Given<std::uint32_t> arg;
  Given<bool> yes;
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

  bool clean() const { return intact == sent; }
};

constexpr ResultText kModeResults[] = {
    {OVK_LOOPBACK_NOT_PERMITTED, "the driver does not permit loopback now",
     "A board below SLI-4 takes no --value; another test may be running."},
};

constexpr ResultText kEndResults[] = {
    {OVK_LOOPBACK_NOT_PERMITTED, "the driver does not permit it",
     "The port may not be in loopback."},
};

constexpr ResultText kFrameResults[] = {
    {OVK_LOOPBACK_PORT_BUSY, "the port is busy",
     "Wait for the port to become idle and run the test again."},
};

std::atomic<bool> interrupted = false;

/** Ends the test at Ctrl-C, so that the port does not stay in loopback. */
class InterruptWatch {
 public:
  InterruptWatch() {
    previous_ = std::signal(SIGINT, [](int) { interrupted = true; });
  }
  ~InterruptWatch() { std::signal(SIGINT, previous_); }
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

 private:
  void (*previous_)(int);
};

/** A port that is in loopback as long as this lives. */
class LoopbackPort {
 public:
  LoopbackPort(std::uint32_t board, const Arguments& arguments) : board_(board) {
    check_board(OVK_ConfigLoopbackV2(board, *arguments.value,
                                     static_cast<std::uint32_t>(*arguments.mode), *arguments.arg),
                board, "Setting the loopback mode", kModeResults);
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
    check_board(OVK_EndLoopback(board_), board_, "Ending the loopback mode", kEndResults);
  }

 private:
  std::uint32_t board_;
  bool active_ = true;
};

/** A frame's bytes. Counting starts at the frame's number, so that no two frames are alike. */
void fill(Frame& frame, Pattern pattern, std::uint32_t number, std::minstd_rand& random) {
  for (std::size_t i = 0; i < frame.size(); ++i) {
    switch (pattern) {
      case Pattern::kCounting:
        frame[i] = static_cast<std::uint8_t>(number + i);
        break;
      case Pattern::kZeros:
        frame[i] = 0x00;
        break;
      case Pattern::kOnes:
        frame[i] = 0xff;
        break;
      case Pattern::kAlternating:
        frame[i] = i % 2 == 0 ? 0xaa : 0x55;
        break;
      case Pattern::kRandom:
        frame[i] = static_cast<std::uint8_t>(random() >> 8);
        break;
    }
  }
}

void compare(const Frame& sent, const Frame& received, Tally& tally) {
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
void exchange(std::uint32_t board, const Frame& frame, Tally& tally) {
  // The other way round than what was sent, so that a driver that delivers nothing is noticed.
  Frame received(frame.size());
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
  check_board(result, board, "Sending a loopback frame", kFrameResults);
  compare(frame, received, tally);
}

Tally send_frames(std::uint32_t board, const Arguments& arguments) {
  Tally tally;
  Frame frame(*arguments.size);
  std::minstd_rand random;
  Progress progress("Loopback", *arguments.count);
  const InterruptWatch watch;
  for (std::uint32_t number = 0; number < *arguments.count && !interrupted; ++number) {
    fill(frame, *arguments.pattern, number, random);
    exchange(board, frame, tally);
    progress.update(number + 1);
  }
  return tally;
}

template <typename T>
std::string word_of(const Choices<T>& choices, T value) {
  return std::ranges::find(choices, value, &std::pair<std::string, T>::second)->first;
}

Report summary(std::uint32_t board, const Arguments& arguments, const Tally& tally) {
  Report report;
  report.field("board", "Board", board)
      .field("mode", "Mode", word_of(kModes, *arguments.mode))
      .field("pattern", "Pattern", word_of(kPatterns, *arguments.pattern))
      .field("frame_size", "Frame size", Size{*arguments.size})
      .field("sent", "Frames sent", tally.sent)
      .field("intact", "Came back intact", tally.intact)
      .field("corrupted", "Came back corrupted", tally.corrupted)
      .field("lost", "Did not come back", tally.lost)
      .field("wrong_bytes", "Wrong bytes", tally.wrong_bytes);
  if (tally.corrupted != 0) {
    report.field("first_bad_frame", "First bad frame", tally.first_bad_frame)
        .field("first_bad_byte", "First bad byte in it", tally.first_bad_byte);
  }
  if (tally.sent < *arguments.count) {
    report.note("Interrupted before all frames were sent.");
  }
  return report;
}

[[noreturn]] void fail(Report report, const Tally& tally, Mode mode) {
  const bool all_lost = tally.lost == tally.sent;
  throw FailedWithReport(std::move(report),
                         std::to_string(tally.sent - tally.intact) + " of " +
                             std::to_string(tally.sent) + " frames did not come back intact.",
                         mode == Mode::kExternal && all_lost
                             ? "An external loopback needs a loopback plug in the port."
                             : "Check the transceiver and the cable, or the board itself when the "
                               "internal loopback fails too.");
}

void run_test(const Arguments& arguments, const Context& context) {
  const Session session;
  const std::uint32_t board = session.board(*arguments.board);
  confirm(*arguments.yes, "A loopback test takes the port of board " + std::to_string(board) +
                              " out of its fabric while it runs.");
  LoopbackPort port(board, arguments);
  const Tally tally = send_frames(board, arguments);
  port.end();
  Report report = summary(board, arguments, tally);
  if (!tally.clean()) {
    fail(std::move(report), tally, *arguments.mode);
  }
  context.print(report);
}

void add_run(Command loopback) {
  const Command run =
      loopback.subcommand("run", "Send frames from a port to itself and compare what comes back");
  run.example("ovkctl loopback run 0 --count 1000 --pattern random --yes");
  const Arguments arguments{
      run.board(),
      run.choice("--mode", "where a frame turns around", kModes, Mode::kInternal),
      run.choice("--pattern", "what the frames hold", kPatterns, Pattern::kCounting),
      run.option<std::uint32_t>("--size", "BYTES", "length of a frame", 2048,
                                between(1, OVK_LOOPBACK_MAX_SIZE)),
      run.option<std::uint32_t>("--count", "NUMBER", "how many frames are sent", 100,
                                between(1, 1000000000)),
      run.option<std::uint32_t>("--value", "NUMBER", "a value for the driver of an SLI-4 board",
                                OVK_LOOPBACK_NO_VALUE),
      run.option<std::uint32_t>("--arg", "NUMBER", "a further argument for the driver", 0),
      run.yes()};
  run.action([arguments](const Context& context) { run_test(arguments, context); });
}

void add_end(Command loopback) {
  const Command end = loopback.subcommand("end", "Take a port out of loopback");
  end.example("ovkctl loopback end 0 --yes");
  const auto board_index = end.board();
  const auto yes = end.yes();
  end.action([board_index, yes](const Context& context) {
    const Session session;
    const std::uint32_t board = session.board(*board_index);
    confirm(*yes,
            "Ending loopback initialises the link of board " + std::to_string(board) + " anew.");
    check_board(OVK_EndLoopback(board), board, "Ending the loopback mode", kEndResults);
    Report report;
    report.field("board", "", board)
        .note("The port of board " + std::to_string(board) + " is no longer in loopback.");
    context.print(report);
  });
}

}  // namespace

void add_loopback(Command root) {
  const Command loopback = root.subcommand("loopback", "Test a port by itself");
  add_run(loopback);
  add_end(loopback);
}

}  // namespace ovkctl
