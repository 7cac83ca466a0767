/**
 * @file
 * Whether a board's port sends to itself.
 */
#pragma once

#include "simulator/board/adapter.h"

#include <cstdint>

namespace ravnsim {

/** Where a frame turns around, by the codes with which the driver is told. */
enum class LoopbackMode : std::uint32_t {
  none = 0,
  internal = 1,  ///< inside the board
  external = 4,  ///< at the plug in the port, if there is one
};

/** A port's loopback mode. A process that ends without taking it back leaves it to the next. */
class LoopbackState {
 public:
  explicit LoopbackState(Adapter& adapter)
      : adapter_{adapter},
        mode_{adapter.load_record<LoopbackMode>(saved_name).value_or(LoopbackMode::none)} {}

  [[nodiscard]] LoopbackMode mode() const { return mode_; }

  /** Whether a frame that is sent comes back. */
  [[nodiscard]] bool echoes() const {
    return mode_ == LoopbackMode::internal ||
           (mode_ == LoopbackMode::external && adapter_.topology().loopback_plug);
  }

  void set_mode(LoopbackMode mode) {
    mode_ = mode;
    adapter_.save_record(saved_name, mode);
  }

 private:
  static constexpr const char* saved_name = "loopback";

  Adapter& adapter_;
  LoopbackMode mode_;
};

}  // namespace ravnsim
