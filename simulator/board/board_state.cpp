#include "simulator/board/board_state.h"

namespace ravnsim {

BoardState::BoardState(Adapter& adapter)
    : topology_{adapter.topology()},
      mode_{adapter, "mode", BoardMode::normal},
      reset_end_{adapter, "reset-end", Clock::time_point::min()} {}

BoardMode BoardState::mode() const { return can_change() ? mode_.get() : BoardMode::not_ready; }

bool BoardState::can_change() const { return topology_.ready && !is_resetting(); }

void BoardState::reset() {
  set_mode(BoardMode::normal);
  reset_end_.set(Clock::now() + topology_.reset_time);
}

}  // namespace ravnsim
