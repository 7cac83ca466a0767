/**
 * @file
 * The FCoE side of a fabric.
 */
#pragma once

#include "simulator/topology/wwn.h"

#include <cstdint>
#include <vector>

namespace ravnsim {

class JsonObject;

/** A Fibre Channel Forwarder that an FCoE board discovered. */
struct FcfTopology {
  std::uint16_t index = 0;  ///< in the adapter's table; in a file, its place in the list
  Wwn fabric_name{};
  Wwn switch_name{};
  std::uint32_t priority = 128;
  std::uint32_t max_receive_size = 2158;  ///< bytes
  std::uint32_t keep_alive = 8000;        ///< milliseconds
  std::vector<std::uint32_t> vlans;
  bool available = true;
  bool valid = true;  ///< false: an entry of the table that is not in use
};

void read_members(JsonObject& in, FcfTopology& fcf);

}  // namespace ravnsim
