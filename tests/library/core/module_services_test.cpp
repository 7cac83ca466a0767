#include "tests/support/library_test.h"

#include <ovk/core.h>

#include <cstring>

namespace ovk::test {
namespace {

class ModuleServicesTest : public LibraryTest {};

TEST_F(ModuleServicesTest, ReachTheDriverBeforeAnyBoardWasFound) {
  std::memset(ovk_brdno, 0xFF, sizeof ovk_brdno);
  const ByteVector module_record(6276, 0xA7);
  channel.expect("RAVN_MGMT_MOD_INFO", no_board).replies(1, module_record);
  ModuleInfo info{};
  EXPECT_EQ(ModInfo(&info), OVK_OK);
  EXPECT_THAT(bytes_of(info), SameBytes(module_record));

  const auto message = record_of<LogMessage>('m');
  channel.expect("RAVN_MGMT_LOG_MSG", no_board).sends(1, message);
  EXPECT_EQ(LogMsg(&message), OVK_OK);
}

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

TEST_F(ModuleServicesTest, TheTestEventCarriesItsSecondArgumentBeforeItsFirst) {
  channel.expect("RAVN_MGMT_EVENT_TEST", board1).word(4, 0xB0B0).word(6, 0xA0A0);
  EXPECT_EQ(EventTest(1, 0xA0A0, 0xB0B0), OVK_OK);
}

TEST_F(ModuleServicesTest, GiveTheChannelErrorOrElseTheDriverStatusAndLogNoBoardAsBoardZero) {
  ModuleInfo info{};
  channel.expect("RAVN_MGMT_MOD_INFO", no_board).status(0x0BAD0020);
  EXPECT_EQ(ModInfo(&info), 0x0BAD0020);
  channel.expect("RAVN_MGMT_EVENT_TEST", board0).delivery_error(-1);
  EXPECT_EQ(EventTest(0, 0, 0), 0xFFFFFFFF);
  log_at(OVK_LOG_CALL | OVK_LOG_ERROR);
  const LogMessage message{};
  channel.expect("RAVN_MGMT_LOG_MSG", no_board).ends_with(0x0BAD0021, 5);
  EXPECT_EQ(LogMsg(&message), 5U);
  EXPECT_THAT(
      log_lines(),
      testing::ElementsAre(
          LogLine{"LogMsg", "call: RAVN_MGMT_LOG_MSG id"},
          LogLine{"LogMsg", "cmd err:            RAVN_MGMT_LOG_MSG brd[0] stat[x5:xbad0021] id"}));
}

}  // namespace
}  // namespace ovk::test
