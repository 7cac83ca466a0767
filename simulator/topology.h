/**
 * @file
 * The simulated host as its topology file describes it. Nothing here changes while the host runs;
 * what changes is the state that an Adapter holds.
 *
 * A subsystem that needs more adds a member to the structure that it belongs to and one line to the
 * function in topology.cpp that reads it.
 */
#pragma once

#include "simulator/wwn.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ravnsim {

class JsonDocument;

/** The most boards that the driver numbers. */
inline constexpr std::uint32_t max_boards = 32;

/** SLI modes from this one on are SLI-4. */
inline constexpr std::uint32_t sli4 = 4;

/** FC-HBA port types. */
enum class PortType : std::uint32_t {
  unknown = 1,
  other = 2,
  not_present = 3,
  n_port = 5,
  nl_port = 6,
  fl_port = 7,
  f_port = 8,
  e_port = 9,
  g_port = 10,
  l_port = 20,
  point_to_point = 21,
};

/** FC-HBA port states. */
enum class PortState : std::uint32_t {
  unknown = 1,
  online = 2,
  offline = 3,
  bypassed = 4,
  diagnostics = 5,
  link_down = 6,
  error = 7,
  loopback = 8,
};

/** The bit map of FC-4 types as FC-GS orders it. */
using Fc4Types = std::array<std::uint8_t, 32>;

/** A Fibre Channel port: an adapter's own, or one that it discovered. */
struct PortTopology {
  Wwn node_wwn{};
  Wwn port_wwn{};
  std::uint32_t fc_id = 0;
  PortType type = PortType::n_port;
  PortState state = PortState::online;
  std::uint32_t classes = 0;  ///< bit n: class n
  Fc4Types fc4_types_supported{};
  Fc4Types fc4_types_active{};
  std::string symbolic_name;
  std::string os_device_name;
  std::uint32_t supported_speeds = 0;  ///< FC-HBA speed bits
  std::uint32_t speed = 0;             ///< one FC-HBA speed bit, or 0
  std::uint32_t max_frame_size = 0;    ///< bytes
  Wwn fabric_name{};
};

/** A region of a board's non-volatile configuration. */
struct RegionTopology {
  std::uint32_t number = 0;
  std::vector<std::byte> contents;  ///< until it is written; none: it is empty
  bool locked = false;              ///< whether it refuses to be written
};

/** A Fibre Channel Forwarder that an FCoE board discovered. */
struct FcfTopology {
  std::uint16_t index = 0;  ///< its place in the adapter's table
  Wwn fabric_name{};
  Wwn switch_name{};
  std::uint32_t priority = 0;
  std::uint32_t max_receive_size = 0;  ///< bytes
  std::uint32_t keep_alive = 0;        ///< milliseconds
  std::vector<std::uint32_t> vlans;
  bool available = true;
  bool valid = true;  ///< false: an entry of the table that is not in use
};

/** One function of an adapter, which the driver numbers as a board. */
struct BoardTopology {
  std::uint32_t driver_number = 0;
  std::uint32_t device = 0;        ///< PCI device (upper half) and vendor
  std::uint32_t subsystem = 0;     ///< PCI subsystem device (upper half) and vendor
  std::uint32_t adapter_type = 0;  ///< what the driver tells the adapter's family apart by
  std::uint32_t sli_mode = 0;
  std::uint32_t features = 0;  ///< the driver's feature flags
  bool extended_sli_config = false;
  bool ready = true;  ///< false: a board that does not get up
  std::chrono::milliseconds reset_time{};
  bool loopback_plug = false;          ///< whether one stands in the port
  std::uint32_t dump_region_size = 0;  ///< bytes; 0: there is none

  std::string manufacturer;
  std::string serial_number;
  std::string model;
  std::string model_description;
  std::string hardware_version;
  std::string option_rom_version;
  std::string firmware_version;
  std::uint32_t vendor_specific_id = 0;

  PortTopology port;
  std::vector<PortTopology> discovered_ports;

  std::vector<RegionTopology> regions;
  std::vector<FcfTopology> fcfs;
};

/** Whether a board is an FCoE function. */
constexpr bool is_fcoe(const BoardTopology& board) {
  return board.adapter_type == 0x704 || board.adapter_type == 0x714;
}

/** The driver that serves the boards. */
struct DriverTopology {
  std::string name;
  std::string version;
  bool reset_mode_3 = true;  ///< whether it has the third mode of a reset
};

/** A simulated host. */
struct Topology {
  DriverTopology driver;
  std::vector<BoardTopology> boards;
};

/** The built-in host, in the form of a topology file. */
extern const std::string_view default_topology;

/** Reads a topology; throws a ConfigurationError that says what is wrong in it and where. */
Topology read_topology(const JsonDocument& document);

}  // namespace ravnsim
