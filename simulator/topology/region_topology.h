/**
 * @file
 * The regions of a board's non-volatile configuration.
 */
#pragma once

#include <cstdint>
#include <vector>

namespace ravnsim {

class JsonObject;

/** A region of a board's non-volatile configuration. */
struct RegionTopology {
  std::uint32_t number = 0;
  std::vector<std::uint8_t> contents;  ///< until it is written; none: it is empty
  bool locked = false;                 ///< whether it refuses to be written
};

void read_members(JsonObject& in, RegionTopology& region);

}  // namespace ravnsim
