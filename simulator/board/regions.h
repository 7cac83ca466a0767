/**
 * @file
 * The regions of an adapter's non-volatile configuration.
 */
#pragma once

#include "driver_abi/regions.h"
#include "simulator/board/adapter.h"

#include <cstdint>
#include <span>
#include <vector>

namespace ravnsim {

using ovk::RegionStatus;

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
