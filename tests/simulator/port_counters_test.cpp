#include "simulator/board/port_counters.h"

#include "simulator/board/link.h"
#include "tests/simulator/test_host.h"

#include <chrono>

namespace ravnsim::test {

namespace {

using namespace std::chrono_literals;

constexpr PortCounters::Time start{1000000s};
constexpr std::uint64_t all_ones = 0xFFFFFFFFFFFFFFFF;

std::string counting_board() {
  return one_board_with(R"("statistics": {
  "seconds": {"start": 5},
  "tx_frames": {"start": 100, "per_second": 10}, "tx_words": {"per_second": 0},
  "rx_frames": {"start": "0xFFFFFFFFFFFFFFFF", "per_second": 1}, "rx_words": {"per_second": 0},
  "nos": "not_counted"
})");
}

std::uint64_t value_of(const CounterValues& values, Counter counter) {
  return values[index_of(counter)];
}

class PortCountersTest : public testing::Test {
 protected:
  TestHost host{counting_board()};
  PortCounters counters{host.board(), start};
};

TEST_F(PortCountersTest, GrowWithTimeWrapAndStayAllOnesWhereNothingIsCounted) {
  counters.add(Counter::nos, 3);
  counters.add(Counter::lip, 3);
  CounterValues expected{};
  expected[index_of(Counter::seconds)] = 5 + 2;
  expected[index_of(Counter::tx_frames)] = 100 + 25;
  expected[index_of(Counter::rx_frames)] = 1;
  expected[index_of(Counter::nos)] = all_ones;
  expected[index_of(Counter::lip)] = 3;
  EXPECT_EQ(counters.read(start + 2500ms), expected);
}

TEST_F(PortCountersTest, AClockThatIsSetBackTakesNothingAway) {
  EXPECT_EQ(counters.read(start - 100s), counters.read_at_load());
}

TEST_F(PortCountersTest, WithoutALinkOnlyTimeGoesOn) {
  counters.stop_traffic(start + 2s);
  counters.stop_traffic(start + 3s);
  EXPECT_EQ(value_of(counters.read(start + 10s), Counter::tx_frames), 120U);
  EXPECT_EQ(value_of(counters.read(start + 10s), Counter::seconds), 15U);
  counters.resume_traffic(start + 10s);
  EXPECT_EQ(value_of(counters.read(start + 11s), Counter::tx_frames), 130U);
}

TEST_F(PortCountersTest, AnExchangeIsAFrameEachWayAndItsDataInFramesOfThePortsSize) {
  counters.add_exchange(0, 2049);
  const CounterValues values = counters.read(start);
  EXPECT_EQ(value_of(values, Counter::tx_frames), 100U + 1);
  EXPECT_EQ(value_of(values, Counter::tx_words), 9U);
  EXPECT_EQ(value_of(values, Counter::rx_frames), 3U - 1) << "it wraps";
  EXPECT_EQ(value_of(values, Counter::rx_words), 3U * 9 + 513);
}

class SavedCountersTest : public SimulatorTest {};

TEST_F(SavedCountersTest, GoOnInTheNextProcess) {
  {
    TestHost host{counting_board(), StateStore{folder}};
    PortCounters{host.board(), start}.add(Counter::lip);
  }
  TestHost host{counting_board(), StateStore{folder}};
  const CounterValues values = PortCounters{host.board(), start + 60s}.read(start + 60s);
  EXPECT_EQ(value_of(values, Counter::seconds), 65U);
  EXPECT_EQ(value_of(values, Counter::lip), 1U);
}

}  // namespace

}  // namespace ravnsim::test
