#include "driver_abi/records/port.h"
#include "driver_abi/wwn_request.h"
#include "simulator/board/port_list.h"
#include "simulator/board/text_field.h"
#include "simulator/commands/port_record.h"
#include "simulator/commands/subsystem.h"

#include <cstddef>

namespace ravnsim {

namespace {

using ovk::PortRecord;

/** The answer to RAVN_MGMT_HBA_ADAPTERATTRIBUTES. */
struct AdapterRecord {
  char manufacturer[64];
  char serial_number[64];
  char model[256];
  char model_description[256];
  Wwn node_wwn;
  char node_symbolic_name[256];
  char hardware_version[256];
  char driver_version[256];
  char option_rom_version[256];
  char firmware_version[256];
  std::uint32_t vendor_specific_id;
  std::uint32_t number_of_ports;
  char driver_name[256];
};

static_assert(sizeof(AdapterRecord) == 2192);
static_assert(offsetof(AdapterRecord, node_wwn) == 640);
static_assert(offsetof(AdapterRecord, driver_version) == 1160);
static_assert(offsetof(AdapterRecord, vendor_specific_id) == 1928);
static_assert(offsetof(AdapterRecord, driver_name) == 1936);

void describe(const PortTopology& port, PortRecord& record) {
  describe_port(port, record);
  record.supported_classes = port.classes;
  record.fc4_types_supported = port.fc4_types_supported;
  put_text(record.os_device_name, port.os_device_name);
}

void describe_own_port(Adapter& adapter, PortRecord& record) {
  const PortTopology& port = adapter.topology().port;
  describe(port, record);
  if (port.state == PortState::online && !adapter.state<Link>().is_up()) {
    record.state = static_cast<std::uint32_t>(PortState::link_down);
    record.speed = 0;
  }
  record.discovered_ports = static_cast<std::uint32_t>(adapter.state<PortList>().ports().size());
}

DriverStatus refresh(Adapter& adapter, Request& request) {
  request.block().value = adapter.state<PortList>().tag();
  return DriverStatus::success;
}

DriverStatus describe_adapter(Adapter& adapter, Request& request) {
  const BoardTopology& topology = adapter.topology();
  auto& record = request.output<AdapterRecord>(1);
  put_text(record.manufacturer, topology.manufacturer);
  put_text(record.serial_number, topology.serial_number);
  put_text(record.model, topology.model);
  put_text(record.model_description, topology.model_description);
  record.node_wwn = topology.port.node_wwn;
  put_text(record.node_symbolic_name, topology.port.symbolic_name);
  put_text(record.hardware_version, topology.hardware_version);
  put_text(record.driver_version, adapter.driver().version);
  put_text(record.option_rom_version, topology.option_rom_version);
  put_text(record.firmware_version, topology.firmware_version);
  record.vendor_specific_id = topology.vendor_specific_id;
  record.number_of_ports = 1;
  put_text(record.driver_name, adapter.driver().name);
  return DriverStatus::success;
}

DriverStatus describe_port(Adapter& adapter, Request& request) {
  describe_own_port(adapter, request.output<PortRecord>(1));
  return DriverStatus::success;
}

bool is_stale(Adapter& adapter, const Request& request) {
  return request.effect("stale") || request.block().value != adapter.state<PortList>().tag();
}

/** Describes a discovered port by its place in the list that the caller knows. */
DriverStatus describe_listed_port(Adapter& adapter, const Request& request, std::uint32_t place,
                                  DriverStatus beyond_the_list) {
  auto& record = request.output<PortRecord>(1);
  const auto& ports = adapter.state<PortList>().ports();
  if (is_stale(adapter, request)) {
    record.fc_id = ovk::stale_fc_id;
    return DriverStatus::success;
  }
  if (place >= ports.size()) {
    return beyond_the_list;
  }
  describe(ports[place], record);
  return DriverStatus::success;
}

DriverStatus describe_discovered_port(Adapter& adapter, Request& request) {
  return describe_listed_port(adapter, request, request.block().index, DriverStatus::not_found);
}

/** Index 0 is the board's own port, the discovered ones follow. */
DriverStatus describe_port_by_index(Adapter& adapter, Request& request) {
  const std::uint32_t index = request.block().index;
  if (index == 0 && !is_stale(adapter, request)) {
    return describe_port(adapter, request);
  }
  return describe_listed_port(adapter, request, index - 1, DriverStatus::does_not_fit);
}

DriverStatus describe_port_by_wwn(Adapter& adapter, Request& request) {
  auto& record = request.output<PortRecord>(1);
  const Wwn& wanted = request.input<ovk::WwnRequest>(2).port_wwn;
  if (wanted == adapter.topology().port.port_wwn) {
    describe_own_port(adapter, record);
    return DriverStatus::success;
  }
  const PortTopology* port = adapter.state<PortList>().find(wanted);
  if (port == nullptr) {
    return DriverStatus::not_found;
  }
  describe(*port, record);
  return DriverStatus::success;
}

}  // namespace

void add_attributes_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_HBA_ADAPTERATTRIBUTES">(describe_adapter);
  table.on<"RAVN_MGMT_HBA_DISCPORTATTRIBUTES">(describe_discovered_port, {"stale"});
  table.on<"RAVN_MGMT_HBA_INDEXPORTATTRIBUTES">(describe_port_by_index, {"stale"});
  table.on<"RAVN_MGMT_HBA_PORTATTRIBUTES">(describe_port);
  table.on<"RAVN_MGMT_HBA_REFRESHINFO">(refresh);
  table.on<"RAVN_MGMT_HBA_WWPNPORTATTRIBUTES">(describe_port_by_wwn);
}

}  // namespace ravnsim
