#include "library/core/board_tables.h"
#include "library/core/command.h"

#include <ovk/core.h>

#include <optional>
#include <unistd.h>

using ovk::Command;

namespace {

constexpr std::int32_t failed = 0;

/** The sub-commands of RAVN_MGMT_SETDIAG. */
enum SubCommand : std::uint32_t {
  query_or_mode_0 = 16,
  enter_mode_1 = 17,
  enter_mode_2 = 18,
  enter_mode_3 = 19,
  enter_mode_5 = 20,
};

std::optional<SubCommand> sub_command_of(std::uint32_t mode) {
  switch (mode) {
    case 0:
      return query_or_mode_0;
    case 1:
      return enter_mode_1;
    case 2:
      return enter_mode_2;
    case 3:
      return enter_mode_3;
    case 5:
      return enter_mode_5;
    default:
      return std::nullopt;
  }
}

/** Sends one sub-command; the board's state as the driver answers it, or nothing on failure. */
std::optional<std::int32_t> send(std::uint32_t board, SubCommand sub_command, ovk::LogPlace place) {
  Command command{board, {.selector = sub_command}, place};
  if (!command.invoke<"RAVN_MGMT_SETDIAG">().succeeded()) {
    return std::nullopt;
  }
  return static_cast<std::int32_t>(command.block.value);
}

std::int32_t state_of(std::uint32_t board) {
  const std::int32_t* state = ovk::board_entry(ovk_state, board);
  return state != nullptr ? *state : 0;
}

/**
 * Waits while a board that the library does not hold for diagnostic is reported so. There is no
 * limit: it lasts as long as the driver says so.
 */
std::optional<std::int32_t> wait_for_board(std::uint32_t board, ovk::LogPlace place) {
  while (true) {
    const auto state = send(board, query_or_mode_0, place);
    if (!state || *state != OVK_BOARD_NOT_READY || state_of(board) == OVK_BOARD_NOT_READY) {
      return state;
    }
    sleep(1);
  }
}

}  // namespace

std::int32_t SetBrdEnv(std::uint32_t board, std::uint32_t mode) {
  const auto sub_command = sub_command_of(mode);
  if (!sub_command) {
    return failed;
  }
  if (*sub_command == enter_mode_2) {
    const auto reported = wait_for_board(board, ovk::here());
    if (!reported) {
      return failed;
    }
    if (*reported == OVK_BOARD_NOT_READY) {
      return OVK_BOARD_NOT_READY;
    }
  }

  const auto state = send(board, *sub_command, ovk::here());
  if (!state) {
    return failed;
  }
  if (std::int32_t* entry = ovk::board_entry(ovk_state, board)) {
    *entry = *state;
  }
  return *state;
}

std::int32_t SetDiagEnv(std::uint32_t mode) {
  std::int32_t state = failed;
  for (std::uint32_t board = 0; board < ovravn_brdCnt; ++board) {
    state = SetBrdEnv(board, mode);
    if (state == failed) {
      break;
    }
  }
  return state;
}
