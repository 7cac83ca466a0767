#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/hbaapi.h>

#include <cstring>
#include <sstream>
#include <string>
#include <unistd.h>

namespace ovk::test {
namespace {

using CommandTest = LibraryTest;

TEST_F(CommandTest, ALogLineNamesTimeFunctionSourceLineProcessAndThread) {
  host().time = 1735732800;
  log_at(OVK_LOG_CALL);
  channel.expect("RAVN_MGMT_HBA_REFRESHINFO", board0);
  RefreshInformation(0);
  const std::string caller = "id\\[" + std::to_string(getpid()) + ":" + std::to_string(gettid());
  EXPECT_THAT(raw_log(),
              testing::MatchesRegex("2025-01-01T12:00:00        RefreshInformation:   [ 0-9][0-9] "
                                    "call: RAVN_MGMT_HBA_REFRESHINFO " +
                                    caller + "\\]\n"));
}

TEST_F(CommandTest, TheLibrarySignatureIsThereEvenWhenTheDriversIsNot) {
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

TEST(CatalogueTest, DeclaresToTheHostWhatTheDriverOffers) {
  std::ostringstream declared;  // row, id, then size and direction code of each parameter
  for (std::size_t row = 0; row < ravn_mgmt_signature.callback_count; ++row) {
    const vmk_MgmtCallbackInfo& info = ravn_mgmt_signature.callbacks[row];
    declared << row << " 0x" << std::hex << info.id << std::dec;
    for (std::size_t i = 0; i < VMK_MGMT_MAX_PARAMETERS; ++i) {
      if (i < info.parameter_count) {
        declared << " " << info.parameter_sizes[i] << ":" << info.parameter_types[i];
      } else {
        EXPECT_EQ(info.parameter_sizes[i] + info.parameter_types[i], 0U) << "row " << row;
      }
    }
    declared << "\n";
    EXPECT_EQ(info.location, 1U);
    EXPECT_EQ(info.user_function, 0U);
    EXPECT_EQ(info.synchronous, 1U);
    EXPECT_EQ(info.reserved[0] + info.reserved[1], 0);
  }
  EXPECT_EQ(declared.str(), read_file(OVK_SOURCE_DIR "/tests/library/core/driver_commands.txt"));
  EXPECT_EQ(ravn_mgmt_signature.callback_count, 94U);
  EXPECT_EQ(ravn_mgmt_signature.version, 0x02000104U);
  EXPECT_STREQ(ravn_mgmt_signature.name, "ravn-mgmt");
  EXPECT_STREQ(ravn_mgmt_signature.vendor, "TRV");
  const void* table = &ravn_mgmt_callbacks;
  EXPECT_EQ(ravn_mgmt_signature.callbacks, table);
}

}  // namespace
}  // namespace ovk::test
