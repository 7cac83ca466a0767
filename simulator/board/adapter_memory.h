/**
 * @file
 * The memory and the control registers of a board below SLI-4.
 */
#pragma once

#include "simulator/board/saved.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ravnsim {

/** Memory that software reads and writes. It begins with the firmware's version as text, and it
    stays as it was written, across processes too. */
class AdapterMemory {
 public:
  explicit AdapterMemory(Adapter& adapter);

  [[nodiscard]] std::span<const std::uint8_t> bytes() const { return bytes_; }

  /** Writes at an offset; the data end within the memory. */
  void write(std::size_t offset, std::span<const std::uint8_t> data);

 private:
  Adapter& adapter_;
  std::vector<std::uint8_t> bytes_;
};

/** The control registers, by their byte offsets. */
enum class ControlRegister : std::uint32_t {
  attention = 0x0,  ///< what waits for software; ones that are written clear their bits
  doorbell = 0x4,   ///< reads as 0; ones that are written raise their bits in `attention`
  status = 0x8,     ///< read-only
  control = 0xC,    ///< keeps what is written
};

class ControlRegisters {
 public:
  explicit ControlRegisters(Adapter& adapter);

  /** A register's value; nothing when there is no such register. */
  [[nodiscard]] std::optional<std::uint32_t> read(ControlRegister place) const;

  /** Writes a register; false when it cannot be written. */
  bool write(ControlRegister place, std::uint32_t value);

 private:
  struct Values {
    std::uint32_t attention;
    std::uint32_t control;
  };

  [[nodiscard]] std::uint32_t status() const;

  Adapter& adapter_;
  Saved<Values> values_;
};

}  // namespace ravnsim
