/**
 * @file
 * What the topology lets happen to a board while it is in use.
 */
#pragma once

#include "simulator/board/adapter.h"

#include <chrono>
#include <cstdint>
#include <vector>

namespace ravnsim {

/** Runs the incidents that are due. Time and commands count from the board's first command on. */
class Timeline {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Timeline(Adapter& adapter)
      : adapter_{adapter}, started_{Clock::now()}, pending_{adapter.topology().timeline} {}

  /** Counts a command, before it runs. */
  void advance(Clock::time_point now = Clock::now());

 private:
  [[nodiscard]] bool is_due(const Incident& incident, Clock::time_point now) const;
  void happen(const Incident& incident);
  void tell_link(const Incident& incident);

  Adapter& adapter_;
  Clock::time_point started_;
  std::uint32_t commands_ = 0;
  std::vector<Incident> pending_;
};

}  // namespace ravnsim
