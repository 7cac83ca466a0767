#include "driver_abi/records/port.h"
#include "driver_abi/wwn_request.h"
#include "simulator/board/adapter.h"
#include "simulator/board/link.h"
#include "simulator/board/port_list.h"
#include "simulator/board/text_field.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"

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
  record.node_wwn = port.node_wwn;
  record.port_wwn = port.port_wwn;
  record.fc_id = port.fc_id;
  record.type = static_cast<std::uint32_t>(port.type);
  record.state = static_cast<std::uint32_t>(port.state);
  record.supported_classes = port.classes;
  record.fc4_types_supported = port.fc4_types_supported;
  record.fc4_types_active = port.fc4_types_active;
  put_text(record.symbolic_name, port.symbolic_name);
  put_text(record.os_device_name, port.os_device_name);
  record.supported_speeds = port.supported_speeds;
  record.speed = port.speed;
  record.max_frame_size = port.max_frame_size;
  record.fabric_name = port.fabric_name;
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

DriverStatus describe_discovered_port(Adapter& adapter, Request& request) {
  auto& record = request.output<PortRecord>(1);
  if (is_stale(adapter, request)) {
    record.fc_id = ovk::stale_fc_id;
    return DriverStatus::success;
  }
  const auto& ports = adapter.state<PortList>().ports();
  const std::uint32_t index = request.block().index;
  if (index >= ports.size()) {
    return DriverStatus::not_found;
  }
  describe(ports[index], record);
  return DriverStatus::success;
}

/** Index 0 is the board's own port, the discovered ones follow. */
DriverStatus describe_port_by_index(Adapter& adapter, Request& request) {
  auto& record = request.output<PortRecord>(1);
  if (is_stale(adapter, request)) {
    record.fc_id = ovk::stale_fc_id;
    return DriverStatus::success;
  }
  const auto& ports = adapter.state<PortList>().ports();
  const std::uint32_t index = request.block().index;
  if (index > ports.size()) {
    return DriverStatus::does_not_fit;
  }
  if (index == 0) {
    describe_own_port(adapter, record);
  } else {
    describe(ports[index - 1], record);
  }
  return DriverStatus::success;
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
