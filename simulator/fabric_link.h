/**
 * @file
 * Whether a board is on the fabric.
 */
#pragma once

#include "simulator/adapter.h"
#include "simulator/board_state.h"
#include "simulator/link.h"

namespace ravnsim {

/** Whether the board works and its link is up; what needs the fabric is not ready otherwise. */
inline bool is_on_fabric(Adapter& adapter) {
  return adapter.state<BoardState>().mode() == BoardMode::normal && adapter.state<Link>().is_up();
}

}  // namespace ravnsim
