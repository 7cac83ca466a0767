/**
 * @file
 * A port of the fabric, and what it answers when it is asked for its identity.
 */
#pragma once

#include "driver_abi/fc.h"
#include "simulator/topology/lun_topology.h"
#include "simulator/topology/wwn.h"

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace ravnsim {

class JsonObject;

template <typename Record, typename Key>
class Unique;

using ovk::PortState;
using ovk::PortType;

/** The bit map of FC-4 types as FC-GS orders it. */
using Fc4Types = std::array<std::uint8_t, 32>;

/** Associated types of FC-LS. */
inline constexpr std::uint32_t storage_device_type = 0x9;
inline constexpr std::uint32_t host_type = 0xA;

/** What a port tells of itself when it is asked with an RNID. */
struct RnidTopology {
  bool answers = true;
  std::uint32_t unit_type = storage_device_type;
  std::uint32_t physical_port = 0;
  std::uint32_t attached_nodes = 0;
  std::uint16_t ip_version = 0;
  std::uint16_t udp_port = 0;
  std::array<std::uint8_t, 16> ip_address{};
  std::uint16_t topology_flags = 0;
};

/** A Fibre Channel port: an adapter's own, or one that it discovered. */
struct PortTopology {
  Wwn node_wwn{};
  Wwn port_wwn{};
  std::uint32_t fc_id = 0;
  PortType type = PortType::n_port;
  PortState state = PortState::online;
  std::uint32_t classes = 1U << 3;  ///< bit n: class n; 3 is what everyone speaks
  Fc4Types fc4_types_supported{};
  Fc4Types fc4_types_active{};  ///< in a file, the supported ones unless it names others
  std::string symbolic_name;
  std::string os_device_name;
  std::uint32_t supported_speeds = 0;   ///< FC-HBA speed bits
  std::uint32_t speed = 0;              ///< one FC-HBA speed bit, or 0
  std::uint32_t max_frame_size = 2048;  ///< bytes
  Wwn fabric_name{};
  std::vector<LunTopology> luns;  ///< by rising number
  RnidTopology rnid;
};

/** The largest address of a port. */
inline constexpr std::uint32_t largest_fc_id = 0xFFFFFF;

void read_members(JsonObject& in, PortTopology& port);

/** The requirement that the ports of one board have names of their own; `taken` are in use. */
Unique<PortTopology, Wwn> unique_port(std::set<Wwn> taken);

}  // namespace ravnsim
