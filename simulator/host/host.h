/**
 * @file
 * The simulated host: its boards, and the driver that answers for them.
 */
#pragma once

#include "simulator/board/adapter.h"
#include "simulator/board/state_store.h"
#include "simulator/board/states.h"
#include "simulator/call/faults.h"
#include "simulator/call/handler_table.h"
#include "simulator/topology/topology.h"

#include <cstdint>
#include <map>
#include <string>

namespace ravnsim {

class Request;

class Host {
 public:
  Host(Topology topology, StateStore store, HandlerTable handlers);
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /** Tells the user which scripted faults never came to pass. */
  ~Host();

  [[nodiscard]] const Topology& topology() const { return topology_; }

  /** The boards by their driver numbers. */
  [[nodiscard]] std::map<std::uint32_t, Adapter>& adapters() { return adapters_; }

  /** The state of a subsystem that belongs to the driver module, not to one board. */
  template <typename State>
  State& state() {
    return states_.of<State>(*this);
  }

  /** Reads which calls a fault file lets fail; throws a ConfigurationError. */
  void read_faults(const std::string& path);

  /** Runs a command and sets its status; throws a Refusal when the callback cannot run. */
  void run(Request& request);

 private:
  [[nodiscard]] DriverStatus answer(const Handler* handler, Request& request);
  [[nodiscard]] Adapter& adapter(std::uint32_t driver_number);

  const Topology topology_;
  StateStore store_;
  const HandlerTable handlers_;
  FaultScript faults_;
  std::map<std::uint32_t, Adapter> adapters_;
  States states_;
};

}  // namespace ravnsim
