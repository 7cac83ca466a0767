#include "driver_abi/records/vmid.h"

#include "simulator/board/saved.h"
#include "simulator/commands/subsystem.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace ravnsim {

namespace {

using ovk::QfpaRecord;
using ovk::VmidAction;
using ovk::VmidMachine;
using ovk::VmidRecord;

struct VmidState {
  explicit VmidState(Adapter& adapter) : machines{adapter, "vmid"} {}

  SavedList<VmidMachine> machines;
};

/** Adds a machine with its identifier, or with the first one that is free. */
DriverStatus add(std::vector<VmidMachine>& machines, VmidMachine machine,
                 const VmidTopology& vmid) {
  const auto is_known = [&](const auto& value, auto VmidMachine::*member) {
    return std::ranges::find(machines, value, member) != machines.end();
  };
  if (is_known(machine.uuid, &VmidMachine::uuid)) {
    return DriverStatus::not_permitted;
  }
  for (const QfpaRange& range : vmid.ranges) {
    for (std::uint32_t identifier = range.low; identifier <= range.high; ++identifier) {
      const bool wanted = machine.identifier == 0 || machine.identifier == identifier;
      if (wanted && !is_known(identifier, &VmidMachine::identifier)) {
        machine.identifier = identifier;
        machine.qos_priority = range.qos_priority;
        machines.push_back(machine);
        return DriverStatus::success;
      }
    }
  }
  return machine.identifier == 0 ? DriverStatus::does_not_fit : DriverStatus::not_permitted;
}

DriverStatus apply(std::vector<VmidMachine>& machines, const VmidMachine& machine,
                   const VmidTopology& vmid) {
  if (machine.action == VmidAction::add) {
    return add(machines, machine, vmid);
  }
  if (machine.action != VmidAction::remove) {
    return DriverStatus::not_permitted;
  }
  const auto is_it = [&](const VmidMachine& known) { return known.uuid == machine.uuid; };
  return std::erase_if(machines, is_it) > 0 ? DriverStatus::success : DriverStatus::not_found;
}

DriverStatus get_qfpa(Adapter& adapter, Request& request) {
  const auto& vmid = adapter.topology().offers.vmid;
  QfpaRecord record{};
  record.count = static_cast<std::uint16_t>(vmid->ranges.size());
  std::ranges::transform(vmid->ranges, record.ranges.begin(), [](const QfpaRange& range) {
    return ovk::QfpaRange{.low = range.low,
                          .high = range.high,
                          .qos_priority = range.qos_priority,
                          .ve_id_usage = range.ve_id_usage,
                          .reserved4 = {}};
  });
  request.output<QfpaRecord>(1) = record;
  return DriverStatus::success;
}

DriverStatus get_mapping(Adapter& adapter, Request& request) {
  const auto& machines = adapter.state<VmidState>().machines.records();
  auto& table = request.output<VmidRecord>(1);
  table = {};
  table.count = static_cast<std::uint32_t>(machines.size());
  std::ranges::copy(machines, table.machines.begin());
  return DriverStatus::success;
}

/** Takes all of an update or nothing. */
DriverStatus update_mapping(Adapter& adapter, Request& request) {
  const auto& vmid = adapter.topology().offers.vmid;
  const auto& table = request.input<VmidRecord>(1);
  if (table.count > table.machines.size()) {
    return DriverStatus::not_permitted;
  }
  auto& machines = adapter.state<VmidState>().machines;
  std::vector<VmidMachine> updated = machines.records();
  for (std::size_t i = 0; i < table.count; ++i) {
    if (const DriverStatus status = apply(updated, table.machines[i], *vmid);
        status != DriverStatus::success) {
      return status;
    }
  }
  machines.change([&](std::vector<VmidMachine>& known) { known = updated; });
  return DriverStatus::success;
}

}  // namespace

void add_vmid_handlers(HandlerTable& table) {
  table.when(offers<&FeatureTopology::vmid>)
      .on<"RAVN_MGMT_VMID_GET_ID_MAPPING">(get_mapping)
      .on<"RAVN_MGMT_VMID_GET_QFPA">(get_qfpa)
      .on<"RAVN_MGMT_VMID_UPDATE_MAPPING">(update_mapping);
}

}  // namespace ravnsim
