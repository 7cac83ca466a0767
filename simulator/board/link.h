/**
 * @file
 * The link of a board's port.
 */
#pragma once

#include "simulator/board/adapter.h"

#include <cstdint>

namespace ravnsim {

/**
 * Whether the link is up, as the topology says at first. Its changes show everywhere: in the port's
 * state, as events, in the counters, and in the ports that the board sees.
 */
class Link {
 public:
  explicit Link(Adapter& adapter)
      : adapter_{adapter}, up_{adapter.topology().port.state == PortState::online} {}

  [[nodiscard]] bool is_up() const { return up_; }

  /** The link goes down, and all discovered ports go. */
  void go_down();

  /** The link comes up, and the ports that went with it come back. */
  void come_up();

  /** A link that is up goes down and comes up again. */
  void bounce();

  /** The port is initialised anew (LIP): the link stays, and so do the ports. */
  void initialise();

  /** The fabric reports that something changed at an FC id, which only reaches a port with link. */
  void hear_of_change(std::uint32_t fc_id);

 private:
  Adapter& adapter_;
  bool up_;
};

}  // namespace ravnsim
