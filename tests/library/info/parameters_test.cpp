#include "tests/support/library_test.h"

#include <ovk/info.h>

#include <utility>

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

  std::uint32_t get() {
    void* memory = table.data();
    return GetCfgParam(0, static_cast<CfgParam*>(memory));
  }

  ByteVector table = ByteVector(table_size, 0xEE);
};

TEST_F(ParametersTest, CountsTheWholeEntriesThatTheDriverReportsInATableThatWasCleared) {
  ByteVector expected(132, 0xA7);
  expected.resize(table_size);
  using Case = std::pair<std::uint32_t, std::uint32_t>;
  for (const auto& [reported_bytes, count] :
       {Case{131, 0}, Case{132, 1}, Case{10559, 79}, Case{10560, 80}}) {
    table.assign(table_size, 0xEE);
    expect_table(reported_bytes).meanwhile([this] {
      EXPECT_THAT(table, SameBytes(ByteVector(table_size)));
    });
    EXPECT_EQ(get(), count);
    EXPECT_THAT(table, SameBytes(expected)) << reported_bytes;
  }
}

}  // namespace
}  // namespace ovk::test
