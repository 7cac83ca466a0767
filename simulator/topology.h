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
#include <cstdint>
#include <optional>
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

/** The bytes of a logical unit's block. */
inline constexpr std::uint32_t block_size = 512;

/** Peripheral device types (SPC). */
enum class DeviceType : std::uint8_t { disk = 0x00, tape = 0x01 };

/** A logical unit of a SCSI target. */
struct LunTopology {
  std::uint32_t number = 0;
  DeviceType type = DeviceType::disk;
  std::string vendor;
  std::string product;
  std::string revision;
  std::string serial_number;      ///< tells units apart: two with the same are paths to one
  std::vector<std::uint8_t> naa;  ///< 8 or 16 bytes, or none
  std::optional<Wwn> eui64;
  std::uint32_t blocks = 0;
  std::string file;  ///< where the blocks are; empty: in memory
  bool read_only = false;
  std::string os_device_name;
};

/** A persistent binding of a target port to the host's SCSI addresses. */
struct BindingTopology {
  Wwn port_wwn{};
  std::uint32_t bus = 0;
  std::uint32_t target = 0;
};

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
  std::vector<LunTopology> luns;  ///< by rising number
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
  std::vector<BindingTopology> bindings;
};

/** The driver that serves the boards. */
struct DriverTopology {
  std::string name;
  std::string version;
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
