#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"

#include <ovk/core.h>
#include <ovk/mailbox.h>

#include <chrono>
#include <thread>

namespace ovkctl {
namespace {

constexpr std::uint32_t kLongestWait = 3600;

constexpr ResultText kResetResults[] = {
    {OVK_FAILED, "the driver does not reset it now",
     "A board that is being reset takes no other: see \"ovkctl state show\"."},
    {OVK_RESET_NO_SUCH_MODE, "the driver does not have this mode", "Use --mode 1 or --mode 2."},
};

/** Waits until the driver reports the board as normal; whether it did in time. */
bool wait_until_ready(std::uint32_t board, std::uint32_t seconds) {
  constexpr auto step = std::chrono::milliseconds(100);
  constexpr std::uint32_t steps_per_second = 10;
  Progress progress("Waiting", std::uint64_t{seconds} * steps_per_second);
  for (std::uint32_t i = 0; i <= seconds * steps_per_second; ++i) {
    if (SetBrdEnv(board, 0) == OVK_BOARD_NORMAL) {
      return true;
    }
    progress.update(i);
    std::this_thread::sleep_for(step);
  }
  return false;
}

Report reset_report(std::uint32_t board, std::uint32_t mode, bool ready) {
  const std::string name = "Board " + std::to_string(board);
  Report report;
  report.field("board", "", board).field("mode", "", mode).field("ready", "", ready);
  report.note(name + (ready ? " is reset and ready again."
                            : " is being reset. See with \"ovkctl state show\" when it is ready."));
  return report;
}

void reset_board(std::uint32_t board, std::uint32_t mode, std::uint32_t wait,
                 const Context& context) {
  check_board(OVK_ResetAdapter(board, mode), board, "The reset", kResetResults);
  const bool ready = wait != 0 && wait_until_ready(board, wait);
  if (wait != 0 && !ready) {
    throw OperationFailed("Board " + std::to_string(board) + " is not ready " +
                              std::to_string(wait) + " s after its reset.",
                          "Look in the driver's log for the reason.");
  }
  context.print(reset_report(board, mode, ready));
}

}  // namespace

void add_reset(Command root) {
  const Command reset = root.subcommand("reset", "Reset a board");
  reset.example("ovkctl reset 0 --wait 60 --yes");
  const auto board_index = reset.board();
  const auto mode = reset.option<std::uint32_t>(
      "--mode", "MODE", "1 or 2; 3 where the driver has it", 1, between(1, 3));
  const auto wait = reset.option<std::uint32_t>(
      "--wait", "SECONDS", "wait until the board is ready again", 0, between(1, kLongestWait));
  const auto yes = reset.yes();
  reset.action([=](const Context& context) {
    const Session session;
    const std::uint32_t board = session.board(*board_index);
    confirm(*yes, "A reset interrupts all traffic of board " + std::to_string(board) + ".");
    reset_board(board, *mode, *wait, context);
  });
}

}  // namespace ovkctl
