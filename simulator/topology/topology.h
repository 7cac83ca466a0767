/**
 * @file
 * The simulated host as its topology file describes it. Nothing here changes while the host runs;
 * what changes is the state that an Adapter holds.
 *
 * A subsystem that needs more adds a member to the structure that it belongs to and one line to the
 * function in topology.cpp that reads it.
 */
#pragma once

#include "simulator/fabric/wwn.h"
#include "simulator/topology/feature_topology.h"
#include "simulator/topology/hardware_topology.h"

#include <array>
#include <chrono>
#include <cstddef>
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

/** What a port tells of itself when it is asked with an RNID. */
struct RnidTopology {
  bool answers = true;
  std::uint32_t unit_type = 0;  ///< an associated type of FC-LS
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
  RnidTopology rnid;
};

/** The counters of a port's statistics, in the order of FC-HBA. */
enum class Counter : std::size_t {
  seconds,
  tx_frames,
  tx_words,
  rx_frames,
  rx_words,
  lip,
  nos,
  error_frames,
  dumped_frames,
  link_failure,
  loss_of_sync,
  loss_of_signal,
  primitive_seq_error,
  invalid_tx_word,
  invalid_crc,
};

inline constexpr std::size_t counter_count = 15;

constexpr std::size_t index_of(Counter counter) { return static_cast<std::size_t>(counter); }

/** One counter of a board. */
struct CounterTopology {
  bool counted = true;
  std::uint64_t start = 0;       ///< what it reads when the driver is loaded
  std::uint64_t per_second = 0;  ///< how it grows with time
};

/** What the timeline of a board knows to happen. */
enum class IncidentKind { link_down, link_up, lip, rscn, port_arrives, port_leaves };

/** One entry of a board's timeline. */
struct Incident {
  IncidentKind kind = IncidentKind::rscn;
  std::optional<std::uint32_t> after_commands;  ///< of the board; else after_seconds
  std::uint32_t after_seconds = 0;
  std::uint32_t times = 1;
  PortTopology port;  ///< the port concerned; of an RSCN, only its fc_id
};

/** What a board that virtualises N_Port IDs has. */
struct NpivTopology {
  bool ready = true;
  std::uint32_t port_limit = 0;
  std::uint32_t login_limit = 0;  ///< of all its ports with remote ports
  std::vector<PortTopology> ports;
};

/** A region of a board's non-volatile configuration. */
struct RegionTopology {
  std::uint32_t number = 0;
  std::vector<std::uint8_t> contents;  ///< until it is written; none: it is empty
  bool locked = false;                 ///< whether it refuses to be written
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
  HardwareTopology hardware;
  FeatureTopology offers;

  PortTopology port;
  std::vector<PortTopology> discovered_ports;
  std::vector<BindingTopology> bindings;
  std::array<CounterTopology, counter_count> statistics{};
  std::uint32_t event_queue_capacity = 0;
  std::vector<Incident> timeline;
  std::optional<NpivTopology> npiv;

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
