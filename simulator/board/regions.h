/**
 * @file
 * The regions of an adapter's non-volatile configuration.
 */
#pragma once

#include "simulator/board/adapter.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace ravnsim {

/** With what the firmware completes a mailbox about a region. */
enum class RegionStatus : std::uint16_t {
  completed = 0,
  unknown = 0xFFF6,  ///< there is no such region
  locked = 0xFFF7,   ///< it cannot be written
  empty = 0xFFFD,    ///< it was never written
  bad_length = 0xFFFE,
};

/** The length of a region in bytes; 0 for one that the firmware does not have. */
std::uint32_t region_length(std::uint32_t region);

/** What an adapter's regions hold. They start out as the topology has them. */
class Regions {
 public:
  explicit Regions(Adapter& adapter) : adapter_{adapter} {}

  /** Reads a whole region. */
  RegionStatus read(std::uint32_t region, std::vector<std::uint8_t>& contents) const;

  /** Writes a region: the bytes, and zeros behind them. */
  RegionStatus write(std::uint32_t region, std::span<const std::uint8_t> bytes);

 private:
  [[nodiscard]] const RegionTopology* initial(std::uint32_t region) const;

  Adapter& adapter_;
};

}  // namespace ravnsim
