/**
 * @file
 * Whether a board's port sends to itself.
 */
#pragma once

#include "simulator/board/saved.h"

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
      : has_plug_{adapter.topology().loopback_plug}, mode_{adapter, "loopback"} {}

  [[nodiscard]] LoopbackMode mode() const { return mode_.get(); }

  /** Whether a frame that is sent comes back. */
  [[nodiscard]] bool echoes() const {
    return mode() == LoopbackMode::internal || (mode() == LoopbackMode::external && has_plug_);
  }

  void set_mode(LoopbackMode mode) { mode_.set(mode); }

 private:
  bool has_plug_;
  Saved<LoopbackMode> mode_;
};

}  // namespace ravnsim
