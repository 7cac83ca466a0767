#include "driver_abi/records/port.h"
#include "driver_abi/wwn_request.h"
#include "library/core/board_tables.h"
#include "library/core/command.h"

#include <ovk/hbaapi.h>

#include <cstddef>
#include <cstring>

using ovk::Command;
using ovk::DriverStatus;
using ovk::Outcome;
using ovk::PortRecord;

namespace {

/** The part of the caller's OSDeviceName that is written: the driver's bytes and two more. */
constexpr std::size_t os_device_name_written = 116;

void reshape(const PortRecord& record, PortAttributes& attrs) {
  attrs.NodeWWN = record.node_wwn;
  attrs.PortWWN = record.port_wwn;
  attrs.PortFcId = record.fc_id;
  attrs.PortType = record.type;
  attrs.PortState = record.state;
  attrs.PortSupportedClassofService = record.supported_classes;
  std::memcpy(attrs.PortFc4TypesSupported, record.fc4_types_supported.data(),
              sizeof attrs.PortFc4TypesSupported);
  std::memcpy(attrs.PortFc4TypesActive, record.fc4_types_active.data(),
              sizeof attrs.PortFc4TypesActive);
  std::memcpy(attrs.PortSymbolicName, record.symbolic_name, sizeof attrs.PortSymbolicName);
  // Intended: the rest of the caller's field stays as it was.
  char name[os_device_name_written]{};
  std::memcpy(name, record.os_device_name, sizeof record.os_device_name);
  std::memcpy(attrs.OSDeviceName, name, sizeof name);
  attrs.PortSupportedSpeed = record.supported_speeds;
  attrs.PortSpeed = record.speed;
  attrs.PortMaxFrameSize = record.max_frame_size;
  attrs.FabricName = record.fabric_name;
  attrs.NumberofDiscoveredPorts = record.discovered_ports;
}

/** Hands out the port of a snapshot, unless the driver has taken another snapshot since. */
std::uint32_t deliver_from_snapshot(const PortRecord& record, PortAttributes& attrs) {
  if (record.fc_id == ovk::stale_fc_id) {
    return OVK_STALE_DATA;
  }
  reshape(record, attrs);
  return OVK_OK;
}

std::uint32_t refresh_tag(std::uint32_t board) {
  const std::uint32_t* tag = ovk::board_entry(ovk_refresh_timer, board);
  return tag != nullptr ? *tag : 0;
}

}  // namespace

std::uint32_t GetAdapterPortAttributes(std::uint32_t board, std::uint32_t /*port_index*/,
                                       PortAttributes* attrs) {
  PortRecord record{};
  Command command{board};
  const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_PORTATTRIBUTES">(&record);
  if (outcome.succeeded()) {
    reshape(record, *attrs);
  }
  return outcome.result();
}

std::uint32_t GetDiscoveredPortAttributes(std::uint32_t board, std::uint32_t /*port_index*/,
                                          std::uint32_t discovered_index, PortAttributes* attrs) {
  PortRecord record{};
  Command command{board, {.index = discovered_index, .value = refresh_tag(board)}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_DISCPORTATTRIBUTES">(&record);
  if (!outcome.succeeded()) {
    return outcome.result({{DriverStatus::not_found, OVK_ILLEGAL_INDEX}});
  }
  return deliver_from_snapshot(record, *attrs);
}

std::uint32_t GetPortAttributesByWWN(std::uint32_t board, const Wwn* port_wwn,
                                     PortAttributes* attrs) {
  PortRecord record{};
  const ovk::WwnRequest request{.port_wwn = *port_wwn};
  Command command{board};
  const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_WWPNPORTATTRIBUTES">(&record, &request);
  if (outcome.succeeded()) {
    reshape(record, *attrs);
  }
  return outcome.result({{DriverStatus::not_found, OVK_ILLEGAL_WWN}});
}

std::uint32_t GetPortAttributesByIndex(std::uint32_t board, std::uint32_t /*port_index*/,
                                       std::uint32_t index, PortAttributes* attrs) {
  PortRecord record{};
  Command command{board, {.index = index, .value = refresh_tag(board)}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_INDEXPORTATTRIBUTES">(&record);
  if (!outcome.succeeded()) {
    // Intended: this look-up has another status for an unknown index than the one above.
    return outcome.result({{DriverStatus::does_not_fit, OVK_ILLEGAL_INDEX}});
  }
  return deliver_from_snapshot(record, *attrs);
}
