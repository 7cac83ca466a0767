#include "tests/support/library_test.h"

#include <ovk/core.h>

#include <cstring>

namespace ovk::test {
namespace {

using ModuleServicesTest = LibraryTest;

TEST_F(ModuleServicesTest, TheLibrarySignatureIsThereEvenWhenTheDriversIsNot) {
  auto expected = record_of<VersionSignature>('.');
  expected.revision = 0x02000104;
  std::memcpy(expected.name, "ravn-mgmt", sizeof "ravn-mgmt");
  std::memcpy(expected.vendor, "TRV", sizeof "TRV");
  expected.callback_count = 94;
  channel.expect("RAVN_MGMT_CALL_VER", no_board).delivery_error(19);
  VersionSignature driver{};
  auto library = record_of<VersionSignature>('.');
  EXPECT_EQ(CallVer(&driver, &library), 19U);
  EXPECT_THAT(bytes_of(library), SameBytes(bytes_of(expected))) << "texts end at terminators";
}

}  // namespace
}  // namespace ovk::test
