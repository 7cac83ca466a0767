/**
 * @file
 * Whether a board is on the fabric.
 */
#pragma once

#include "simulator/board/adapter.h"
#include "simulator/board/board_state.h"
#include "simulator/board/link.h"

namespace ravnsim {

/** Whether the board works and its link is up; what needs the fabric is not ready otherwise. */
inline bool is_on_fabric(Adapter& adapter) {
  return adapter.state<BoardState>().mode() == BoardMode::normal && adapter.state<Link>().is_up();
}

}  // namespace ravnsim
