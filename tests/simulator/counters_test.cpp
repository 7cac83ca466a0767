#include "simulator/board/adapter.h"
#include "simulator/board/port_counters.h"
#include "simulator/board/state_store.h"
#include "simulator/topology/json_reader.h"
#include "simulator/topology/topology.h"
#include "tests/simulator/simulator_test.h"

#include <chrono>

namespace ravnsim::test {

namespace {

using namespace std::chrono_literals;

constexpr PortCounters::Time start{1000000s};
constexpr std::uint64_t all_ones = 0xFFFFFFFFFFFFFFFF;

class PortCountersTest : public SimulatorTest {
 protected:
  const Topology topology =
      read_topology(JsonDocument::from_text("topology", one_board_with(R"("statistics": {
        "seconds": {"start": 5}, "tx_frames": {"start": 100, "per_second": 10},
        "rx_frames": {"start": "0xFFFFFFFFFFFFFFFF", "per_second": 1},
        "tx_words": {"per_second": 0}, "rx_words": {"per_second": 0}, "nos": "not_counted"})")));
  StateStore store{folder};
  Adapter adapter{topology.boards.front(), topology.driver, store};
  std::optional<PortCounters> counters{std::in_place, adapter, start};

  /** What some counters read at a time, in this order. */
  std::vector<std::uint64_t> read(PortCounters::Time now, const std::vector<Counter>& wanted) {
    std::vector<std::uint64_t> values;
    for (const Counter counter : wanted) {
      values.push_back(counters->read(now).at(index_of(counter)));
    }
    return values;
  }
};

using enum Counter;
using Values = std::vector<std::uint64_t>;

TEST_F(PortCountersTest, GrowWithTimeWrapAndStayAllOnesWhereNothingIsCounted) {
  counters->add(nos, 3);
  counters->add(lip, 3);
  EXPECT_EQ(read(start + 2500ms, {seconds, tx_frames, rx_frames, nos, lip, tx_words}),
            (Values{5 + 2, 100 + 25, 1, all_ones, 3, 0}));
  EXPECT_EQ(read(start - 100s, {seconds, tx_frames}), (Values{5, 100})) << "the clock is set back";
  counters.reset();
  counters.emplace(adapter, start + 60s);  // the next process
  EXPECT_EQ(read(start + 60s, {seconds, lip}), (Values{65, 3}));
}

TEST_F(PortCountersTest, WithoutALinkOnlyTimeGoesOn) {
  counters->stop_traffic(start + 2s);
  counters->stop_traffic(start + 3s);
  EXPECT_EQ(read(start + 10s, {tx_frames, seconds}), (Values{120, 15}));
  counters->resume_traffic(start + 10s);
  EXPECT_EQ(read(start + 11s, {tx_frames}), Values{130});
}

TEST_F(PortCountersTest, AnExchangeIsAFrameEachWayAndItsDataInFramesOfThePortsSize) {
  counters->add_exchange(0, 2049);
  EXPECT_EQ(read(start, {tx_frames, tx_words, rx_frames, rx_words}),
            (Values{100 + 1, 9, 3 - 1, 3 * 9 + 513}))
      << "the received frames wrap";
}

}  // namespace

}  // namespace ravnsim::test
