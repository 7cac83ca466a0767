/**
 * @file
 * The counters of a board's port.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ravnsim {

class JsonObject;

/** The counters of a port's statistics, in the order of FC-HBA. */
enum class Counter : std::size_t {
  seconds,
  tx_frames,
  tx_words,
  rx_frames,
  rx_words,
  lip,
  nos,
  error_frames,
  dumped_frames,
  link_failure,
  loss_of_sync,
  loss_of_signal,
  primitive_seq_error,
  invalid_tx_word,
  invalid_crc,
};

inline constexpr std::size_t counter_count = 15;

constexpr std::size_t index_of(Counter counter) { return static_cast<std::size_t>(counter); }

/** One counter of a board. */
struct CounterTopology {
  bool counted = true;
  std::uint64_t start = 0;       ///< what it reads when the driver is loaded
  std::uint64_t per_second = 0;  ///< how it grows with time
};

/** The counters of a board, by Counter. One that nobody uses sees some traffic of its fabric. */
struct StatisticsTopology : std::array<CounterTopology, counter_count> {
  StatisticsTopology();
};

void read_members(JsonObject& in, StatisticsTopology& statistics);

}  // namespace ravnsim
