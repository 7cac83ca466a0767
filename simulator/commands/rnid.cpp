#include "driver_abi/records/rnid.h"

#include "driver_abi/fc.h"
#include "driver_abi/wwn_request.h"
#include "simulator/board/adapter.h"
#include "simulator/board/port_counters.h"
#include "simulator/board/port_list.h"
#include "simulator/board/saved.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace ravnsim {

namespace {

using ovk::RnidManagementRecord;

/** How the driver is told which port to ask. */
enum class NameKind : std::uint32_t { node = 0, port = 1 };

/** A number in wire order. */
template <typename Number>
class BigEndian {
 public:
  BigEndian& operator=(Number number) {
    for (std::size_t i = sizeof number; i-- > 0; number = static_cast<Number>(number >> 8)) {
      bytes_[i] = static_cast<std::uint8_t>(number);
    }
    return *this;
  }

 private:
  std::uint8_t bytes_[sizeof(Number)];
};

/**
 * The LS_ACC of an RNID (FC-LS) as the driver asks for it: general topology discovery data without
 * the common data, which would not fit and which the one who asks knows.
 */
struct RnidAccept {
  BigEndian<std::uint32_t> command;
  std::uint8_t format;
  std::uint8_t common_length;
  std::uint8_t reserved6;
  std::uint8_t specific_length;
  std::uint8_t vendor_unique[16];
  BigEndian<std::uint32_t> unit_type;
  BigEndian<std::uint32_t> physical_port;
  BigEndian<std::uint32_t> attached_nodes;
  std::uint8_t node_management;
  std::uint8_t ip_version;
  BigEndian<std::uint16_t> udp_port;
  std::array<std::uint8_t, 16> ip_address;
  std::uint8_t reserved56[2];
  BigEndian<std::uint16_t> topology_flags;
};

static_assert(sizeof(RnidAccept) == 60);
static_assert(offsetof(RnidAccept, vendor_unique) == 8);
static_assert(offsetof(RnidAccept, unit_type) == 24);
static_assert(offsetof(RnidAccept, ip_address) == 40);
static_assert(offsetof(RnidAccept, topology_flags) == 58);

constexpr std::uint32_t ls_acc = static_cast<std::uint32_t>(ovk::Els::ls_acc) << 24;
constexpr std::size_t rnid_header_size = offsetof(RnidAccept, vendor_unique);

RnidAccept accept(const RnidTopology& rnid) {
  RnidAccept reply{};
  reply.command = ls_acc;
  reply.format = ovk::rnid_general_topology;
  reply.specific_length = sizeof reply - rnid_header_size;
  reply.unit_type = rnid.unit_type;
  reply.physical_port = rnid.physical_port;
  reply.attached_nodes = rnid.attached_nodes;
  reply.ip_version = static_cast<std::uint8_t>(rnid.ip_version);
  reply.udp_port = rnid.udp_port;
  reply.ip_address = rnid.ip_address;
  reply.topology_flags = rnid.topology_flags;
  return reply;
}

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
  request.output<RnidAccept>(2) = accept(port->rnid);
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

void add_rnid_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_HBA_GETMGMTINFO">(get_management_info);
  table.on<"RAVN_MGMT_HBA_RNID">(send_rnid, {"length"});
  table.on<"RAVN_MGMT_HBA_SETMGMTINFO">(set_management_info);
}

}  // namespace ravnsim
