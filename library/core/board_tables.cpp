#include "library/core/board_tables.h"

#include <ovk/core.h>

constinit std::int32_t ovk_brdno[OVK_MAX_BOARDS] = {};
constinit std::int32_t ovk_state[OVK_MAX_BOARDS] = {};
constinit std::uint32_t ovravn_brdCnt = 0;

std::uint32_t getDrvBrdNum(std::uint32_t board) {
  const std::int32_t* number = ovk::board_entry(ovk_brdno, board);
  return static_cast<std::uint32_t>(number != nullptr ? *number : ovk::unmapped_board);
}
