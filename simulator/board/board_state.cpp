#include "simulator/board/board_state.h"

namespace ravnsim {

namespace {

constexpr const char* saved_mode = "mode";
constexpr const char* saved_reset_end = "reset-end";

}  // namespace

BoardState::BoardState(Adapter& adapter)
    : adapter_{adapter},
      mode_{adapter.load_record<BoardMode>(saved_mode).value_or(BoardMode::normal)},
      reset_end_{adapter.load_record<Clock::time_point>(saved_reset_end)
                     .value_or(Clock::time_point::min())} {}

BoardMode BoardState::mode() const { return can_change() ? mode_ : BoardMode::not_ready; }

bool BoardState::can_change() const { return adapter_.topology().ready && !is_resetting(); }

void BoardState::set_mode(BoardMode mode) {
  mode_ = mode;
  adapter_.save_record(saved_mode, mode);
}

void BoardState::reset() {
  set_mode(BoardMode::normal);
  reset_end_ = Clock::now() + adapter_.topology().reset_time;
  adapter_.save_record(saved_reset_end, reset_end_);
}

}  // namespace ravnsim
