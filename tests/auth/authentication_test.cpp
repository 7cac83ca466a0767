#include "tests/support/library_test.h"

#include <ovk/auth.h>

#include <cstring>
#include <functional>
#include <string_view>

namespace ovk::test {
namespace {

constexpr Wwn first{{0x10, 0, 0, 0x90, 0xfa, 1, 2, 3}};
constexpr Wwn second{{0x50, 6, 1, 0x60, 0x3b, 0x20, 4, 5}};
constexpr std::uint8_t content = 0x5A;

class AuthenticationTest : public LibraryTest {
 protected:
  AuthenticationTest() {
    std::memset(&config, content, sizeof config);
    std::memset(&password, content, sizeof password);
    std::memset(&status, content, sizeof status);
  }

  struct Call {
    std::string_view command;
    std::vector<ByteVector> payloads;  ///< what the driver must get
    std::function<std::uint32_t()> run;
  };

  std::vector<Call> calls() {
    const ByteVector config_bytes(780, content);
    const ByteVector password_bytes(280, content);
    return {
        {"RAVN_MGMT_SET_AUTH_CONFIG_V2",
         {config_bytes},
         [this] { return OVK_SetAuthConfigV2(0, &config); }},
        {"RAVN_MGMT_GET_AUTH_CONFIG_V2",
         {bytes_of(first), config_bytes, {0xC3}},
         [this] { return OVK_GetAuthConfigV2(0, first, &config, 0xC3); }},
        {"RAVN_MGMT_DEL_AUTH_CONFIG_V2",
         {config_bytes, {0}},
         [this] { return OVK_DeleteAuthConfigV2(0, &config, 0); }},
        {"RAVN_MGMT_DEL_AUTH_CONFIG_V2",
         {ByteVector(780), {0x80}},
         [] { return OVK_DeleteAuthConfigV2(0, nullptr, 0x80); }},
        {"RAVN_MGMT_PERSIST_AUTH_CONFIG", {}, [] { return OVK_PersistAuthConfig(0); }},
        {"RAVN_MGMT_DEL_AUTH_CONFIG_OBJ", {}, [] { return OVK_DeleteAuthConfigObject(0); }},
        {"RAVN_MGMT_SET_AUTH_PASSWD_V2",
         {password_bytes},
         [this] { return OVK_SetAuthPasswordV2(0, &password); }},
        {"RAVN_MGMT_GET_AUTH_PASSWD_V2",
         {password_bytes, {0xFF}},
         [this] { return OVK_GetAuthPasswordV2(0, &password, 0xFF); }},
        {"RAVN_MGMT_INIT_AUTH",
         {bytes_of(first), bytes_of(second)},
         [] { return OVK_InitiateAuthentication(0, first, second); }},
        {"RAVN_MGMT_GET_AUTH_STATUS",
         {ByteVector(40, content)},
         [this] { return OVK_GetAuthStatus(0, &status); }},
    };
  }

  Exchange& expect(const Call& call) {
    expect_sli_mode(board0, 4);
    Exchange& exchange = channel.expect(call.command, board0);
    for (std::size_t i = 0; i < call.payloads.size(); ++i) {
      exchange.sends(i + 1, call.payloads[i]);
    }
    return exchange;
  }

  AuthConfig config;
  AuthPassword password;
  AuthStatus status;
};

TEST_F(AuthenticationTest, RecordsNamesAndFlagsReachTheDriverAsTheyAre) {
  for (const Call& call : calls()) {
    expect(call);
    EXPECT_EQ(call.run(), OVK_OK) << call.command;
  }
}

TEST_F(AuthenticationTest, AnswersArriveInTheCallersRecords) {
  expect_sli_mode(board0, 4);
  channel.expect("RAVN_MGMT_SET_AUTH_CONFIG_V2", board0).replies(1, ByteVector(780, 1));
  OVK_SetAuthConfigV2(0, &config);
  EXPECT_EQ(bytes_of(config), ByteVector(780, 1));

  expect_sli_mode(board0, 4);
  channel.expect("RAVN_MGMT_GET_AUTH_CONFIG_V2", board0).replies(2, ByteVector(780, 2));
  OVK_GetAuthConfigV2(0, first, &config, 0);
  EXPECT_EQ(bytes_of(config), ByteVector(780, 2));

  expect_sli_mode(board0, 4);
  channel.expect("RAVN_MGMT_GET_AUTH_PASSWD_V2", board0).replies(1, ByteVector(280, 3));
  OVK_GetAuthPasswordV2(0, &password, 0);
  EXPECT_EQ(bytes_of(password), ByteVector(280, 3));

  expect_sli_mode(board0, 4);
  channel.expect("RAVN_MGMT_GET_AUTH_STATUS", board0).replies(1, ByteVector(40, 4));
  OVK_GetAuthStatus(0, &status);
  EXPECT_EQ(bytes_of(status), ByteVector(40, 4));
}

TEST_F(AuthenticationTest, TheDriversStatusAndThePlatformsErrorAreReturnedAsTheyAre) {
  for (const Call& call : calls()) {
    expect(call).status(0x0BAD0021);
    EXPECT_EQ(call.run(), 0x0BAD0021U) << call.command;
    expect(call).status(0x0BAD0021).delivery_error(-3);
    EXPECT_EQ(call.run(), 0xFFFFFFFDU) << call.command;
  }
}

TEST_F(AuthenticationTest, BoardsBelowSli4AreRefusedWithoutAWordToTheDriver) {
  for (const Call& call : calls()) {
    expect_sli_mode(board0, 3);
    EXPECT_EQ(call.run(), 0x8009U) << call.command;
    expect_no_sli_mode(board0);
    EXPECT_EQ(call.run(), OVK_FAILED) << call.command;
  }
}

TEST_F(AuthenticationTest, OnlyDeletingAllNeedsMemoryAndItIsFreed) {
  for (const Call& call : calls()) {
    const bool deletes_all = call.payloads.size() == 2 && call.payloads[0] == ByteVector(780);
    expect(call).status(0x0BAD0001);
    const AllocationWatch memory;
    call.run();
    EXPECT_EQ(memory.allocations(), deletes_all ? 1 : 0) << call.command;
    EXPECT_EQ(memory.outstanding(), 0) << call.command;
  }
  expect_sli_mode(board0, 4);
  const AllocationWatch memory{0};
  EXPECT_EQ(OVK_DeleteAuthConfigV2(0, &config, 1), 0x800AU);
}

TEST_F(AuthenticationTest, ThePasswordStaysOutOfTheLog) {
  std::memset(&password, 'Q', sizeof password);
  log_at(0xF);
  for (const std::uint32_t driver_status : {0U, 0x0BAD0021U}) {
    expect_sli_mode(board0, 4);
    channel.expect("RAVN_MGMT_SET_AUTH_PASSWD_V2", board0).status(driver_status);
    OVK_SetAuthPasswordV2(0, &password);
  }
  for (const LogLine& line : log_lines()) {
    EXPECT_EQ(line.text.find('Q'), std::string::npos) << line;
    EXPECT_EQ(line.text.find("5151"), std::string::npos) << line;
  }
  EXPECT_THAT(log_lines(), testing::Contains(LogLine{"OVK_SetAuthPasswordV2",
                                                     "cmd err: RAVN_MGMT_SET_AUTH_PASSWD_V2 brd[0] "
                                                     "stat[x0:xbad0021] id"}));
}

TEST_F(AuthenticationTest, TheFirstGenerationDoesNothing) {
  const std::uint32_t results[] = {OVK_GetAuthConfig(0, first, second, nullptr),
                                   OVK_SetAuthConfig(0, first, second, nullptr),
                                   OVK_DeleteAuthConfig(0, first, second),
                                   OVK_GetAuthConfigList(0, first, nullptr),
                                   OVK_GetAuthPassword(0, first, second, nullptr),
                                   OVK_SetAuthPassword(0, first, second, nullptr),
                                   OVK_EnableAuthentication(0),
                                   OVK_DisableAuthentication(0)};
  EXPECT_THAT(results, testing::Each(OVK_NOT_SUPPORTED));
}

}  // namespace
}  // namespace ovk::test
