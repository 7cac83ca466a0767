#include "driver_abi/records/bindings.h"
#include "simulator/board/port_list.h"
#include "simulator/board/text_field.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"
#include "simulator/fabric/scsi_target.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace ravnsim {

namespace {

/** A logical unit as the host knows it, and as the fabric does. */
struct MappingEntry {
  char os_device_name[256];
  std::uint32_t bus;
  std::uint32_t target;
  std::uint32_t os_lun;
  std::uint32_t fc_id;
  Wwn node_wwn;
  Wwn port_wwn;
  FcpLun lun;
};

static_assert(sizeof(MappingEntry) == 296);
static_assert(offsetof(MappingEntry, lun) == 288);

/** The answer to RAVN_MGMT_HBA_FCPTARGETMAPPING. */
struct MappingRecord {
  std::uint32_t count;
  MappingEntry entries[1024];
};

static_assert(sizeof(MappingRecord) == 303108);

/** The SCSI address of a target port: the bound one, else the next one on bus 0. */
BindingTopology address_of(const BoardTopology& board, const PortTopology& port,
                           std::uint32_t next_target) {
  for (const BindingTopology& binding : board.bindings) {
    if (binding.port_wwn == port.port_wwn) {
      return binding;
    }
  }
  return {.port_wwn = port.port_wwn, .bus = 0, .target = next_target};
}

void describe(const LunTopology& unit, const PortTopology& port, const BindingTopology& address,
              MappingEntry& entry) {
  put_text(entry.os_device_name, unit.os_device_name);
  entry.bus = address.bus;
  entry.target = address.target;
  entry.os_lun = unit.number;
  entry.fc_id = port.fc_id;
  entry.node_wwn = port.node_wwn;
  entry.port_wwn = port.port_wwn;
  entry.lun = fcp_lun(unit.number);
}

DriverStatus map_targets(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  auto& record = request.output<MappingRecord>(1);
  const std::size_t room = std::min<std::size_t>(block.request_size, std::size(record.entries));
  std::uint32_t count = 0;
  std::uint32_t next_target = 0;
  for (const PortTopology& port : adapter.state<PortList>().ports()) {
    const BindingTopology address = address_of(adapter.topology(), port, next_target);
    next_target += port.luns.empty() ? 0 : 1;
    for (const LunTopology& unit : port.luns) {
      if (count < room) {
        describe(unit, port, address, record.entries[count]);
      }
      ++count;
    }
  }
  block.reply_size = count;
  record.count = std::min(count, static_cast<std::uint32_t>(room));
  return count <= room ? DriverStatus::success : DriverStatus::does_not_fit;
}

DriverStatus list_bindings(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  auto& record = request.output<ovk::BindingRecord>(1);
  const auto& bindings = adapter.topology().bindings;
  const auto count = static_cast<std::uint32_t>(bindings.size());
  if (count > block.value) {
    block.index = count;
    return DriverStatus::does_not_fit;
  }
  record.count = count;
  for (std::uint32_t i = 0; i < count; ++i) {
    ovk::BindingEntry& entry = record.entries[i];
    entry.bus = bindings[i].bus;
    entry.target = bindings[i].target;
    entry.port_wwn = bindings[i].port_wwn;
    if (const PortTopology* port = adapter.state<PortList>().find(bindings[i].port_wwn)) {
      entry.fc_id = port->fc_id;
      entry.node_wwn = port->node_wwn;
    }
  }
  return DriverStatus::success;
}

}  // namespace

void add_target_mapping_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_HBA_FCPTARGETMAPPING">(map_targets);
  table.on<"RAVN_MGMT_LIST_BIND">(list_bindings);
}

}  // namespace ravnsim
