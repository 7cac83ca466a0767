#include "simulator/topology/statistics_topology.h"

#include "simulator/topology/json_reader.h"

namespace ravnsim {

namespace {

/** In the order of Counter. */
constexpr const char* names[counter_count] = {
    "seconds",
    "tx_frames",
    "tx_words",
    "rx_frames",
    "rx_words",
    "lip",
    "nos",
    "error_frames",
    "dumped_frames",
    "link_failure",
    "loss_of_sync",
    "loss_of_signal",
    "primitive_seq_error",
    "invalid_tx_word",
    "invalid_crc",
};

constexpr Word<bool> not_counted[] = {{"not_counted", false}};

}  // namespace

static void read_members(JsonObject& in, CounterTopology& counter) {
  in.optional("start", counter.start);
  in.optional("per_second", counter.per_second, Range{0, 0xFFFFFFFF});
}

StatisticsTopology::StatisticsTopology() : array{} {
  at(index_of(Counter::seconds)).per_second = 1;
  at(index_of(Counter::tx_frames)).per_second = 12;
  at(index_of(Counter::tx_words)).per_second = 420;
  at(index_of(Counter::rx_frames)).per_second = 16;
  at(index_of(Counter::rx_words)).per_second = 560;
}

void read_members(JsonObject& in, StatisticsTopology& statistics) {
  for (std::size_t i = 0; i < counter_count; ++i) {
    if (const JsonValue place = in.at(names[i]); place.is_text()) {
      place.read(statistics[i].counted, not_counted);
    } else {
      in.optional(names[i], statistics[i]);
    }
  }
}

}  // namespace ravnsim
