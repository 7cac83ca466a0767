#include "tests/support/library_test.h"

#include <ovk/hbaapi.h>

#include <array>
#include <bit>
#include <limits>

namespace ovk::test {
namespace {

using Counters = std::array<std::int64_t, 15>;

constexpr std::uint32_t any_port = 3;
constexpr std::size_t lip_count = 5;
constexpr std::size_t nos_count = 6;
constexpr std::size_t dumped_frames = 8;

class StatisticsTest : public LibraryTest {
 protected:
  /** What a board reads when these are the driver's counters. */
  Counters read(std::uint32_t board, const Counters& counters, std::uint32_t port = any_port) {
    channel.expect("RAVN_MGMT_HBA_PORTSTATISTICS", board == 0 ? board0 : board1)
        .replies(1, counters);
    PortStatistics stats{};
    EXPECT_EQ(GetPortStatistics(board, port, &stats), OVK_OK);
    return std::bit_cast<Counters>(stats);
  }

  /** What a board reads that was reset at other counters. */
  Counters read_after_reset(const Counters& at_reset, const Counters& now) {
    channel.expect("RAVN_MGMT_HBA_PORTSTATISTICS", board0).replies(1, at_reset);
    EXPECT_EQ(ResetStatistics(0), OVK_OK);
    return read(0, now);
  }
};

TEST_F(StatisticsTest, ReadingsOfABoardCountFromItsOwnLastReset) {
  Counters at_reset;
  Counters later;
  Counters expected;
  for (std::size_t i = 0; i < later.size(); ++i) {
    at_reset[i] = static_cast<std::int64_t>(0x7000000000 + 1000 * i);
    expected[i] = static_cast<std::int64_t>(i * i);
    later[i] = at_reset[i] + expected[i];
  }
  EXPECT_EQ(read_after_reset(at_reset, later), expected);
  EXPECT_EQ(read(1, later), later);
  EXPECT_EQ(read(0, later, OVK_STATISTICS_SNAPSHOT), later) << "a snapshot is no difference";
}

TEST_F(StatisticsTest, ThreeUncountedCountersStayUncountedAfterAResetAndTheOthersReadZero) {
  Counters uncounted;
  uncounted.fill(-1);
  Counters expected{};
  expected[lip_count] = expected[nos_count] = expected[dumped_frames] = -1;
  EXPECT_EQ(read_after_reset(uncounted, uncounted), expected);
}

TEST_F(StatisticsTest, DifferencesWrap) {
  constexpr auto lowest = std::numeric_limits<std::int64_t>::min();
  constexpr auto highest = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(read_after_reset({10, lowest, -2}, {4, 1, highest}),
            (Counters{-6, lowest + 1, lowest + 1}));
}

}  // namespace
}  // namespace ovk::test
