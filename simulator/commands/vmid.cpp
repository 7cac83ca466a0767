#include "simulator/board/adapter.h"
#include "simulator/board/saved.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace ravnsim {

namespace {

struct RangeEntry {
  std::uint8_t low;
  std::uint8_t high;
  std::uint8_t qos_priority;
  std::uint8_t ve_id_usage;
  std::uint8_t reserved4[4];
};

/** The answer to RAVN_MGMT_VMID_GET_QFPA. */
struct [[gnu::packed]] QfpaRecord {
  std::uint16_t count;
  std::array<RangeEntry, 64> ranges;
};

static_assert(sizeof(QfpaRecord) == 514);

/** A virtual machine and the identifier of its frames. */
struct Machine {
  std::array<std::uint8_t, 16> uuid;
  std::array<char, 256> name;  ///< NUL-padded
  std::uint32_t identifier;    ///< 0 in an update: the driver chooses
  std::uint32_t action;        ///< of an update; 1 in the driver's answer
  std::uint32_t qos_priority;  ///< that of the identifier's range
  std::uint8_t reserved284[16];
};

/** What RAVN_MGMT_VMID_GET_ID_MAPPING gives and RAVN_MGMT_VMID_UPDATE_MAPPING takes. */
struct MachineTable {
  std::uint32_t count;
  std::uint32_t reserved4;
  std::array<Machine, 256> machines;
};

static_assert(sizeof(Machine) == 300);
static_assert(offsetof(Machine, identifier) == 272);
static_assert(sizeof(MachineTable) == 76808);

constexpr std::uint32_t action_add = 1;
constexpr std::uint32_t action_remove = 2;

struct VmidState {
  explicit VmidState(Adapter& adapter) : machines{adapter, "vmid"} {}

  SavedList<Machine> machines;
};

/** The table as an update is going to leave it. */
class Update {
 public:
  Update(std::vector<Machine> machines, const VmidTopology& vmid)
      : machines_{std::move(machines)}, vmid_{vmid} {}

  DriverStatus apply(const Machine& machine) {
    switch (machine.action) {
      case action_add:
        return add(machine);
      case action_remove:
        return remove(machine);
      default:
        return DriverStatus::not_permitted;
    }
  }

  [[nodiscard]] std::vector<Machine> take() { return std::move(machines_); }

 private:
  DriverStatus add(Machine machine) {
    if (std::ranges::find(machines_, machine.uuid, &Machine::uuid) != machines_.end()) {
      return DriverStatus::not_permitted;
    }
    for (const QfpaRange& range : vmid_.ranges) {
      for (std::uint32_t identifier = range.low; identifier <= range.high; ++identifier) {
        const bool wanted = machine.identifier == 0 || machine.identifier == identifier;
        if (wanted && is_free(identifier)) {
          machine.identifier = identifier;
          machine.qos_priority = range.qos_priority;
          machines_.push_back(machine);
          return DriverStatus::success;
        }
      }
    }
    return machine.identifier == 0 ? DriverStatus::does_not_fit : DriverStatus::not_permitted;
  }

  DriverStatus remove(const Machine& machine) {
    return std::erase_if(machines_,
                         [&](const Machine& known) { return known.uuid == machine.uuid; }) > 0
               ? DriverStatus::success
               : DriverStatus::not_found;
  }

  [[nodiscard]] bool is_free(std::uint32_t identifier) const {
    return std::ranges::find(machines_, identifier, &Machine::identifier) == machines_.end();
  }

  std::vector<Machine> machines_;
  const VmidTopology& vmid_;
};

constexpr Guard offers_vmid{
    [](Adapter& adapter, const Request&) { return adapter.topology().offers.vmid.has_value(); },
    DriverStatus::not_supported};

DriverStatus get_qfpa(Adapter& adapter, Request& request) {
  const auto& vmid = adapter.topology().offers.vmid;
  QfpaRecord record{};
  record.count = static_cast<std::uint16_t>(vmid->ranges.size());
  std::ranges::transform(vmid->ranges, record.ranges.begin(), [](const QfpaRange& range) {
    return RangeEntry{.low = range.low,
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
  auto& table = request.output<MachineTable>(1);
  table = {};
  table.count = static_cast<std::uint32_t>(machines.size());
  std::ranges::copy(machines, table.machines.begin());
  return DriverStatus::success;
}

/** Takes all of an update or nothing. */
DriverStatus update_mapping(Adapter& adapter, Request& request) {
  const auto& vmid = adapter.topology().offers.vmid;
  const auto& table = request.input<MachineTable>(1);
  if (table.count > table.machines.size()) {
    return DriverStatus::not_permitted;
  }
  auto& machines = adapter.state<VmidState>().machines;
  Update update{machines.records(), *vmid};
  for (std::size_t i = 0; i < table.count; ++i) {
    if (const DriverStatus status = update.apply(table.machines[i]);
        status != DriverStatus::success) {
      return status;
    }
  }
  machines.change([&](std::vector<Machine>& known) { known = update.take(); });
  return DriverStatus::success;
}

}  // namespace

void add_vmid_handlers(HandlerTable& table) {
  table.when(offers_vmid)
      .on<"RAVN_MGMT_VMID_GET_ID_MAPPING">(get_mapping)
      .on<"RAVN_MGMT_VMID_GET_QFPA">(get_qfpa)
      .on<"RAVN_MGMT_VMID_UPDATE_MAPPING">(update_mapping);
}

}  // namespace ravnsim
