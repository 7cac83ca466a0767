#include "tests/library/regions/region_script.h"

#include <ovk/core.h>
#include <ovk/regions.h>

#include <utility>
#include <vector>

namespace ovk::test {
namespace {

constexpr std::uint32_t list_end = 0xffff;

class FcfListTest : public RegionTest {
 protected:
  FcfList& list() { return *static_cast<FcfList*>(static_cast<void*>(memory.data())); }

  /** A driver's record whose bytes all tell their place. */
  static ByteVector record(std::uint8_t reported = 1, std::uint8_t flag18 = 1) {
    return patched(counted_bytes(556), {{18, {flag18}}, {31, {reported}}});
  }

  /** Expects the way through a table of records, each with the index that follows. */
  Exchange& expect_walk(const std::vector<std::pair<std::uint32_t, ByteVector>>& steps) {
    expect_sli_mode(board0, sli4);
    std::uint32_t index = list_end;
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

  /** Gives the call room, and checks what it makes of the list: its count, its value, and entries
      of the record with these flags, with nothing behind them. */
  void expect_list(std::uint16_t room, std::uint32_t result, std::uint16_t count,
                   std::uint16_t value, const std::vector<std::uint8_t>& flags18) {
    constexpr std::size_t fields[][3] = {{20, 0, 8},   {548, 8, 8},   {12, 16, 4},
                                         {16, 20, 2},  {36, 24, 512}, {28, 536, 2},
                                         {30, 538, 1}, {4, 540, 4},   {8, 548, 4}};
    list().count = room;
    list().value = 0x7700;
    EXPECT_EQ(OVK_FCoEGetFCFList(0, &list()), result);
    EXPECT_EQ(list().count, count);
    EXPECT_EQ(list().value, value);
    const ByteVector from = record();
    ByteVector expected = ByteVector(4 * sizeof(FcfListEntry), 0xEE);
    for (std::size_t i = 0; i < flags18.size(); ++i) {
      auto* const entry = expected.data() + i * sizeof(FcfListEntry);
      std::fill_n(entry, sizeof(FcfListEntry), std::uint8_t{0});
      for (const auto& [at, to, size] : fields) {
        std::copy_n(from.data() + at, size, entry + to);
      }
      entry[22] = flags18[i];
    }
    EXPECT_THAT((ByteVector{memory.begin() + 8, memory.end()}), SameBytes(expected));
  }

  ByteVector memory = ByteVector(8 + 4 * sizeof(FcfListEntry), 0xEE);
};

TEST_F(FcfListTest, WalksTheTableAndSkipsRecordsThatAreNotReported) {
  expect_walk({{3, record()}, {9, record(0)}, {0x12, record(0x80, 2)}, {list_end, record()}});
  expect_list(4, 0, 3, 0xffff, {1, 0, 1});  // the value is the last reply's, in 16 bits
}

TEST_F(FcfListTest, AnEmptyRecordAndAFailureEndTheTableWithoutAnError) {
  expect_walk({{5, {}}});
  expect_list(4, 0, 0, 5, {});
  expect_walk({{4, record()}}).answers(5, 0x0102).delivery_error(3);
  expect_list(4, 0, 0, 0x7802, {});  // a failure at once adds its value to the caller's
  expect_walk({{4, record()}, {9, record()}}).answers(5, 0x0102).status(0x0BAD0001);
  expect_list(4, 0, 1, 0x0102, {1});
}

TEST_F(FcfListTest, ATableWithoutAnEndIsLeftWhenTheCountCouldBeFullAndCountsWhatFindsNoRoom) {
  expect_walk({{0, record()}});
  for (int step = 1; step < 0xffff; ++step) {
    channel.expect("RAVN_MGMT_HBA_GET_FCF_LIST", board0).replies(1, record(step % 2 == 0 ? 1 : 0));
  }
  expect_list(2, 7, 0x8000, 0, {1, 1});  // every second FCF is reported
}

TEST_F(FcfListTest, OlderBoardsHaveNoTable) {
  log_at(OVK_LOG_ERROR);
  expect_gate([this] { return OVK_FCoEGetFCFList(0, &list()); }, sli3, 2);
  EXPECT_THAT(raw_log(), testing::EndsWith(" ERROR: sliMode 3 not supported\n\n"));
}

}  // namespace
}  // namespace ovk::test
