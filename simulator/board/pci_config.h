/**
 * @file
 * The PCI configuration space of a board.
 */
#pragma once

#include "simulator/board/saved.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace ravnsim {

/**
 * A PCI Express endpoint's configuration space: a type 0 header with two memory BARs and an
 * expansion ROM, power management, MSI-X, PCI Express, error reporting and serial number
 * capabilities. Writes reach what hardware lets software write: read-only bits stay, BARs answer
 * to sizing, status bits are cleared by writing ones. The space stays as it was written until it
 * is written again, across processes too.
 */
class PciConfig {
 public:
  static constexpr std::size_t size = 4096;

  explicit PciConfig(Adapter& adapter);

  [[nodiscard]] std::span<const std::uint8_t> bytes() const { return bytes_.get(); }

  /** Writes at an offset within the space; what is beyond the end of the space is left out. */
  void write(std::size_t offset, std::span<const std::uint8_t> data);

 private:
  Saved<std::array<std::uint8_t, size>> bytes_;
};

}  // namespace ravnsim
