/**
 * @file
 * What the topology says of a board's hardware: its place on the PCI bus, its vital product data,
 * its memory and its trunk.
 */
#pragma once

#include <cstdint>
#include <string>

namespace ravnsim {

class JsonObject;
struct BoardTopology;

/** Where a function is on the PCI bus. */
struct PciLocation {
  std::uint32_t segment = 0;
  std::uint32_t bus = 0;  ///< in a file, by default the driver number + 1
  std::uint32_t device = 0;
  std::uint32_t function = 0;
};

/** What the vital product data say beyond the board's other texts. */
struct VpdTopology {
  bool present = true;
  std::string part_number;         ///< in a file, by default from the model
  std::string engineering_change;  ///< in a file, the hardware version by default
  std::string manufacture_id;
  std::string asset_tag;
};

/** The physical ports that make up one trunk: bit n is port n. Without ports there is no trunk. */
struct TrunkTopology {
  std::uint32_t ports = 0;
  std::uint32_t ports_up = 0;
};

struct HardwareTopology {
  PciLocation pci;
  VpdTopology vpd;
  TrunkTopology trunk;
  std::uint32_t memory_size = 0x4000;  ///< bytes
};

/** Reads the hardware's members of a board, whose other members are there already. */
void read_hardware(JsonObject& in, BoardTopology& board);

}  // namespace ravnsim
