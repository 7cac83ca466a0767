/**
 * @file
 * A port as the driver describes it: the answer to the commands for port attributes.
 */
#pragma once

#include <ovk/types.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace ovk {

struct [[gnu::packed]] PortRecord {
  Wwn node_wwn;
  Wwn port_wwn;
  std::uint32_t fc_id;
  std::uint32_t type;   ///< of FC-HBA
  std::uint32_t state;  ///< of FC-HBA
  std::uint32_t supported_classes;
  std::array<std::uint8_t, 32> fc4_types_supported;
  std::array<std::uint8_t, 32> fc4_types_active;
  char symbolic_name[256];
  char os_device_name[114];
  std::uint32_t supported_speeds;
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
static_assert(offsetof(PortRecord, supported_speeds) == 466);
static_assert(offsetof(PortRecord, speed) == 470);
static_assert(offsetof(PortRecord, max_frame_size) == 474);
static_assert(offsetof(PortRecord, fabric_name) == 478);
static_assert(offsetof(PortRecord, discovered_ports) == 486);

/** The FC id of an answer to a refresh tag that is no longer that of the driver's snapshot. */
inline constexpr std::uint32_t stale_fc_id = 0xFFFFFFFF;

}  // namespace ovk
