#include "tests/support/library_test.h"

#include <ovk/auth.h>

namespace ovk::test {
namespace {

using testing::ContainsRegex, testing::Each, testing::Field, testing::Not;

using AuthenticationTest = LibraryTest;

TEST_F(AuthenticationTest, ThePasswordStaysOutOfTheLog) {
  const auto password = record_of<AuthPassword>('Q');
  log_at(0xF);
  for (const std::uint32_t driver_status : {0U, 0x0BAD0021U}) {
    expect_sli_mode(board0, 4);
    channel.expect("RAVN_MGMT_SET_AUTH_PASSWD_V2", board0).status(driver_status);
    OVK_SetAuthPasswordV2(0, &password);
  }
  EXPECT_THAT(log_lines(), Each(Field(&LogLine::text, Not(ContainsRegex("Q|5151")))));
  EXPECT_THAT(log_lines(), testing::Contains(LogLine{"OVK_SetAuthPasswordV2",
                                                     "cmd err: RAVN_MGMT_SET_AUTH_PASSWD_V2 brd[0] "
                                                     "stat[x0:xbad0021] id"}));
}

}  // namespace
}  // namespace ovk::test
