#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/info.h>

#include <utility>

namespace ovk::test {
namespace {

class VpdTest : public LibraryTest {};

TEST_F(VpdTest, SendsTheCallersFirstWordAndDeliversTheRecord) {
  const ByteVector record(sizeof(VpdInfo), 0xA7);
  channel.expect("RAVN_MGMT_GET_VPD", board1).word(6, 0x1234).replies(1, record);
  VpdInfo info{.word0 = 0x1234};
  EXPECT_EQ(GetVPDInfo(1, &info), OVK_OK);
  EXPECT_THAT(bytes_of(info), SameBytes(record));
}

TEST_F(VpdTest, TellsAnAbsentRecordFromOtherFailuresAndTouchesNothing) {
  VpdInfo info{};
  struct {
    std::uint32_t status;
    int delivery;
    std::int32_t result;
  } const cases[] = {{0x0BAD0084, 0, 1}, {0x0BAD0084, 5, 1}, {0x0BAD0021, 0, 3}, {0, 1, 3}};
  for (const auto& [status, delivery, result] : cases) {
    channel.expect("RAVN_MGMT_GET_VPD", board0)
        .replies(1, ByteVector(616, 0xA7))
        .ends_with(status, delivery);
    EXPECT_EQ(GetVPDInfo(0, &info), result) << std::hex << status << ", " << delivery;
  }
  EXPECT_THAT(bytes_of(info), SameBytes(ByteVector(sizeof info)));
}

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

TEST_F(LogicalSpeedTest, AFailureLeavesTheSpeedUntouchedAndIsLoggedAsAVpdQuery) {
  expect_gate([this] { return OVK_GetQoSLinkSpeed(0, &speed); }, 3, OVK_NOT_SUPPORTED);
  log_at(OVK_LOG_ERROR);
  expect_query().answers(4, 80).status(0x0BAD0020);
  EXPECT_EQ(OVK_GetQoSLinkSpeed(0, &speed), OVK_FAILED);
  EXPECT_EQ(speed, 0xEEEE);
  EXPECT_THAT(log_lines(), testing::ElementsAre(LogLine{"OVK_GetQoSLinkSpeed",
                                                        "cmd err:            RAVN_MGMT_GET_VPD "
                                                        "brd[0] stat[x0:xbad0020] id"}));
}

}  // namespace
}  // namespace ovk::test
