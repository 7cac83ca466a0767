#include "driver_abi/records/virtual_ports.h"
#include "driver_abi/wwn_request.h"
#include "simulator/board/port_list.h"
#include "simulator/board/text_field.h"
#include "simulator/commands/port_record.h"
#include "simulator/commands/subsystem.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace ravnsim {

namespace {

using ovk::VportListEntry;
using ovk::VportListRecord;
using ovk::VportNodeList;
using ovk::VportNodeRecord;
using ovk::VportRecord;
using ovk::VportResourceRecord;

/** What tells that a failure of RAVN_MGMT_VPORT_GET_ATTRIB is not that of an unknown name. */
constexpr std::uint32_t other_failure = 1;

/** The virtual ports that the board has now: they need its link. */
std::vector<PortTopology> virtual_ports(Adapter& adapter) {
  const auto& npiv = adapter.topology().npiv;
  return npiv && adapter.state<Link>().is_up() ? npiv->ports : std::vector<PortTopology>{};
}

DriverStatus tell_readiness(Adapter& adapter, Request& request) {
  const auto& npiv = adapter.topology().npiv;
  request.block().value = npiv && npiv->ready && is_on_fabric.holds(adapter, request) ? 1 : 0;
  return DriverStatus::success;
}

constexpr Guard has_npiv{
    [](Adapter& adapter, const Request&) { return adapter.topology().npiv.has_value(); },
    DriverStatus::not_supported};

DriverStatus tell_resources(Adapter& adapter, Request& request) {
  const auto& npiv = adapter.topology().npiv;
  const std::size_t ports = virtual_ports(adapter).size();
  const std::size_t logins = (1 + ports) * adapter.state<PortList>().ports().size();
  request.output<VportResourceRecord>(1) = {.port_limit = npiv->port_limit,
                                            .ports = static_cast<std::uint32_t>(ports),
                                            .login_limit = npiv->login_limit,
                                            .logins = static_cast<std::uint32_t>(logins)};
  return DriverStatus::success;
}

DriverStatus list_virtual_ports(Adapter& adapter, Request& request) {
  auto& list = request.output<VportListRecord>(1);
  const auto ports = virtual_ports(adapter);
  list.count = static_cast<std::uint32_t>(ports.size());
  if (list.count > request.block().request_size) {
    return DriverStatus::list_does_not_fit;
  }
  std::ranges::transform(ports, list.entries, [](const PortTopology& port) {
    return VportListEntry{port.port_wwn, port.node_wwn, port.fc_id};
  });
  list.count = request.effect("count").value_or(list.count);
  return DriverStatus::success;
}

DriverStatus describe_virtual_port(Adapter& adapter, Request& request) {
  if (!adapter.topology().npiv) {
    request.block().reply_size = other_failure;
    return DriverStatus::not_supported;
  }
  const auto ports = virtual_ports(adapter);
  const auto found =
      std::ranges::find(ports, request.input<ovk::WwnRequest>(1).port_wwn, &PortTopology::port_wwn);
  if (found == ports.end()) {
    return DriverStatus::not_found;
  }
  auto& record = request.output<VportRecord>(2);
  describe_port(*found, record);
  record.classes = found->classes;
  return DriverStatus::success;
}

VportNodeRecord node_record(const PortTopology& port, std::uint32_t tag) {
  VportNodeRecord record{.classes = port.classes, .list_tag = tag};
  describe_port(port, record);
  return record;
}

/** Every port of the board is logged in with all ports that the board discovered. */
DriverStatus list_nodes(Adapter& adapter, Request& request) {
  const Wwn& local = request.input<ovk::WwnRequest>(1).port_wwn;
  const auto ports = virtual_ports(adapter);
  if (local != adapter.topology().port.port_wwn &&
      std::ranges::find(ports, local, &PortTopology::port_wwn) == ports.end()) {
    return DriverStatus::not_found;
  }
  auto& list = request.output<VportNodeList>(2);
  const auto& discovered = adapter.state<PortList>();
  const auto& nodes = discovered.ports();
  list.count = static_cast<std::uint32_t>(nodes.size());
  if (list.count > request.block().request_size || list.count > std::size(list.nodes)) {
    return DriverStatus::list_does_not_fit;
  }
  std::ranges::transform(nodes, list.nodes, [&](const PortTopology& port) {
    return node_record(port, discovered.tag());
  });
  list.count = request.effect("count").value_or(list.count);
  return DriverStatus::success;
}

}  // namespace

void add_npiv_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_NPIV_READY">(tell_readiness);
  table.on<"RAVN_MGMT_VPORT_GET_ATTRIB">(describe_virtual_port);
  table.when(has_npiv).on<"RAVN_MGMT_VPORT_GET_LIST">(list_virtual_ports, {"count"});
  table.on<"RAVN_MGMT_VPORT_GET_NODE_INFO">(list_nodes, {"count"});
  table.when(has_npiv).on<"RAVN_MGMT_VPORT_GET_RESRC">(tell_resources);
}

}  // namespace ravnsim
