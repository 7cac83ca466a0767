#include "ovkctl/frame/command.h"

#include <ovk/mailbox.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <functional>
#include <numeric>
#include <random>
#include <utility>

namespace ovkctl {
namespace {

/** Modes of OVK_ConfigLoopback. */
enum class LoopbackMode : std::uint32_t { internal = 1, external = 2 };

constexpr auto modes = words<LoopbackMode>(
    {{LoopbackMode::internal, "internal"}, {LoopbackMode::external, "external"}});

/** A byte of a frame by the frame's number and its own place. */
using Pattern = std::uint8_t (*)(std::size_t number, std::size_t place);

/** Starts at the frame's number, so that no two frames are alike. */
std::uint8_t counting(std::size_t number, std::size_t place) {
  return static_cast<std::uint8_t>(number + place);
}
template <std::uint8_t even, std::uint8_t odd = even>
std::uint8_t filled(std::size_t /*number*/, std::size_t place) {
  return place % 2 == 0 ? even : odd;
}
std::uint8_t random(std::size_t /*number*/, std::size_t /*place*/) {
  static std::minstd_rand generator;
  return static_cast<std::uint8_t>(generator() >> 8);
}

constexpr auto patterns = words<Pattern>({{counting, "counting"},
                                          {filled<0x00>, "zeros"},
                                          {filled<0xFF>, "ones"},
                                          {filled<0xAA, 0x55>, "alternating"},
                                          {random, "random"}});

constexpr Setting<LoopbackMode> mode_setting{"--mode",   "", "where a frame turns around",
                                             "internal", "", modes};
constexpr Setting<Pattern> pattern_setting{"--pattern", "",       "what the frames hold",
                                           "counting",  "random", patterns};
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

void compare(const Bytes& sent, const Bytes& received, Tally& tally) {
  const std::uint64_t wrong =
      std::transform_reduce(sent.begin(), sent.end(), received.begin(), std::uint64_t{0},
                            std::plus{}, std::not_equal_to{});
  if (wrong != 0 && tally.corrupted == 0) {
    const auto first = std::ranges::mismatch(sent, received).in1 - sent.begin();
    tally.first_bad_frame = tally.sent - 1;
    tally.first_bad_byte = static_cast<std::uint32_t>(first);
  }
  tally.wrong_bytes += wrong;
  ++(wrong == 0 ? tally.intact : tally.corrupted);
}

/** Sends one frame around. What came back is compared with what was sent, byte for byte. */
void exchange(const Board& board, const Bytes& frame, Tally& tally) {
  // Every byte differs from the one that is sent, so that a driver that delivers nothing is
  // noticed.
  Bytes received(frame.size());
  std::ranges::transform(frame, received.begin(), std::bit_not{});
  const LoopbackRequest request{frame.size(), frame.data(), received.data()};
  const std::uint32_t result = OVK_RunLoopbackTest(board, &request);
  ++tally.sent;
  if (result == OVK_LOOPBACK_NOTHING_RECEIVED) {
    ++tally.lost;
    return;
  }
  board.check(result, "Sending a loopback frame", frame_results);
  compare(frame, received, tally);
}

std::atomic<bool> interrupted = false;

Tally send_frames(const Board& board, const LoopbackArguments& given) {
  Tally tally;
  Bytes frame(given.size);
  Progress progress = board.progress("Loopback", given.count);
  // Ctrl-C ends the test alone: the port must not stay in loopback.
  std::signal(SIGINT, [](int) { interrupted = true; });
  while (tally.sent < given.count && !interrupted) {
    for (std::size_t place = 0; place < frame.size(); ++place) {
      frame[place] = given.pattern(tally.sent, place);
    }
    exchange(board, frame, tally);
    progress.update(tally.sent);
  }
  return tally;
}

Report loopback_report(const Board& board, const LoopbackArguments& given, const Tally& tally) {
  Report report = board.report()
                      .field("mode", "Mode", word_of(modes, given.mode))
                      .field("pattern", "Pattern", word_or(patterns, given.pattern, ""))
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

Report end_loopback(const Board& board) {
  board.check(OVK_EndLoopback(board), "Ending the loopback mode", end_results);
  return board.done("The port of {board} is no longer in loopback.");
}

/** Puts the port into loopback, where it does not stay when the frames cannot be sent. */
Tally test_port(const Board& board, const LoopbackArguments& given) {
  board.check(OVK_ConfigLoopbackV2(board, given.value.value_or(OVK_LOOPBACK_NO_VALUE),
                                   static_cast<std::uint32_t>(given.mode), given.arg),
              "Setting the loopback mode", start_results);
  try {
    return send_frames(board, given);
  } catch (...) {
    OVK_EndLoopback(board);
    throw;
  }
}

Report run_loopback(const Board& board, const LoopbackArguments& given) {
  const Tally tally = test_port(board, given);
  end_loopback(board);
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

}  // namespace

void add_loopback(Command root) {
  const Command loopback = root.noun("loopback", "Test a port by itself");
  loopback.command("run", "Send frames from a port to itself and compare what comes back")
      .takes(mode_setting, pattern_setting, size_setting, count_setting, value_option, arg_setting)
      .asks("A loopback test takes the port of {board} out of its fabric while it runs.")
      .shows(run_loopback);
  loopback.command("end", "Take a port out of loopback")
      .asks("Ending loopback initialises the link of {board} anew.")
      .shows(end_loopback);
}

}  // namespace ovkctl
