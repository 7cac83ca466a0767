#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/info.h>

#include <utility>

namespace ovk::test {
namespace {

class LogicalSpeedTest : public LibraryTest {
 protected:
  Exchange& expect_query() {
    expect_sli_mode(board0, 4);
    return channel.expect("RAVN_MGMT_GET_LOGICAL_LINK_SPEED", board0);
  }

  std::uint16_t speed = 0xEEEE;
};

TEST_F(LogicalSpeedTest, IsATenthOfTheLowHalfAndMarkedWhenTheWholeWordIsZero) {
  using Case = std::pair<std::uint32_t, std::uint16_t>;
  for (const auto& [word, expected] : {Case{0, 0xFFFF}, Case{100, 10}, Case{9, 0},
                                       Case{0x10064, 10}, Case{0x10000, 0}, Case{0xFFFF, 6553}}) {
    expect_query().answers(4, word);
    EXPECT_EQ(OVK_GetQoSLinkSpeed(0, &speed), OVK_OK);
    EXPECT_EQ(speed, expected) << word;
  }
}

}  // namespace
}  // namespace ovk::test
