#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/hbaapi.h>

#include <cstring>
#include <map>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

namespace ovk::test {
namespace {

constexpr std::uint32_t fc_device = 0xF4001234;
constexpr std::uint8_t untouched = 0xEE;

/** What the driver answers for a board: every byte has a value of its own. */
ByteVector discovery_record(std::uint32_t device, std::uint8_t readiness_top = 0x17) {
  return with_at(with_at(counted_bytes(81), 0, device), 23, readiness_top);
}

class BoardTest : public LibraryTest {
 protected:
  /** Expects the question for every number; the driver has these boards. */
  void expect_discovery(const std::map<std::uint32_t, ByteVector>& boards) {
    for (std::uint32_t number = 0; number < OVK_MAX_BOARDS; ++number) {
      Exchange& question = channel.expect("RAVN_MGMT_INITBRDS", number);
      if (const auto board = boards.find(number); board != boards.end()) {
        question.replies(1, board->second);
      } else {
        question.ends_with(0x0BAD0001, number % 2 == 0 ? 0 : 5);
      }
    }
  }

  struct Part {
    std::size_t place;
    std::size_t from;
    std::size_t size;
  };

  /** Two untouched entries, but for these parts of the first, which are the driver's. */
  template <typename Entry>
  static ByteVector described(const ByteVector& record, std::initializer_list<Part> parts) {
    ByteVector bytes(2 * sizeof(Entry), untouched);
    for (const auto& [place, from, size] : parts) {
      std::memcpy(&bytes[place], &record[from], size);
    }
    return bytes;
  }
};

TEST_F(BoardTest, DiscoveryNumbersTheFibreChannelFunctionsAndClearsThePerBoardTables) {
  std::memset(ovk_refresh_timer, untouched, sizeof ovk_refresh_timer);
  std::memset(ovk_rststatistics, untouched, sizeof ovk_rststatistics);
  std::map<std::uint32_t, ByteVector> boards;
  for (const std::uint32_t other : {0x0714U, 0x0724U, 0x072CU, 0xE200U, 0xF100U}) {
    boards[static_cast<std::uint32_t>(boards.size())] = discovery_record(other << 16 | 0x0714);
  }
  boards[5] = discovery_record(0x0714);  // only the upper half tells the function type
  for (std::uint32_t number = 7; number < 32; ++number) {
    boards[number] = discovery_record(fc_device);
  }
  expect_discovery(boards);

  const AllocationWatch memory;
  EXPECT_EQ(OVK_InitDiagEnv(nullptr, 0), 26U);
  EXPECT_EQ(memory.allocations(), 0);
  EXPECT_EQ(ovravn_brdCnt, 26U);
  std::vector<std::int32_t> expected(32, -1);
  expected[0] = 5;
  std::iota(expected.begin() + 1, expected.begin() + 26, 7);
  EXPECT_THAT(ovk_brdno, testing::ElementsAreArray(expected));
  EXPECT_THAT(bytes_of(ovk_refresh_timer), SameBytes(ByteVector(sizeof ovk_refresh_timer)));
  EXPECT_THAT(bytes_of(ovk_rststatistics), SameBytes(ByteVector(sizeof ovk_rststatistics)));
}

TEST_F(BoardTest, DescribesBoardsUpToTheCapacityByteForByte) {
  ovk_state[1] = 77;
  const ByteVector record = discovery_record(fc_device, 0x80);
  expect_discovery({{4, record}, {5, discovery_record(fc_device)}});
  std::vector boards(2, record_of<DiagBoardEntry>(untouched));
  EXPECT_EQ(OVK_InitDiagEnv(boards.data(), 1), 2U);
  ByteVector expected = described<DiagBoardEntry>(
      record, {{28, 0, 12}, {40, 80, 1}, {42, 12, 2}, {44, 16, 60}, {104, 76, 4}});
  expected[41] = 10;
  EXPECT_THAT(bytes_of(boards), SameBytes(expected));

  EXPECT_EQ(ovk_state[0], OVK_BOARD_NOT_READY);
  EXPECT_EQ(ovk_state[1], 77) << "a board beyond the capacity gets no state";
  EXPECT_EQ(ovk_brdno[1], 5) << "but it is mapped";
}

TEST_F(BoardTest, LegacyInitialisationKeepsOldMappingsAndFillsShortRecords) {
  ovk_brdno[7] = 30;
  const ByteVector record = discovery_record(fc_device);
  expect_discovery({{0, record}});
  std::vector boards(2, record_of<LegacyBoardEntry>(untouched));
  EXPECT_EQ(InitDiagEnv(boards.data()), 1U);
  EXPECT_THAT(bytes_of(boards), SameBytes(described<LegacyBoardEntry>(
                                    record, {{28, 0, 12}, {43, 12, 1}, {44, 16, 56}})));
  EXPECT_EQ(ovk_state[0], OVK_BOARD_NORMAL);
  EXPECT_EQ(ovk_brdno[0], 0);
  EXPECT_EQ(ovk_brdno[1], static_cast<std::int32_t>(board1));
  EXPECT_EQ(ovk_brdno[7], 30);
}

TEST_F(BoardTest, AHostWithoutAChannelHasNoBoardsAndIsAskedAgain) {
  channel.open_result = 19;
  EXPECT_EQ(OVK_InitDiagEnv(nullptr, 0), 0U);
  EXPECT_EQ(InitDiagEnv(nullptr), 0U);
  EXPECT_EQ(channel.opened, 2);
  EXPECT_EQ(ovk_brdno[0], static_cast<std::int32_t>(board0));
  EXPECT_EQ(ovravn_brdCnt, 2U);
  EXPECT_EQ(refcnt, 0);
}

TEST_F(BoardTest, DiscoveryLogsBoardsUnderTheirDriverNumberAndIsSilentAboutAbsentOnes) {
  in_fresh_process([this] {
    configure_log("log 6");
    expect_discovery({{3, discovery_record(fc_device)}});
    OVK_InitDiagEnv(nullptr, 0);
    EXPECT_THAT(log_file(), testing::Contains(LogLine{"OVK_InitDiagEnv",
                                                      "cmd ok:            RAVN_MGMT_INITBRDS "
                                                      "brd[3] id"}));
    EXPECT_EQ(log_file().size(), 3U) << "the two lines of a start, and one of a board";
  });
}

class BoardStateTest : public LibraryTest {
 protected:
  Exchange& expect_sub_command(std::uint32_t sub_command, std::uint32_t answered_state) {
    return channel.expect("RAVN_MGMT_SETDIAG", board0)
        .word(6, sub_command)
        .answers(4, answered_state);
  }
};

TEST_F(BoardStateTest, ModeTwoWaitsInSecondsForABoardThatOnlyTheDriverReportsNotReady) {
  log_at(OVK_LOG_CALL);
  struct {
    std::int32_t state;
    std::vector<std::uint32_t> reported;
    std::optional<std::uint32_t> entered;
    std::int32_t result;
  } const cases[] = {{1, {2, 2, 1}, 2, 2}, {2, {2}, {}, 2}, {2, {1}, 7, 7}};
  for (const auto& [state, reported, entered, result] : cases) {
    ovk_state[0] = state;
    host().sleeps.clear();
    for (const std::uint32_t report : reported) {
      expect_sub_command(16, report);
    }
    if (entered) {
      expect_sub_command(18, *entered);
    }
    EXPECT_EQ(SetBrdEnv(0, 2), result);
    EXPECT_EQ(ovk_state[0], result);
    EXPECT_EQ(host().sleeps, std::vector<std::uint64_t>(reported.size() - 1, 1000000));
  }
  EXPECT_THAT(log_lines(), testing::Each(testing::Field(&LogLine::function, "SetBrdEnv")));
}

TEST_F(BoardStateTest, AFailedQueryEndsTheWaitAndKeepsTheState) {
  ovk_state[0] = 1;
  expect_sub_command(16, 3).delivery_error(1);
  EXPECT_EQ(SetBrdEnv(0, 2), 0);
  EXPECT_EQ(ovk_state[0], 1);
}

TEST_F(BoardStateTest, AllBoardsAreSetInOrderUpToTheFirstFailure) {
  expect_sub_command(17, 3);
  channel.expect("RAVN_MGMT_SETDIAG", board1).word(6, 17).answers(4, 6);
  EXPECT_EQ(SetDiagEnv(1), 6);

  expect_sub_command(17, 0);
  EXPECT_EQ(SetDiagEnv(1), 0);

  ovravn_brdCnt = 0;
  EXPECT_EQ(SetDiagEnv(1), 0);
}

TEST_F(BoardStateTest, ABoardBeyondTheTablesIsNeverKnownToBeThere) {
  for (const auto& [sub_command, state] : {std::pair{16U, 2U}, {16U, 1U}, {18U, 9U}}) {
    channel.expect("RAVN_MGMT_SETDIAG", unmapped_number).word(6, sub_command).answers(4, state);
  }
  EXPECT_EQ(SetBrdEnv(32, 2), 9);
}

}  // namespace
}  // namespace ovk::test
