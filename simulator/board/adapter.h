/**
 * @file
 * One simulated function of an adapter.
 */
#pragma once

#include "simulator/board/states.h"
#include "simulator/topology/topology.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ravnsim {

class StateStore;

/**
 * A board: what the topology says of it, the state of each subsystem, and what it keeps without
 * power.
 *
 * A subsystem defines its state as a class that is constructed from the adapter, and its handlers
 * get it with `adapter.state<LoopbackState>()`.
 */
class Adapter {
 public:
  Adapter(const BoardTopology& topology, const DriverTopology& driver, StateStore& store);

  [[nodiscard]] const BoardTopology& topology() const { return topology_; }
  [[nodiscard]] const DriverTopology& driver() const { return driver_; }

  /** A subsystem's state, made when it is first asked for. */
  template <typename State>
  State& state() {
    return states_.of<State>(*this);
  }

  /** What the board keeps under a name such as "region-23"; nothing when it was never saved. */
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> load(const std::string& name) const;

  /** Keeps something; a crash leaves what was there before or all of it. */
  void save(const std::string& name, std::span<const std::uint8_t> blob);

  /** Forgets something. */
  void forget(const std::string& name);

 private:
  [[nodiscard]] std::string key(const std::string& name) const;

  const BoardTopology& topology_;
  const DriverTopology& driver_;
  StateStore& store_;
  States states_;
};

}  // namespace ravnsim
