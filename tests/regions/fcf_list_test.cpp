#include "tests/regions/region_script.h"

#include <ovk/core.h>
#include <ovk/regions.h>

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
    ByteVector bytes(556);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bytes[i] = static_cast<std::uint8_t>(i + i / 256);
    }
    bytes[18] = flag18;
    bytes[31] = reported;
    return bytes;
  }

  /** What the caller gets of it. */
  static ByteVector entry(std::uint8_t flag18 = 1) {
    const ByteVector from = record();
    ByteVector bytes(sizeof(FcfListEntry));
    const auto copy = [&](std::ptrdiff_t at, std::ptrdiff_t to, std::ptrdiff_t count) {
      std::copy_n(from.begin() + at, count, bytes.begin() + to);
    };
    copy(20, 0, 8);
    copy(548, 8, 8);
    copy(12, 16, 4);
    copy(16, 20, 2);
    bytes[22] = flag18;
    copy(36, 24, 512);
    copy(28, 536, 2);
    copy(30, 538, 1);
    copy(4, 540, 4);
    copy(8, 548, 4);
    return bytes;
  }

  Exchange& expect_fcf(std::uint32_t index, std::uint32_t next, const ByteVector& payload) {
    return channel.expect("RAVN_MGMT_HBA_GET_FCF_LIST", board0)
        .word(1, index)
        .answers(4, next)
        .answers(5, 0x10000 + next)
        .replies(1, payload);
  }

  std::uint32_t run(std::uint16_t room) {
    list().count = room;
    return OVK_FCoEGetFCFList(0, &list());
  }

  [[nodiscard]] ByteVector entry_bytes(std::size_t number) const {
    const auto begin =
        memory.begin() + 8 + static_cast<std::ptrdiff_t>(number * sizeof(FcfListEntry));
    return {begin, begin + sizeof(FcfListEntry)};
  }

  ByteVector memory;
};

TEST_F(FcfListTest, WalksTheTableAndSkipsRecordsThatAreNotReported) {
  expect_mode(sli4);
  expect_fcf(first_fcf, 3, record());
  expect_fcf(3, 9, record(0));
  expect_fcf(9, 0x12, record(0x80, 2));
  expect_fcf(0x12, no_next, record());
  EXPECT_EQ(run(4), 0U);
  EXPECT_EQ(list().count, 3);
  EXPECT_EQ(list().value, 0xffff) << "the last reply's, in 16 bits";
  EXPECT_EQ(entry_bytes(0), entry());
  EXPECT_EQ(entry_bytes(1), entry(0));
  EXPECT_EQ(entry_bytes(2), entry());
  EXPECT_EQ(entry_bytes(3), ByteVector(sizeof(FcfListEntry), 0xEE));
}

TEST_F(FcfListTest, CountsWhatFindsNoRoom) {
  expect_mode(sli4);
  expect_fcf(first_fcf, 1, record());
  expect_fcf(1, 2, record());
  expect_fcf(2, no_next, record());
  EXPECT_EQ(run(2), 7U);
  EXPECT_EQ(list().count, 3);
  EXPECT_EQ(entry_bytes(1), entry());
  EXPECT_EQ(entry_bytes(2), ByteVector(sizeof(FcfListEntry), 0xEE));
}

TEST_F(FcfListTest, AnEmptyRecordEndsTheTable) {
  expect_mode(sli4);
  expect_fcf(first_fcf, 5, {});
  EXPECT_EQ(run(4), 0U);
  EXPECT_EQ(list().count, 0);
  EXPECT_EQ(list().value, 5);
}

TEST_F(FcfListTest, AFailureEndsTheTableWithoutAnError) {
  expect_mode(sli4);
  expect_fcf(first_fcf, 4, record());
  expect_fcf(4, 9, record()).answers(5, 0x0102).status(0x0BAD0001);
  EXPECT_EQ(run(4), 0U);
  EXPECT_EQ(list().count, 1);
  EXPECT_EQ(list().value, 0x0102);

  list().value = 0x7700;
  expect_mode(sli4);
  expect_fcf(first_fcf, 4, record()).answers(5, 0x0102).delivery_error(3);
  EXPECT_EQ(run(4), 0U);
  EXPECT_EQ(list().count, 0);
  EXPECT_EQ(list().value, 0x7802) << "added to the caller's";
}

TEST_F(FcfListTest, ATableWithoutAnEndIsLeftWhenTheCountCouldBeFull) {
  expect_mode(sli4);
  expect_fcf(first_fcf, 0, record());
  for (int step = 1; step < 0xffff; ++step) {
    channel.expect("RAVN_MGMT_HBA_GET_FCF_LIST", board0).replies(1, record(step % 2 == 0 ? 1 : 0));
  }
  EXPECT_EQ(run(2), 7U);
  EXPECT_EQ(list().count, 0x8000) << "every second FCF is reported";
}

TEST_F(FcfListTest, OlderBoardsHaveNoTable) {
  log_at(0x4);
  expect_mode(sli3);
  EXPECT_EQ(run(4), 2U);
  EXPECT_EQ(raw_log().substr(raw_log().find("ERROR")), "ERROR: sliMode 3 not supported\n\n");
  expect_no_sli_mode(board0);
  EXPECT_EQ(run(4), 1U);
  EXPECT_EQ(list().count, 4);
}

}  // namespace
}  // namespace ovk::test
