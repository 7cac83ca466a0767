/**
 * @file
 * What logical units store.
 */
#pragma once

#include "simulator/board/adapter.h"

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>

namespace ravnsim {

/** The blocks of a logical unit. Whoever reads or writes stays within them. */
class Medium {
 public:
  virtual ~Medium() = default;

  /** False when the blocks could not be read. */
  virtual bool read(std::uint64_t first_block, std::span<std::uint8_t> bytes) = 0;

  /** False when the blocks could not be written. */
  virtual bool write(std::uint64_t first_block, std::span<const std::uint8_t> bytes) = 0;
};

/** The media behind a board. Logical units with the same serial number are paths to one medium. */
class Media {
 public:
  explicit Media(Adapter& /*adapter*/) {}

  Medium& of(const LunTopology& unit);

 private:
  std::map<std::string, std::unique_ptr<Medium>> media_;
};

}  // namespace ravnsim
