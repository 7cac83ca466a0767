/**
 * @file
 * Whether a board works, and for whom.
 */
#pragma once

#include "simulator/adapter.h"

#include <cstdint>

namespace ravnsim {

/** The states in which the driver reports a board. */
enum class BoardMode : std::uint32_t {
  normal = 1,
  not_ready = 2,  ///< held for diagnostic, or not able to work
  mode_3 = 3,
  mode_5 = 5,
};

/** A board's mode. It stays as it was set until the next change, across processes too. */
class BoardState {
 public:
  explicit BoardState(Adapter& adapter)
      : adapter_{adapter},
        mode_{adapter.load_record<BoardMode>(saved_name).value_or(BoardMode::normal)} {}

  [[nodiscard]] BoardMode mode() const {
    return adapter_.topology().ready ? mode_ : BoardMode::not_ready;
  }

  void set_mode(BoardMode mode) {
    mode_ = mode;
    adapter_.save_record(saved_name, mode);
  }

 private:
  static constexpr const char* saved_name = "mode";

  Adapter& adapter_;
  BoardMode mode_;
};

}  // namespace ravnsim
