#include "simulator/board/adapter.h"
#include "simulator/board/port_counters.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"

namespace ravnsim {

namespace {

static_assert(sizeof(CounterValues) == 120);

DriverStatus read_statistics(Adapter& adapter, Request& request) {
  const auto& counters = adapter.state<PortCounters>();
  request.output<CounterValues>(1) =
      request.effect("driver_reloaded") ? counters.read_at_load() : counters.read();
  return DriverStatus::success;
}

}  // namespace

void add_statistics_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_HBA_PORTSTATISTICS">(read_statistics, {"driver_reloaded"});
}

}  // namespace ravnsim
