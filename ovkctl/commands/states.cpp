#include "ovkctl/frame/command.h"

#include <ovk/core.h>
#include <ovk/mailbox.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

namespace ovkctl {
namespace {

// ---- Dumps ----------------------------------------------------------------------------------

constexpr const char* see_whether_ready =
    "See with \"ovkctl state show\" whether the board is ready.";

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
  return board.report()
      .field("selector", "Selector", selector)
      .field("length", "Length", Size{length})
      .dump("descriptor", "Descriptor", descriptor)
      .payload("", "", descriptor);
}

// ---- States ---------------------------------------------------------------------------------

constexpr auto states = words<std::uint32_t>({{OVK_BOARD_NORMAL, "normal"},
                                              {OVK_BOARD_NOT_READY, "not-ready"},
                                              {3, "mode-3"},
                                              {5, "mode-5"}});

constexpr OptionalWord<std::uint32_t> any_board_word{"BOARD", "library board index"};
constexpr Word<std::uint32_t> state_word{"STATE", "normal, not-ready, mode-3 or mode-5",
                                         "not-ready", states};

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

/** The mode of SetBrdEnv that only asks. */
constexpr std::uint32_t query_state = 0;

/** The state that the driver answers; it has none only when the command failed. */
StateRow change_state(const Board& board, std::uint32_t mode, const char* operation) {
  const std::int32_t state = SetBrdEnv(board, mode);
  if (state == 0) {
    throw OperationFailed(fmt::format("{} of {} failed.", operation, board.name()),
                          "A board that is being reset changes its state when it is back.");
  }
  return {board, static_cast<std::uint32_t>(state)};
}

StateRow read_state(const Board& board) {
  return change_state(board, query_state, "Reading the state");
}

Report show_states(const Host& host, std::optional<std::uint32_t> one) {
  std::vector<StateRow> rows;
  for (const Board& board : one ? std::vector{host.board(*one)} : host.boards()) {
    rows.push_back(read_state(board));
  }
  return Report{}.table("boards", "", state_columns, rows, "There is no board.");
}

Report set_state(const Board& board, std::uint32_t state) {
  change_state(board, state, "Setting the state");
  return Report{}.table("boards", "", state_columns, std::array{read_state(board)}, "");
}

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
  constexpr std::uint32_t step = 100;
  const std::uint32_t whole = seconds * 1000;
  Progress progress = board.progress("Waiting", whole);
  for (std::uint32_t milliseconds = 0; milliseconds <= whole; milliseconds += step) {
    if (SetBrdEnv(board, query_state) == OVK_BOARD_NORMAL) {
      return true;
    }
    progress.update(milliseconds);
    std::this_thread::sleep_for(std::chrono::milliseconds{step});
  }
  return false;
}

Report reset(const Board& board, std::uint32_t mode, std::optional<std::uint32_t> wait) {
  board.check(OVK_ResetAdapter(board, mode), "The reset", reset_results);
  if (wait && !wait_until_ready(board, *wait)) {
    throw OperationFailed(
        fmt::format("Board {} is not ready {} s after its reset.", std::uint32_t{board}, *wait),
        "Look in the driver's log for the reason.");
  }
  return board.listing()
      .field("mode", "", mode)
      .field("ready", "", wait.has_value())
      .note(fmt::format("Board {} {}", std::uint32_t{board},
                        wait ? "is reset and ready again."
                             : "is being reset. See with \"ovkctl state show\" when it is ready."));
}

}  // namespace

void add_states(Command root) {
  const Command dump = root.noun("dump", "Take and find the dumps of boards");
  dump.command("induce", "Have a board's firmware write a dump and start anew")
      .asks("A dump interrupts all traffic of {board}.")
      .shows(induce_dump);
  dump.command("region", "Show where the host keeps the dump of an SLI-3 board")
      .on_board("1")
      .takes(selector_setting)
      .saves()
      .shows(show_dump_region);

  const Command state = root.noun("state", "Show and set the states of boards");
  state.command("show", "Show the state of one board or of all")
      .takes(any_board_word)
      .shows(show_states);
  state.command("set", "Put a board into another state")
      .takes(state_word)
      .asks("Another state can take the port of {board} out of its fabric.")
      .shows(set_state);

  root.command("reset", "Reset a board")
      .takes(reset_mode_setting, wait_option)
      .asks("A reset interrupts all traffic of {board}.")
      .shows(reset);
}

}  // namespace ovkctl
