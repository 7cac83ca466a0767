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
  Exchange& expect_location() {
    return channel.expect("RAVN_MGMT_GET_PCI_SBDF", board0).replies(1, ByteVector(24, 0xA7));
  }

  TrunkInfo trunk{};
  PciIds ids{};
};

TEST_F(LocationTest, DeliversTheDriversTrunkRecord) {
  expect_trunk();
  EXPECT_EQ(OVK_GetTrunkInfo(0, &trunk), OVK_OK);
  EXPECT_EQ(bytes_of(trunk), ByteVector(12, 0xA7));
}

TEST_F(LocationTest, TheTrunkStatusDecidesBeforeTheDelivery) {
  for (const auto& [status, delivery, result] :
       {Ending{0x0BAD0020, 0, 2}, Ending{0x0BAD0020, 22, 2}, Ending{0x0BAD0021, 0, 1},
        Ending{0x0BAD0021, 22, 1}, Ending{0, 22, 3}, Ending{0, 5, 1}}) {
    expect_trunk().ends_with(status, delivery);
    EXPECT_EQ(OVK_GetTrunkInfo(0, &trunk), result) << status << ", " << delivery;
  }
  EXPECT_EQ(OVK_GetTrunkInfo(0, nullptr), 7U);
  EXPECT_EQ(bytes_of(trunk), ByteVector(12));
}

TEST_F(LocationTest, APciLocationIsDeliveredAndItsFailureNotLogged) {
  log_at(OVK_LOG_SUCCESS | OVK_LOG_ERROR);
  expect_location().status(0x0BAD0021);
  EXPECT_EQ(OVK_GetPCIIds(0, &ids), OVK_FAILED);
  expect_location().delivery_error(5);
  EXPECT_EQ(OVK_GetPCIIds(0, &ids), OVK_FAILED);
  EXPECT_EQ(bytes_of(ids), ByteVector(24));
  EXPECT_THAT(log_lines(), testing::IsEmpty());

  expect_location();
  EXPECT_EQ(OVK_GetPCIIds(0, &ids), OVK_OK);
  EXPECT_EQ(bytes_of(ids), ByteVector(24, 0xA7));
  EXPECT_THAT(log_lines(),
              testing::ElementsAre(
                  LogLine{"OVK_GetPCIIds", "cmd ok:        RAVN_MGMT_GET_PCI_SBDF brd[0] id"}));
}

}  // namespace
}  // namespace ovk::test
