/**
 * @file
 * The SCSI commands that went through a board.
 */
#pragma once

#include "simulator/board/saved.h"

#include <cstddef>
#include <cstdint>

namespace ravnsim {

/** Counts commands and their data. With a state folder the counters go on in the next process. */
class IoCounters {
 public:
  struct Values {
    std::uint64_t reads;
    std::uint64_t writes;
    std::uint64_t without_data;
    std::uint64_t failed;  ///< also among those above
    std::uint64_t bytes_read;
    std::uint64_t bytes_written;
  };

  explicit IoCounters(Adapter& adapter) : values_{adapter, "io-counters"} {}

  /** Counts one command with the data that it moved, and whether its target took it well. */
  void add(std::size_t bytes_written, std::size_t bytes_read, bool good);

  [[nodiscard]] const Values& values() const { return values_.get(); }

 private:
  SavedAtEnd<Values> values_;
};

}  // namespace ravnsim
