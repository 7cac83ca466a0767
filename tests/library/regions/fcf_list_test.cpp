#include "tests/library/regions/region_script.h"

#include <ovk/core.h>
#include <ovk/regions.h>

#include <utility>
#include <vector>

namespace ovk::test {
namespace {

constexpr std::uint32_t first_fcf = 0xffff;
constexpr std::uint32_t no_next = 0xffff;

class FcfListTest : public RegionTest {
 protected:
  FcfListTest() : memory(8 + 4 * sizeof(FcfListEntry), 0xEE) { list().value = 0x7700; }

  FcfList& list() { return *static_cast<FcfList*>(static_cast<void*>(memory.data())); }

  /** A driver's record whose bytes all tell their place. */
  static ByteVector record(std::uint8_t reported = 1, std::uint8_t flag18 = 1) {
    return patched(counted_bytes(556), {{18, {flag18}}, {31, {reported}}});
  }

  /** What the caller gets of it. */
  static ByteVector entry(std::uint8_t flag18 = 1) {
    constexpr std::size_t fields[][3] = {{20, 0, 8},   {548, 8, 8},   {12, 16, 4},
                                         {16, 20, 2},  {36, 24, 512}, {28, 536, 2},
                                         {30, 538, 1}, {4, 540, 4},   {8, 548, 4}};
    const ByteVector from = record();
    ByteVector bytes(sizeof(FcfListEntry));
    for (const auto& [at, to, size] : fields) {
      std::copy_n(from.data() + at, size, bytes.data() + to);
    }
    bytes[22] = flag18;
    return bytes;
  }

  /** Expects the way through a table of records, each with the index that follows. */
  Exchange& expect_walk(const std::vector<std::pair<std::uint32_t, ByteVector>>& steps) {
    expect_sli_mode(board0, sli4);
    std::uint32_t index = first_fcf;
    Exchange* last = nullptr;
    for (const auto& [next, payload] : steps) {
      last = &channel.expect("RAVN_MGMT_HBA_GET_FCF_LIST", board0)
                  .word(1, index)
                  .answers(4, next)
                  .answers(5, 0x10000 + next)
                  .replies(1, payload);
      index = next;
    }
    return *last;
  }

  std::uint32_t run(std::uint16_t room) {
    list().count = room;
    return OVK_FCoEGetFCFList(0, &list());
  }

  /** Checks that the caller's memory got these entries and nothing behind them. */
  void expect_entries(const std::vector<ByteVector>& entries) {
    ByteVector expected;
    for (const ByteVector& bytes : entries) {
      expected.insert(expected.end(), bytes.begin(), bytes.end());
    }
    expected.resize(4 * sizeof(FcfListEntry), 0xEE);
    EXPECT_THAT((ByteVector{memory.begin() + 8, memory.end()}), SameBytes(expected));
  }

  ByteVector memory;
};

TEST_F(FcfListTest, WalksTheTableAndSkipsRecordsThatAreNotReported) {
  expect_walk({{3, record()}, {9, record(0)}, {0x12, record(0x80, 2)}, {no_next, record()}});
  EXPECT_EQ(run(4), 0U);
  EXPECT_EQ(list().count, 3);
  EXPECT_EQ(list().value, 0xffff) << "the last reply's, in 16 bits";
  expect_entries({entry(), entry(0), entry()});
}

TEST_F(FcfListTest, CountsWhatFindsNoRoom) {
  expect_walk({{1, record()}, {2, record()}, {no_next, record()}});
  EXPECT_EQ(run(2), 7U);
  EXPECT_EQ(list().count, 3);
  expect_entries({entry(), entry()});
}

TEST_F(FcfListTest, AnEmptyRecordEndsTheTable) {
  expect_walk({{5, {}}});
  EXPECT_EQ(run(4), 0U);
  EXPECT_EQ(list().count, 0);
  EXPECT_EQ(list().value, 5);
}

TEST_F(FcfListTest, AFailureEndsTheTableWithoutAnError) {
  expect_walk({{4, record()}, {9, record()}}).answers(5, 0x0102).status(0x0BAD0001);
  EXPECT_EQ(run(4), 0U);
  EXPECT_EQ(list().count, 1);
  EXPECT_EQ(list().value, 0x0102);

  list().value = 0x7700;
  expect_walk({{4, record()}}).answers(5, 0x0102).delivery_error(3);
  EXPECT_EQ(run(4), 0U);
  EXPECT_EQ(list().count, 0);
  EXPECT_EQ(list().value, 0x7802) << "added to the caller's";
}

TEST_F(FcfListTest, ATableWithoutAnEndIsLeftWhenTheCountCouldBeFull) {
  expect_walk({{0, record()}});
  for (int step = 1; step < 0xffff; ++step) {
    channel.expect("RAVN_MGMT_HBA_GET_FCF_LIST", board0).replies(1, record(step % 2 == 0 ? 1 : 0));
  }
  EXPECT_EQ(run(2), 7U);
  EXPECT_EQ(list().count, 0x8000) << "every second FCF is reported";
}

TEST_F(FcfListTest, OlderBoardsHaveNoTable) {
  log_at(OVK_LOG_ERROR);
  expect_gate([this] { return run(4); }, sli3, 2);
  EXPECT_THAT(raw_log(), testing::EndsWith(" ERROR: sliMode 3 not supported\n\n"));
  EXPECT_EQ(list().count, 4);
}

}  // namespace
}  // namespace ovk::test
