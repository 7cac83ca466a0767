#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"

#include <ovk/core.h>

#include <algorithm>

namespace ovkctl {
namespace {

/** Modes of SetBrdEnv; the first only asks. */
enum class Mode : std::uint32_t { kQuery = 0, kNormal = 1, kNotReady = 2, kMode3 = 3, kMode5 = 5 };

const Choices<Mode> kModes = {{"normal", Mode::kNormal},
                              {"not-ready", Mode::kNotReady},
                              {"mode-3", Mode::kMode3},
                              {"mode-5", Mode::kMode5}};

/** The state that the driver answers; it has none only when the command failed. */
std::uint32_t change(std::uint32_t board, Mode mode, const std::string& operation) {
  const std::int32_t state = SetBrdEnv(board, static_cast<std::uint32_t>(mode));
  if (state == 0) {
    throw OperationFailed(operation + " of board " + std::to_string(board) + " failed.",
                          "A board that is being reset changes its state when it is back.");
  }
  return static_cast<std::uint32_t>(state);
}

std::string state_text(std::uint32_t state) {
  const auto word =
      std::ranges::find(kModes, static_cast<Mode>(state), &std::pair<std::string, Mode>::second);
  return word != kModes.end() ? word->first : "state " + std::to_string(state);
}

Report states_report(std::uint32_t first, std::uint32_t count) {
  Report report;
  Table& boards =
      report.table("boards", "", {{"board", "BOARD"}, {"code", "CODE"}, {"state", "STATE"}},
                   "There is no board.");
  for (std::uint32_t board = first; board < first + count; ++board) {
    const std::uint32_t state = change(board, Mode::kQuery, "Reading the state");
    boards.row({board, state, state_text(state)});
  }
  return report;
}

void add_show_state(Command noun) {
  const Command show = noun.subcommand("show", "Show the state of one board or of all");
  show.example("ovkctl state show");
  const auto board = show.optional_argument<BoardIndex>("BOARD", "library board index");
  show.action([board](const Context& context) {
    const Session session;
    context.print(board.present() ? states_report(session.board(*board), 1)
                                  : states_report(0, session.board_count()));
  });
}

void add_set_state(Command noun) {
  const Command set = noun.subcommand("set", "Put a board into another state");
  set.example("ovkctl state set 1 not-ready --yes");
  const auto board_index = set.board();
  const auto word = set.argument<std::string>("STATE", "normal, not-ready, mode-3 or mode-5");
  const auto yes = set.yes();
  set.action([board_index, word, yes](const Context& context) {
    const auto choice = std::ranges::find(kModes, *word, &std::pair<std::string, Mode>::first);
    if (choice == kModes.end()) {
      throw UsageError("\"" + *word + "\" is none of normal, not-ready, mode-3, mode-5.");
    }
    const Session session;
    const std::uint32_t board = session.board(*board_index);
    confirm(*yes, "Another state can take the port of board " + std::to_string(board) +
                      " out of its fabric.");
    change(board, choice->second, "Setting the state");
    context.print(states_report(board, 1));
  });
}

}  // namespace

void add_state(Command root) {
  const Command state = root.subcommand("state", "Show and set the states of boards");
  add_show_state(state);
  add_set_state(state);
}

}  // namespace ovkctl
