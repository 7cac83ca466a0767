/**
 * @file
 * A board's vital product data in the format of the PCI Local Bus 3.0 standard.
 */
#pragma once

#include "simulator/topology/topology.h"

#include <cstdint>
#include <vector>

namespace ravnsim {

/** Vital product data as resources: tag, length, contents. Both parts together are the whole. */
struct VpdImage {
  std::vector<std::uint8_t> read_only;   ///< identifier string and VPD-R, with its checksum
  std::vector<std::uint8_t> read_write;  ///< VPD-W and the end tag
};

/** The vital product data of a board; each part has at most `part_size` bytes. */
VpdImage vpd_of(const BoardTopology& board);

inline constexpr std::size_t part_size = 256;

}  // namespace ravnsim
