#include "driver_abi/fc.h"
#include "driver_abi/records/els.h"
#include "driver_abi/records/rnid.h"
#include "driver_abi/wwn_request.h"
#include "simulator/board/port_counters.h"
#include "simulator/board/port_list.h"
#include "simulator/board/saved.h"
#include "simulator/commands/subsystem.h"
#include "simulator/fabric/fabric_servers.h"
#include "simulator/fabric/remote_port.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

namespace ravnsim {

namespace {

using ovk::RnidManagementRecord;

constexpr std::uint32_t management_server = 0xFFFFFA;

/** The part of a parameter that the caller says it filled; nothing when it holds less. */
std::optional<std::span<const std::uint8_t>> payload(const Request& request, std::size_t number,
                                                     std::uint32_t size) {
  const auto bytes = request.input_bytes(number);
  return size <= bytes.size() ? std::optional{bytes.first(size)} : std::nullopt;
}

/** Gives an answer, if there is room for all of it, and in any case its size. */
DriverStatus give(Adapter& adapter, const Request& request, std::size_t number,
                  const ByteVector& answer) {
  CommandBlock& block = request.block();
  const std::uint32_t room = block.reply_size;
  const auto output = request.output_bytes(number);
  block.reply_size = static_cast<std::uint32_t>(answer.size());
  adapter.state<PortCounters>().add_exchange(block.request_size, answer.size());
  if (answer.size() > std::min<std::size_t>(room, output.size())) {
    return DriverStatus::does_not_fit;
  }
  std::ranges::copy(answer, output.begin());
  return DriverStatus::success;
}

std::uint8_t second_byte(std::uint32_t value) { return static_cast<std::uint8_t>(value >> 8); }

DriverStatus exchange_ct(Adapter& adapter, const Request& request, std::uint32_t destination,
                         std::size_t request_parameter) {
  const CommandBlock& block = request.block();
  const auto iu = payload(request, request_parameter, block.request_size);
  if (!iu) {
    return DriverStatus::does_not_fit;
  }
  if (!is_on_fabric.holds(adapter, request)) {
    return DriverStatus::not_ready;
  }
  auto answer = answer_ct(adapter, destination, *iu);
  if (!answer) {
    return DriverStatus::no_response;
  }
  if (const auto reject = request.effect("reject")) {
    answer = ct_reject(*iu, {second_byte(*reject), static_cast<std::uint8_t>(*reject)});
  }
  return give(adapter, request, request_parameter + 1, *answer);
}

DriverStatus send_ct(Adapter& adapter, Request& request) {
  return exchange_ct(adapter, request, request.block().value, 1);
}

/** A port that the board sees passes management commands on to the management server. */
DriverStatus send_management_command(Adapter& adapter, Request& request) {
  if (adapter.state<RemotePorts>().find(request.input<Wwn>(1), 0) == nullptr) {
    return DriverStatus::transport_failed;
  }
  return exchange_ct(adapter, request, management_server, 2);
}

/** Takes what looks like a CT_IU; nobody waits for it. */
DriverStatus send_management_response(Adapter& /*adapter*/, Request& request) {
  constexpr std::uint8_t newest_revision = 3;
  const std::uint8_t revision = request.input_bytes(1).front();
  return revision == 0 || revision > newest_revision ? DriverStatus::not_permitted
                                                     : DriverStatus::success;
}

DriverStatus send_els(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  const auto els = payload(request, 2, block.request_size);
  if (!els) {
    return DriverStatus::does_not_fit;
  }
  if (!is_on_fabric.holds(adapter, request)) {
    return DriverStatus::not_ready;
  }
  auto& ports = adapter.state<RemotePorts>();
  const auto& destination = request.input<ovk::ElsDestinationRecord>(1);
  const PortTopology* port = ports.find(destination.port_wwn, destination.fc_id);
  if (port == nullptr || port->state != PortState::online) {
    return DriverStatus::no_response;
  }
  if (const auto reject = request.effect("reject")) {
    return give(adapter, request, 3,
                ls_reject({second_byte(*reject), static_cast<std::uint8_t>(*reject)}));
  }
  return give(adapter, request, 3, ports.answer_els(*port, *els));
}

/** How the driver is told which port to ask. */
enum class NameKind : std::uint32_t { node = 0, port = 1 };

/**
 * The LS_ACC of an RNID (FC-LS) as the driver asks for it: general topology discovery data without
 * the common data, which would not fit and which the one who asks knows.
 */
using RnidAccept = std::array<std::uint8_t, 60>;

constexpr std::size_t rnid_header_size = 8;

const PortTopology* find_port(Adapter& adapter, const ovk::WwnRequest& request, NameKind kind) {
  const auto& ports = adapter.state<PortList>().ports();
  const auto found = std::ranges::find_if(ports, [&](const PortTopology& port) {
    return kind == NameKind::node ? port.node_wwn == request.node_wwn
                                  : port.port_wwn == request.port_wwn;
  });
  return found != ports.end() ? &*found : nullptr;
}

DriverStatus send_rnid(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  const auto kind = static_cast<NameKind>(block.code);
  if (kind != NameKind::node && kind != NameKind::port) {
    return DriverStatus::not_supported;
  }
  const PortTopology* port = find_port(adapter, request.input<ovk::WwnRequest>(1), kind);
  if (port == nullptr) {
    return DriverStatus::not_found;
  }
  if (!port->rnid.answers) {
    return DriverStatus::no_response;
  }
  if (block.request_size < sizeof(RnidAccept)) {
    return DriverStatus::does_not_fit;
  }
  const ByteVector reply = accept_rnid(ovk::rnid_general_topology, {}, topology_data(port->rnid));
  std::ranges::copy(reply, request.output<RnidAccept>(2).begin());
  adapter.state<PortCounters>().add_exchange(rnid_header_size, sizeof(RnidAccept));
  block.reply_size = request.effect("length").value_or(sizeof(RnidAccept));
  return DriverStatus::success;
}

RnidManagementRecord usual_record(const PortTopology& port) {
  return {.wwn = port.port_wwn,
          .data = {.unit_type = port.rnid.unit_type,
                   .physical_port = port.rnid.physical_port,
                   .attached_nodes = port.rnid.attached_nodes,
                   .ip_version = port.rnid.ip_version,
                   .udp_port = port.rnid.udp_port,
                   .ip_address = port.rnid.ip_address,
                   .reserved32 = 0,
                   .topology_flags = port.rnid.topology_flags}};
}

struct ManagementState {
  explicit ManagementState(Adapter& adapter)
      : record{adapter, "rnid", usual_record(adapter.topology().port)} {}

  Saved<RnidManagementRecord> record;
};

DriverStatus get_management_info(Adapter& adapter, Request& request) {
  request.output<RnidManagementRecord>(1) = adapter.state<ManagementState>().record.get();
  return DriverStatus::success;
}

DriverStatus set_management_info(Adapter& adapter, Request& request) {
  adapter.state<ManagementState>().record.set(request.input<RnidManagementRecord>(1));
  return DriverStatus::success;
}

}  // namespace

void add_fabric_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_HBA_SEND_MGMT_CMD">(send_management_command);
  table.when(is_on_fabric).on<"RAVN_MGMT_HBA_SEND_MGMT_RSP">(send_management_response);
  table.on<"RAVN_MGMT_SEND_CT">(send_ct, {"reject"});
  table.on<"RAVN_MGMT_SEND_ELS">(send_els, {"reject"});
  table.on<"RAVN_MGMT_HBA_GETMGMTINFO">(get_management_info);
  table.on<"RAVN_MGMT_HBA_RNID">(send_rnid, {"length"});
  table.on<"RAVN_MGMT_HBA_SETMGMTINFO">(set_management_info);
}

}  // namespace ravnsim
