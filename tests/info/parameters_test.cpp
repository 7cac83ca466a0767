#include "tests/support/library_test.h"

#include <ovk/info.h>

#include <cstring>
#include <vector>

namespace ovk::test {
namespace {

constexpr std::uint32_t table_size = 10560;

class ParametersTest : public LibraryTest {
 protected:
  Exchange& expect_table(std::uint32_t reported_bytes) {
    return channel.expect("RAVN_MGMT_GETCFG", board0)
        .word(2, table_size)
        .answers(3, reported_bytes)
        .replies(1, ByteVector(132, 0xA7));
  }

  ByteVector table_bytes() {
    ByteVector bytes(table_size);
    std::memcpy(bytes.data(), table.data(), bytes.size());
    return bytes;
  }

  std::vector<CfgParam> table{OVK_MAX_CFG_PARAMS, CfgParam{{0xEE}}};
};

TEST_F(ParametersTest, CountsTheWholeEntriesThatTheDriverReports) {
  struct Case {
    std::uint32_t reported_bytes;
    std::uint32_t count;
  };
  for (const Case& c : {Case{131, 0}, Case{132, 1}, Case{10559, 79}, Case{10560, 80}}) {
    expect_table(c.reported_bytes);
    EXPECT_EQ(GetCfgParam(0, table.data()), c.count);
  }
}

TEST_F(ParametersTest, TheDriverFillsATableThatWasCleared) {
  expect_table(132).meanwhile([this] { EXPECT_EQ(table_bytes(), ByteVector(table_size)); });
  GetCfgParam(0, table.data());
  ByteVector expected(table_size);
  std::fill_n(expected.begin(), 132, std::uint8_t{0xA7});
  EXPECT_EQ(table_bytes(), expected);
}

TEST_F(ParametersTest, AFailureGivesAnEmptyClearedTable) {
  expect_table(132).status(0x0BAD0001);
  EXPECT_EQ(GetCfgParam(0, table.data()), 0U);
  EXPECT_EQ(table_bytes(), ByteVector(table_size));
  expect_table(132).delivery_error(1);
  EXPECT_EQ(GetCfgParam(0, table.data()), 0U);
  EXPECT_EQ(table_bytes(), ByteVector(table_size));
}

TEST_F(ParametersTest, AParameterIsSetByItsIndex) {
  const auto expect_set = [this]() -> Exchange& {
    return channel.expect("RAVN_MGMT_SETCFG", board1).word(1, 7).word(4, 0x80000001);
  };
  expect_set();
  EXPECT_EQ(SetCfgParam(1, 7, 0x80000001), OVK_OK);
  expect_set().status(0x0BAD0021);
  EXPECT_EQ(SetCfgParam(1, 7, 0x80000001), OVK_FAILED);
  expect_set().delivery_error(22);
  EXPECT_EQ(SetCfgParam(1, 7, 0x80000001), OVK_FAILED);
}

}  // namespace
}  // namespace ovk::test
