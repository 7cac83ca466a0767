#include "simulator/host/host.h"

#include "simulator/board/timeline.h"
#include "simulator/call/channel_error.h"
#include "simulator/call/request.h"
#include "simulator/topology/json_reader.h"

#include <string>
#include <utility>

namespace ravnsim {

Host::Host(Topology topology, StateStore store, HandlerTable handlers)
    : topology_{std::move(topology)}, store_{std::move(store)}, handlers_{std::move(handlers)} {
  for (const BoardTopology& board : topology_.boards) {
    adapters_.try_emplace(board.driver_number, board, topology_.driver, store_);
  }
}

Host::~Host() { faults_.report_missed(); }

void Host::read_faults(const std::string& path) {
  faults_ = FaultScript{JsonDocument::from_file(path), topology_, handlers_};
}

void Host::run(Request& request) {
  CommandBlock& block = request.block();
  const Handler* handler = handlers_.find(request.command());
  const bool of_module = handlers_.is_of_module(request.command());
  if (!of_module) {
    // A board that is not there meets no fault.
    adapter(block.driver_board).state<Timeline>().advance();
  }

  Fault* fault = faults_.meet(request.command(), block.driver_board);
  if (fault == nullptr) {
    block.status = answer(handler, request);
  } else if (const auto* status = std::get_if<DriverStatus>(&fault->kind())) {
    fault->count_hit();
    block.status = *status;
  } else if (const auto* delivery = std::get_if<DeliveryFault>(&fault->kind())) {
    fault->count_hit();
    throw Refusal{delivery->error};
  } else {
    request.set_effect(*fault);
    block.status = answer(handler, request);
  }
}

DriverStatus Host::answer(const Handler* handler, Request& request) {
  if (handler == nullptr) {
    return DriverStatus::not_supported;
  }
  if (const auto* module_handler = std::get_if<ModuleHandler>(&handler->function)) {
    return (*module_handler)(*this, request);
  }
  Adapter& board = adapter(request.block().driver_board);
  for (const Guard& guard : handler->guards) {
    if (!guard.holds(board, request)) {
      return guard.otherwise;
    }
  }
  return std::get<BoardHandler>(handler->function)(board, request);
}

Adapter& Host::adapter(std::uint32_t driver_number) {
  const auto found = adapters_.find(driver_number);
  if (found == adapters_.end()) {
    throw Refusal{ChannelError::no_such_board};
  }
  return found->second;
}

}  // namespace ravnsim
