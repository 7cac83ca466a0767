/**
 * @file
 * One board of the host.
 */
#pragma once

#include "simulator/topology/fcf_topology.h"
#include "simulator/topology/feature_topology.h"
#include "simulator/topology/hardware_topology.h"
#include "simulator/topology/npiv_topology.h"
#include "simulator/topology/port_topology.h"
#include "simulator/topology/region_topology.h"
#include "simulator/topology/statistics_topology.h"
#include "simulator/topology/timeline_topology.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ravnsim {

class JsonObject;

/** The most boards that the driver numbers. */
inline constexpr std::uint32_t max_boards = 32;

/** SLI modes from this one on are SLI-4. */
inline constexpr std::uint32_t sli4 = 4;

/** A persistent binding of a target port to the host's SCSI addresses. */
struct BindingTopology {
  Wwn port_wwn{};
  std::uint32_t bus = 0;
  std::uint32_t target = 0;
};

/** One function of an adapter, which the driver numbers as a board. */
struct BoardTopology {
  std::uint32_t driver_number = 0;
  std::uint32_t device = 0;        ///< PCI device (upper half) and vendor
  std::uint32_t subsystem = 0;     ///< PCI subsystem device (upper half) and vendor
  std::uint32_t adapter_type = 0;  ///< what the driver tells the adapter's family apart by
  std::uint32_t sli_mode = 0;
  std::uint32_t features = 0;        ///< the driver's feature flags
  bool extended_sli_config = false;  ///< in a file, by default from SLI-4 on
  bool ready = true;                 ///< false: a board that does not get up
  std::chrono::milliseconds reset_time{2000};
  bool loopback_plug = false;                 ///< whether one stands in the port
  std::uint32_t dump_region_size = 0x100000;  ///< bytes; 0: there is none

  std::string manufacturer;
  std::string serial_number;
  std::string model;
  std::string model_description;  ///< in a file, the model by default
  std::string hardware_version;
  std::string option_rom_version;
  std::string firmware_version;
  std::uint32_t vendor_specific_id = 0;  ///< in a file, the device by default
  HardwareTopology hardware;
  FeatureTopology offers;

  PortTopology port{.rnid = {.unit_type = host_type}};
  std::vector<PortTopology> discovered_ports;
  std::vector<BindingTopology> bindings;
  StatisticsTopology statistics;
  std::uint32_t event_queue_capacity = 64;
  std::vector<Incident> timeline;
  std::optional<NpivTopology> npiv;

  std::vector<RegionTopology> regions;
  std::vector<FcfTopology> fcfs;
};

/** Whether a board is an FCoE function. */
constexpr bool is_fcoe(const BoardTopology& board) {
  return board.adapter_type == 0x704 || board.adapter_type == 0x714;
}

void read_members(JsonObject& in, BoardTopology& board);

}  // namespace ravnsim
