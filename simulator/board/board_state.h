/**
 * @file
 * Whether a board works, and for whom.
 */
#pragma once

#include "simulator/board/saved.h"

#include <chrono>
#include <cstdint>

namespace ravnsim {

/** The states in which the driver reports a board. */
enum class BoardMode : std::uint32_t {
  normal = 1,
  not_ready = 2,  ///< held for diagnostic, being reset, or not able to work
  mode_3 = 3,
  mode_5 = 5,
};

/** A board's mode. It stays as it was set until the next change, across processes too. */
class BoardState {
 public:
  explicit BoardState(Adapter& adapter);

  [[nodiscard]] BoardMode mode() const;
  [[nodiscard]] bool is_ready() const { return mode() != BoardMode::not_ready; }

  /** Whether the board can be put into a mode at all. */
  [[nodiscard]] bool can_change() const;

  void set_mode(BoardMode mode) { mode_.set(mode); }

  /** Takes the board through a reset: for a while it is not ready, then it is in normal mode. */
  void reset();

 private:
  using Clock = std::chrono::system_clock;  // the one that goes on between processes

  [[nodiscard]] bool is_resetting() const { return Clock::now() < reset_end_.get(); }

  const BoardTopology& topology_;
  Saved<BoardMode> mode_;
  Saved<Clock::time_point> reset_end_;
};

}  // namespace ravnsim
