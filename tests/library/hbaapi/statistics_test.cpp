#include "tests/support/library_test.h"

#include <ovk/hbaapi.h>

#include <array>
#include <bit>
#include <cstdint>
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
  Exchange& expect_reading(std::uint32_t driver_board, const Counters& counters) {
    return channel.expect("RAVN_MGMT_HBA_PORTSTATISTICS", driver_board).replies(1, counters);
  }

  static Counters counters_from(std::int64_t first) {
    Counters counters;
    for (std::int64_t& counter : counters) {
      counter = first;
      first += 1000;
    }
    return counters;
  }

  static Counters read(std::uint32_t board, std::uint32_t port = any_port) {
    PortStatistics stats{};
    EXPECT_EQ(GetPortStatistics(board, port, &stats), OVK_OK);
    return std::bit_cast<Counters>(stats);
  }

  /** What a board reads that was reset at other counters. */
  Counters read_after_reset(const Counters& at_reset, const Counters& now) {
    expect_reading(board0, at_reset);
    EXPECT_EQ(ResetStatistics(0), OVK_OK);
    expect_reading(board0, now);
    return read(0);
  }
};

TEST_F(StatisticsTest, ReadingsOfABoardCountFromItsOwnLastReset) {
  const Counters at_reset = counters_from(0x7000000000);
  expect_reading(board0, at_reset);
  EXPECT_EQ(read(0), at_reset) << "before any reset the counters are the driver's";

  Counters later = at_reset;
  Counters expected;
  for (std::size_t i = 0; i < later.size(); ++i) {
    expected[i] = static_cast<std::int64_t>(i * i);
    later[i] += expected[i];
  }
  EXPECT_EQ(read_after_reset(at_reset, later), expected);
  expect_reading(board1, later);
  EXPECT_EQ(read(1), later);
  expect_reading(board0, later);
  EXPECT_EQ(read(0, OVK_STATISTICS_SNAPSHOT), later) << "a snapshot is no difference";
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

TEST_F(StatisticsTest, AFailureLeavesTheRecordAndTheBaselineAsTheyWere) {
  ovk_rststatistics[0].TxFrames = 7;
  const ByteVector baselines = bytes_of(ovk_rststatistics);
  PortStatistics stats{.TxFrames = 99};

  expect_reading(board0, counters_from(1)).status(0x0BAD0001);
  EXPECT_EQ(GetPortStatistics(0, any_port, &stats), OVK_FAILED);
  expect_reading(board0, counters_from(1)).delivery_error(5);
  EXPECT_EQ(GetPortStatistics(0, OVK_STATISTICS_SNAPSHOT, &stats), OVK_FAILED);
  EXPECT_EQ(stats.TxFrames, 99);

  expect_reading(board0, counters_from(1)).status(0x0BAD0001);
  EXPECT_EQ(ResetStatistics(0), OVK_FAILED);
  EXPECT_THAT(bytes_of(ovk_rststatistics), SameBytes(baselines));
}

TEST_F(StatisticsTest, ABoardBeyondTheTablesHasNoBaselineToWriteOrToSubtract) {
  const ByteVector baselines = bytes_of(ovk_rststatistics);
  for (const std::uint32_t board : {32U, 0x80000000U, 0xFFFFFFFFU}) {
    expect_reading(unmapped_number, counters_from(5));
    EXPECT_EQ(ResetStatistics(board), OVK_OK);
    expect_reading(unmapped_number, counters_from(5));
    EXPECT_EQ(read(board), counters_from(5));
  }
  EXPECT_THAT(bytes_of(ovk_rststatistics), SameBytes(baselines));
}

}  // namespace
}  // namespace ovk::test
