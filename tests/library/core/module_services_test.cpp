#include "tests/support/library_test.h"

#include <ovk/core.h>

#include <cstring>

namespace ovk::test {
namespace {

class ModuleServicesTest : public LibraryTest {};

TEST_F(ModuleServicesTest, TheLibrarySignatureIsThereEvenWhenTheDriversIsNot) {
  auto expected = record_of<VersionSignature>('.');
  expected.revision = 0x02000104;
  std::memcpy(expected.name, "ravn-mgmt", sizeof "ravn-mgmt");
  std::memcpy(expected.vendor, "TRV", sizeof "TRV");
  expected.callback_count = 94;
  const VersionSignature driver_side{.revision = 0x02000103, .name = "ravn", .callback_count = 90};
  for (const int delivery : {0, 19}) {
    channel.expect("RAVN_MGMT_CALL_VER", no_board).replies(1, driver_side).delivery_error(delivery);
    VersionSignature driver{};
    auto library = record_of<VersionSignature>('.');
    EXPECT_EQ(CallVer(&driver, &library), static_cast<std::uint32_t>(delivery));
    EXPECT_THAT(bytes_of(driver), SameBytes(bytes_of(driver_side)));
    EXPECT_THAT(bytes_of(library), SameBytes(bytes_of(expected))) << "texts end at terminators";
  }
}

}  // namespace
}  // namespace ovk::test
