#include "simulator/board/adapter.h"
#include "simulator/board/event_queue.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"

#include <algorithm>
#include <array>

namespace ravnsim {

namespace {

/** The answer to RAVN_MGMT_HBA_GETEVENT. */
using EventRecords = std::array<EventRecord, 32>;

static_assert(sizeof(EventRecords) == 640);

DriverStatus give_events(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  auto& queue = adapter.state<EventQueue>();
  auto& records = request.output<EventRecords>(1);
  const auto events = queue.take(std::min<std::size_t>(block.request_size, records.size()));
  std::ranges::copy(events, records.begin());
  block.reply_size = static_cast<std::uint32_t>(events.size());
  block.reply_size = request.effect("count").value_or(block.reply_size);
  block.value = queue.take_missed();
  return DriverStatus::success;
}

}  // namespace

void add_events_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_HBA_GETEVENT">(give_events, {"count"});
}

}  // namespace ravnsim
