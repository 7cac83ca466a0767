#include "driver_abi/wwn_request.h"
#include "library/core/board_tables.h"
#include "library/core/command.h"

#include <ovk/hbaapi.h>

#include <cstddef>
#include <cstring>

using ovk::Command;
using ovk::DriverStatus;
using ovk::Outcome;

namespace {

/** The FC address by which the driver says that the refresh tag is not its snapshot's any more. */
constexpr std::uint32_t stale_fc_id = 0xFFFFFFFF;

/** A port as the driver describes it. */
struct [[gnu::packed]] PortRecord {
  Wwn node_wwn;
  Wwn port_wwn;
  std::uint32_t fc_id;
  std::uint32_t type;
  std::uint32_t state;
  std::uint32_t supported_classes;
  std::uint8_t fc4_types_supported[32];
  std::uint8_t fc4_types_active[32];
  char symbolic_name[256];
  char os_device_name[114];
  std::uint32_t supported_speed;
  std::uint32_t speed;
  std::uint32_t max_frame_size;
  Wwn fabric_name;
  std::uint32_t discovered_ports;
};

static_assert(sizeof(PortRecord) == 490);
static_assert(offsetof(PortRecord, port_wwn) == 8);
static_assert(offsetof(PortRecord, fc_id) == 16);
static_assert(offsetof(PortRecord, type) == 20);
static_assert(offsetof(PortRecord, state) == 24);
static_assert(offsetof(PortRecord, supported_classes) == 28);
static_assert(offsetof(PortRecord, fc4_types_supported) == 32);
static_assert(offsetof(PortRecord, fc4_types_active) == 64);
static_assert(offsetof(PortRecord, symbolic_name) == 96);
static_assert(offsetof(PortRecord, os_device_name) == 352);
static_assert(offsetof(PortRecord, supported_speed) == 466);
static_assert(offsetof(PortRecord, speed) == 470);
static_assert(offsetof(PortRecord, max_frame_size) == 474);
static_assert(offsetof(PortRecord, fabric_name) == 478);
static_assert(offsetof(PortRecord, discovered_ports) == 486);

/** The part of the caller's OSDeviceName that is written: the driver's bytes and two more. */
constexpr std::size_t os_device_name_written = 116;

void reshape(const PortRecord& record, PortAttributes& attrs) {
  attrs.NodeWWN = record.node_wwn;
  attrs.PortWWN = record.port_wwn;
  attrs.PortFcId = record.fc_id;
  attrs.PortType = record.type;
  attrs.PortState = record.state;
  attrs.PortSupportedClassofService = record.supported_classes;
  std::memcpy(attrs.PortFc4TypesSupported, record.fc4_types_supported,
              sizeof attrs.PortFc4TypesSupported);
  std::memcpy(attrs.PortFc4TypesActive, record.fc4_types_active, sizeof attrs.PortFc4TypesActive);
  std::memcpy(attrs.PortSymbolicName, record.symbolic_name, sizeof attrs.PortSymbolicName);
  // Intended: the rest of the caller's field stays as it was.
  char name[os_device_name_written]{};
  std::memcpy(name, record.os_device_name, sizeof record.os_device_name);
  std::memcpy(attrs.OSDeviceName, name, sizeof name);
  attrs.PortSupportedSpeed = record.supported_speed;
  attrs.PortSpeed = record.speed;
  attrs.PortMaxFrameSize = record.max_frame_size;
  attrs.FabricName = record.fabric_name;
  attrs.NumberofDiscoveredPorts = record.discovered_ports;
}

/** Hands out the port of a snapshot, unless the driver has taken another snapshot since. */
std::uint32_t deliver_from_snapshot(const PortRecord& record, PortAttributes& attrs) {
  if (record.fc_id == stale_fc_id) {
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
