#include "driver_abi/records/bindings.h"
#include "simulator/board/io_counters.h"
#include "simulator/board/port_counters.h"
#include "simulator/board/port_list.h"
#include "simulator/board/text_field.h"
#include "simulator/commands/subsystem.h"
#include "simulator/fabric/scsi_target.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

namespace ravnsim {

namespace {

/** A command with room for its sense data. */
struct ScsiRequest {
  Wwn target;
  FcpCommand command;
  std::uint8_t sense[128];
  std::uint32_t sense_length;
};

static_assert(sizeof(ScsiRequest) == 172);
static_assert(offsetof(ScsiRequest, sense) == 40);
static_assert(offsetof(ScsiRequest, sense_length) == 168);

/** A command with room for its FCP_RSP. The length of that stands in the middle of it. */
struct FcpRequest {
  Wwn target;
  FcpCommand command;
  std::uint8_t response[160];
};

static_assert(sizeof(FcpRequest) == 200);

constexpr std::size_t response_length_offset = 16;
constexpr std::uint8_t check_condition = 0x02;

/** Lets the target execute a command with the data of parameter 2. */
DriverStatus execute(Adapter& adapter, Request& request, const Wwn& target,
                     const FcpCommand& command, ScsiReply& reply) {
  const PortTopology* port = adapter.state<PortList>().find(target);
  if (port == nullptr) {
    return DriverStatus::not_found;
  }
  if (port->state != PortState::online || port->luns.empty()) {
    return DriverStatus::no_response;
  }
  CommandBlock& block = request.block();
  const auto buffer = request.output_bytes(2);
  const std::uint32_t data_length = get_number(command.data_length, 0, 4);
  const auto room = std::min<std::size_t>({buffer.size(), block.request_size, data_length});
  if (const auto code = request.effect("sense")) {
    reply.sense = fixed_sense({*code});
  } else {
    reply = ScsiTarget{*port, adapter.state<Media>()}.execute(command, buffer.first(room));
  }
  // What the target has beyond FCP_DL it keeps; what the caller has no room for is only counted.
  const auto transferred = std::min<std::size_t>(reply.data.size(), data_length);
  std::copy_n(reply.data.begin(), std::min(transferred, room), buffer.begin());
  block.reply_size = static_cast<std::uint32_t>(transferred) + reply.taken;
  adapter.state<PortCounters>().add_exchange(sizeof command + reply.taken,
                                             transferred + reply.sense.size());
  adapter.state<IoCounters>().add(reply.taken, transferred, reply.sense.empty());
  return DriverStatus::success;
}

DriverStatus send_scsi(Adapter& adapter, Request& request) {
  auto& record = request.output<ScsiRequest>(1);
  ScsiReply reply;
  const DriverStatus status = execute(adapter, request, record.target, record.command, reply);
  if (status == DriverStatus::success) {
    std::ranges::copy(reply.sense, record.sense);
    record.sense_length = static_cast<std::uint32_t>(reply.sense.size());
  }
  return status;
}

/** The FCP_RSP information unit (FCP). */
ByteVector fcp_response(const ScsiReply& reply, std::uint32_t data_length,
                        std::uint32_t transferred) {
  constexpr std::uint8_t sense_length_valid = 0x02;
  constexpr std::uint8_t residual_over = 0x04;
  constexpr std::uint8_t residual_under = 0x08;
  const auto available = static_cast<std::uint32_t>(reply.data.size()) + reply.taken;
  const bool is_short = transferred < data_length;
  const bool is_over = available > data_length;
  std::uint8_t flags = reply.sense.empty() ? std::uint8_t{0} : sense_length_valid;
  flags = static_cast<std::uint8_t>(flags | (is_over ? residual_over : 0) |
                                    (is_short ? residual_under : 0));
  ByteVector response(10);
  response.push_back(flags);
  response.push_back(reply.sense.empty() ? std::uint8_t{0} : check_condition);
  put_number(response, is_over ? available - data_length : data_length - transferred, 4);
  put_number(response, static_cast<std::uint32_t>(reply.sense.size()), 4);
  put_zeros(response, 4);
  put_bytes(response, reply.sense);
  return response;
}

DriverStatus send_fcp(Adapter& adapter, Request& request) {
  auto& record = request.output<FcpRequest>(1);
  std::uint32_t room = 0;
  std::memcpy(&room, record.response + response_length_offset, sizeof room);
  ScsiReply reply;
  const DriverStatus status = execute(adapter, request, record.target, record.command, reply);
  if (status != DriverStatus::success) {
    return status;
  }
  ByteVector response =
      fcp_response(reply, get_number(record.command.data_length, 0, 4), request.block().reply_size);
  response.resize(std::min<std::size_t>(response.size(), room));
  std::ranges::fill(record.response, std::uint8_t{0});
  std::ranges::copy(response, record.response);
  const auto length = static_cast<std::uint32_t>(response.size());
  std::memcpy(record.response + response_length_offset, &length, sizeof length);
  return DriverStatus::success;
}

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

void add_scsi_handlers(HandlerTable& table) {
  table.when(is_on_fabric)
      .on<"RAVN_MGMT_HBA_SEND_FCP">(send_fcp, {"sense"})
      .on<"RAVN_MGMT_HBA_SEND_SCSI">(send_scsi, {"sense"});
  table.on<"RAVN_MGMT_HBA_FCPTARGETMAPPING">(map_targets);
  table.on<"RAVN_MGMT_LIST_BIND">(list_bindings);
}

}  // namespace ravnsim
