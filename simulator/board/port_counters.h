/**
 * @file
 * The statistics of a board's port.
 */
#pragma once

#include "simulator/board/saved.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace ravnsim {

/** What the counters read; a counter that is not counted reads all ones. */
using CounterValues = std::array<std::uint64_t, counter_count>;

/**
 * Counters that grow with the time that the board is up and with its traffic. With a state folder
 * they go on in the next process, as the counters of a board that kept running would.
 */
class PortCounters {
 public:
  using Time = std::chrono::sys_time<std::chrono::milliseconds>;

  explicit PortCounters(Adapter& adapter, Time now = current_time());

  /** What the counters read at a time. */
  [[nodiscard]] CounterValues read(Time now = current_time()) const;

  /** What they read when the driver was loaded. */
  [[nodiscard]] CounterValues read_at_load() const;

  /** Counts something that happened. */
  void add(Counter counter, std::uint64_t count = 1);

  /** Counts an exchange: a frame each way, and so much data in frames of the port's size. */
  void add_exchange(std::size_t sent_bytes, std::size_t received_bytes);

  /** While the link is down, only time goes on. */
  void stop_traffic(Time now = current_time());
  void resume_traffic(Time now = current_time());

 private:
  struct Kept {
    std::int64_t loaded_at;
    CounterValues counted;
  };

  static Time current_time();
  void add_frames(Counter frames, Counter words, std::size_t bytes);

  const BoardTopology& topology_;
  SavedAtEnd<Kept> kept_;
  bool stopped_ = false;
  Time stopped_at_{};
  std::chrono::milliseconds stopped_before_{};
};

}  // namespace ravnsim
