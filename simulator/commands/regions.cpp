#include "simulator/board/regions.h"

#include "simulator/board/board_state.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"
#include "simulator/commands/guards.h"

#include <algorithm>
#include <functional>
#include <vector>

namespace ravnsim {

namespace {

/** The status with which a fault file has the firmware answer, or what it answers by itself. */
std::uint32_t mailbox_status(const Request& request, const std::function<RegionStatus()>& access) {
  if (const auto scripted = request.effect("mailbox_status")) {
    return *scripted;
  }
  return static_cast<std::uint32_t>(access());
}

DriverStatus dump_region(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  const auto room = request.output_bytes(2);
  if (block.request_size > room.size()) {
    return DriverStatus::does_not_fit;
  }
  std::vector<std::uint8_t> contents;
  auto& status = request.output<std::uint32_t>(3);
  status = mailbox_status(request, [&] {
    return adapter.state<Regions>().read(request.input<ovk::RegionReadRequest>(1).region, contents);
  });
  if (status != 0) {
    return DriverStatus::success;
  }
  std::size_t count = std::min<std::size_t>(contents.size(), block.request_size);
  if (const auto shorter = request.effect("short")) {
    count = std::min<std::size_t>(count, *shorter);
  }
  std::copy_n(contents.begin(), count, room.begin());
  block.reply_size = static_cast<std::uint32_t>(count);
  return DriverStatus::success;
}

DriverStatus update_region(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  const auto data = request.input_bytes(1);
  if (block.request_size > data.size()) {
    return DriverStatus::does_not_fit;
  }
  request.output<std::uint32_t>(2) = mailbox_status(request, [&] {
    return adapter.state<Regions>().write(block.value, data.first(block.request_size));
  });
  return DriverStatus::success;
}

}  // namespace

void add_regions_handlers(HandlerTable& table) {
  table.when(is_sli4)
      .when(is_ready)
      .on<"RAVN_MGMT_HBA_ISSUE_DMP_MBX">(dump_region, {"mailbox_status", "short"})
      .on<"RAVN_MGMT_HBA_ISSUE_UPD_MBX">(update_region, {"mailbox_status"});
}

}  // namespace ravnsim
