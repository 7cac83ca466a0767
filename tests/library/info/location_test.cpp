#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/info.h>

namespace ovk::test {
namespace {

class LocationTest : public LibraryTest {
 protected:
  Exchange& expect_trunk() {
    return channel.expect("RAVN_MGMT_GET_TRUNK_INFO", board0)
        .word(6, 4118)
        .replies(1, ByteVector(12, 0xA7));
  }

  TrunkInfo trunk{};
};

TEST_F(LocationTest, TheTrunkStatusDecidesBeforeTheDelivery) {
  for (const auto& [status, delivery, result] :
       {Ending{0x0BAD0020, 22, 2}, Ending{0x0BAD0021, 22, 1}, Ending{0, 22, 3}}) {
    expect_trunk().ends_with(status, delivery);
    EXPECT_EQ(OVK_GetTrunkInfo(0, &trunk), result) << status << ", " << delivery;
  }
  EXPECT_EQ(OVK_GetTrunkInfo(0, nullptr), 7U);
  EXPECT_EQ(bytes_of(trunk), ByteVector(12));
}

}  // namespace
}  // namespace ovk::test
