#include "simulator/board/adapter.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"
#include "simulator/commands/guards.h"

#include <cstddef>

namespace ravnsim {

namespace {

/** The answer to RAVN_MGMT_GET_RAVNOVK_INFO. */
struct DriverInfoRecord {
  std::uint32_t device;
  std::uint32_t subsystem;
  std::uint32_t reserved8[22];
  std::uint32_t sli_mode;
  std::uint32_t reserved100;
  std::uint32_t features;
  std::uint32_t driver_number;
  std::uint32_t adapter_type;
  std::uint32_t reserved116;
};

static_assert(sizeof(DriverInfoRecord) == 120);
static_assert(offsetof(DriverInfoRecord, sli_mode) == 96);
static_assert(offsetof(DriverInfoRecord, features) == 104);
static_assert(offsetof(DriverInfoRecord, adapter_type) == 112);

DriverStatus describe_driver(Adapter& adapter, Request& request) {
  // A caller that does not say how much room it has gets the record too.
  const std::uint32_t room = request.block().request_size;
  if (room != 0 && room < sizeof(DriverInfoRecord)) {
    return DriverStatus::does_not_fit;
  }
  const BoardTopology& topology = adapter.topology();
  auto& record = request.output<DriverInfoRecord>(1);
  record.device = topology.device;
  record.subsystem = topology.subsystem;
  record.sli_mode = topology.sli_mode;
  record.features = topology.features;
  record.driver_number = topology.driver_number;
  record.adapter_type = topology.adapter_type;
  return DriverStatus::success;
}

/** Tells by its status alone whether there are extended SLI_CONFIG mailboxes. */
DriverStatus confirm(Adapter& /*adapter*/, Request& /*request*/) { return DriverStatus::success; }

}  // namespace

void add_driver_info_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_GET_RAVNOVK_INFO">(describe_driver);
  table.when(takes_extended_sli_config).on<"RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP">(confirm);
}

}  // namespace ravnsim
