#include "simulator/board/port_counters.h"

#include <algorithm>
#include <limits>

namespace ravnsim {

namespace {

constexpr std::uint64_t not_counted = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t milliseconds_per_second = 1000;

constexpr std::size_t word_size = 4;
constexpr std::size_t frame_overhead = 36;  // delimiters, header and CRC
constexpr std::size_t smallest_frame_data = 256;

}  // namespace

PortCounters::PortCounters(Adapter& adapter, Time now)
    : topology_{adapter.topology()},
      kept_{adapter, "counters", {.loaded_at = now.time_since_epoch().count()}} {
  static_cast<void>(kept_.change());  // a driver that was loaded stays so
}

PortCounters::Time PortCounters::current_time() {
  return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

CounterValues PortCounters::read(Time now) const {
  const Time loaded{std::chrono::milliseconds{kept_.get().loaded_at}};
  const auto up = std::max(now - loaded, std::chrono::milliseconds{});  // clocks are set back
  const auto stopped =
      stopped_before_ + (stopped_ ? now - stopped_at_ : std::chrono::milliseconds{});
  const auto with_traffic = std::max(up - stopped, std::chrono::milliseconds{});

  CounterValues values = read_at_load();
  for (std::size_t i = 0; i < values.size(); ++i) {
    const CounterTopology& topology = topology_.statistics[i];
    const auto time = i == index_of(Counter::seconds) ? up : with_traffic;
    if (topology.counted) {
      values[i] += kept_.get().counted[i] + topology.per_second *
                                                static_cast<std::uint64_t>(time.count()) /
                                                milliseconds_per_second;
    }
  }
  return values;
}

CounterValues PortCounters::read_at_load() const {
  CounterValues values;
  std::ranges::transform(topology_.statistics, values.begin(), [](const CounterTopology& counter) {
    return counter.counted ? counter.start : not_counted;
  });
  return values;
}

void PortCounters::add(Counter counter, std::uint64_t count) {
  kept_.change().counted[index_of(counter)] += count;
}

void PortCounters::add_exchange(std::size_t sent_bytes, std::size_t received_bytes) {
  add_frames(Counter::tx_frames, Counter::tx_words, sent_bytes);
  add_frames(Counter::rx_frames, Counter::rx_words, received_bytes);
}

void PortCounters::add_frames(Counter frames, Counter words, std::size_t bytes) {
  const std::size_t data =
      std::max<std::size_t>(topology_.port.max_frame_size, smallest_frame_data);
  const std::size_t count = 1 + (bytes + data - 1) / data;
  add(frames, count);
  add(words, (count * frame_overhead + bytes + word_size - 1) / word_size);
}

void PortCounters::stop_traffic(Time now) {
  if (!stopped_) {
    stopped_ = true;
    stopped_at_ = now;
  }
}

void PortCounters::resume_traffic(Time now) {
  if (stopped_) {
    stopped_ = false;
    stopped_before_ += now - stopped_at_;
  }
}

}  // namespace ravnsim
