#include "tests/support/library_test.h"

#include <ovk/core.h>

#include <cstring>

namespace ovk::test {
namespace {

class ModuleServicesTest : public LibraryTest {};

/** A signature as the library writes it over memory that is full of dots. */
VersionSignature library_signature() {
  VersionSignature signature;
  std::memset(&signature, '.', sizeof signature);
  signature.revision = 0x02000104;
  std::memcpy(signature.name, "ravn-mgmt", sizeof "ravn-mgmt");
  std::memcpy(signature.vendor, "TRV", sizeof "TRV");
  signature.callback_count = 94;
  return signature;
}

TEST_F(ModuleServicesTest, ReachTheDriverBeforeAnyBoardWasFound) {
  std::memset(ovk_brdno, 0xFF, sizeof ovk_brdno);
  const ByteVector module_record(6276, 0xA7);
  channel.expect("RAVN_MGMT_MOD_INFO", no_board).replies(1, module_record);
  ModuleInfo info{};
  EXPECT_EQ(ModInfo(&info), OVK_OK);
  EXPECT_EQ(bytes_of(info), module_record);

  LogMessage message;
  std::memset(message.text, 'm', sizeof message.text);
  channel.expect("RAVN_MGMT_LOG_MSG", no_board).sends(1, message);
  EXPECT_EQ(LogMsg(&message), OVK_OK);
}

TEST_F(ModuleServicesTest, SignaturesAreExchangedWithTextsUpToTheirTerminators) {
  VersionSignature driver_side{.revision = 0x02000103, .name = "ravn", .callback_count = 90};
  channel.expect("RAVN_MGMT_CALL_VER", no_board).replies(1, driver_side);
  VersionSignature driver{};
  VersionSignature library;
  std::memset(&library, '.', sizeof library);
  EXPECT_EQ(CallVer(&driver, &library), OVK_OK);
  EXPECT_EQ(bytes_of(driver), bytes_of(driver_side));
  EXPECT_EQ(bytes_of(library), bytes_of(library_signature()));
}

TEST_F(ModuleServicesTest, TheLibrarySignatureIsThereEvenWhenTheDriverIsNot) {
  channel.expect("RAVN_MGMT_CALL_VER", no_board).delivery_error(19);
  VersionSignature driver{};
  VersionSignature library;
  std::memset(&library, '.', sizeof library);
  EXPECT_EQ(CallVer(&driver, &library), 19U);
  EXPECT_EQ(bytes_of(library), bytes_of(library_signature()));
}

TEST_F(ModuleServicesTest, TheTestEventCarriesItsSecondArgumentBeforeItsFirst) {
  channel.expect("RAVN_MGMT_EVENT_TEST", board1).word(4, 0xB0B0).word(6, 0xA0A0);
  EXPECT_EQ(EventTest(1, 0xA0A0, 0xB0B0), OVK_OK);
}

TEST_F(ModuleServicesTest, GiveTheChannelErrorOrElseTheDriverStatusAsItIs) {
  ModuleInfo info{};
  channel.expect("RAVN_MGMT_MOD_INFO", no_board).status(0x0BAD0020);
  EXPECT_EQ(ModInfo(&info), 0x0BAD0020);
  const LogMessage message{};
  channel.expect("RAVN_MGMT_LOG_MSG", no_board).status(0x0BAD0021).delivery_error(5);
  EXPECT_EQ(LogMsg(&message), 5U);
  channel.expect("RAVN_MGMT_EVENT_TEST", board0).delivery_error(-1);
  EXPECT_EQ(EventTest(0, 0, 0), 0xFFFFFFFF);
}

TEST_F(ModuleServicesTest, LogWithoutABoardAsBoardZero) {
  log_at(OVK_LOG_CALL | OVK_LOG_ERROR);
  channel.expect("RAVN_MGMT_LOG_MSG", no_board).status(0x21);
  const LogMessage message{};
  LogMsg(&message);
  EXPECT_THAT(
      log_lines(),
      testing::ElementsAre(
          LogLine{"LogMsg", "call: RAVN_MGMT_LOG_MSG id"},
          LogLine{"LogMsg", "cmd err:            RAVN_MGMT_LOG_MSG brd[0] stat[x0:x21] id"}));
}

}  // namespace
}  // namespace ovk::test
