/**
 * @file
 * The logical units of a SCSI target.
 */
#pragma once

#include "simulator/topology/wwn.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ravnsim {

class JsonObject;

/** The bytes of a logical unit's block. */
inline constexpr std::uint32_t block_size = 512;

/** Peripheral device types (SPC). */
enum class DeviceType : std::uint8_t { disk = 0x00, tape = 0x01 };

/** A logical unit of a SCSI target. */
struct LunTopology {
  std::uint32_t number = 0;
  DeviceType type = DeviceType::disk;
  std::string vendor = "RAVNSIM";
  std::string product = "Logical unit";
  std::string revision = "1.0";
  std::string serial_number;      ///< tells units apart: two with the same are paths to one
  std::vector<std::uint8_t> naa;  ///< 8 or 16 bytes, or none
  std::optional<Wwn> eui64;
  std::uint32_t blocks = 0;
  std::string file;  ///< where the blocks are; empty: in memory
  bool read_only = false;
  std::string os_device_name;
};

void read_members(JsonObject& in, LunTopology& unit);

}  // namespace ravnsim
