/**
 * @file
 * Whether a board is on the fabric.
 */
#pragma once

#include "simulator/adapter.h"
#include "simulator/board_state.h"

namespace ravnsim {

/** Whether the board works and its port is online; what needs the fabric is not ready otherwise. */
inline bool is_on_fabric(Adapter& adapter) {
  return adapter.state<BoardState>().mode() == BoardMode::normal &&
         adapter.topology().port.state == PortState::online;
}

}  // namespace ravnsim
