#include "driver_abi/wwn_request.h"
#include "library/core/board_tables.h"
#include "library/hbaapi/attributes.h"

#include <ovk/hbaapi.h>

#include <cstddef>
#include <cstring>

using ovk::Command;
using ovk::DriverStatus;
using ovk::Outcome;
using ovk::PortRecord;

namespace {

// Up to the OS device name the two records are alike.
constexpr std::size_t alike = offsetof(PortRecord, os_device_name);
static_assert(offsetof(PortAttributes, NodeWWN) == offsetof(PortRecord, node_wwn));
static_assert(offsetof(PortAttributes, PortWWN) == offsetof(PortRecord, port_wwn));
static_assert(offsetof(PortAttributes, PortFcId) == offsetof(PortRecord, fc_id));
static_assert(offsetof(PortAttributes, PortType) == offsetof(PortRecord, type));
static_assert(offsetof(PortAttributes, PortState) == offsetof(PortRecord, state));
static_assert(offsetof(PortAttributes, PortSupportedClassofService) ==
              offsetof(PortRecord, supported_classes));
static_assert(offsetof(PortAttributes, PortFc4TypesSupported) ==
              offsetof(PortRecord, fc4_types_supported));
static_assert(offsetof(PortAttributes, PortFc4TypesActive) ==
              offsetof(PortRecord, fc4_types_active));
static_assert(offsetof(PortAttributes, PortSymbolicName) == offsetof(PortRecord, symbolic_name));
static_assert(offsetof(PortAttributes, OSDeviceName) == offsetof(PortRecord, os_device_name));

void reshape(const PortRecord& record, PortAttributes& attrs) {
  constexpr std::size_t name_length = sizeof record.os_device_name;
  std::memcpy(&attrs, &record, alike + name_length);
  // Intended: two bytes behind the name become 0, the rest of the caller's field stays as it was.
  attrs.OSDeviceName[name_length] = attrs.OSDeviceName[name_length + 1] = 0;
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

namespace ovk {

Outcome read_own_port(std::uint32_t board, PortRecord& port) {
  Command command{board, {}, here("GetAdapterPortAttributes")};
  return command.invoke<"RAVN_MGMT_HBA_PORTATTRIBUTES">(&port);
}

}  // namespace ovk

std::uint32_t GetAdapterPortAttributes(std::uint32_t board, std::uint32_t /*port_index*/,
                                       PortAttributes* attrs) {
  PortRecord record{};
  const Outcome outcome = ovk::read_own_port(board, record);
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
