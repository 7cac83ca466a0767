#include "tests/support/library_test.h"

#include <ovk/auth.h>

#include <functional>
#include <string_view>

namespace ovk::test {
namespace {

using testing::ContainsRegex, testing::Each, testing::Field, testing::Not;

constexpr Wwn first{{0x10, 0, 2, 0, 0x54, 1, 2, 3}};
constexpr Wwn second{{0x10, 0, 2, 0x0a, 0x54, 0x20, 4, 5}};
constexpr std::uint8_t content = 0x5A;

class AuthenticationTest : public LibraryTest {
 protected:
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

  AuthConfig config = record_of<AuthConfig>(content);
  AuthPassword password = record_of<AuthPassword>(content);
  AuthStatus status = record_of<AuthStatus>(content);
};

TEST_F(AuthenticationTest, RecordsNamesAndFlagsReachTheDriverAsTheyAre) {
  for (const Call& call : calls()) {
    const bool deletes_all = call.payloads.size() == 2 && call.payloads[0] == ByteVector(780);
    expect(call);
    const AllocationWatch memory;
    EXPECT_EQ(call.run(), OVK_OK) << call.command;
    EXPECT_EQ(memory.allocations(), deletes_all ? 1 : 0) << call.command;
    EXPECT_EQ(memory.outstanding(), 0) << call.command;
  }
}

TEST_F(AuthenticationTest, AnswersArriveInTheCallersRecords) {
  const auto answer = [this](const char* command, std::size_t payload, const ByteVector& record) {
    expect_sli_mode(board0, 4);
    channel.expect(command, board0).replies(payload, record);
  };
  answer("RAVN_MGMT_SET_AUTH_CONFIG_V2", 1, ByteVector(780, 1));
  OVK_SetAuthConfigV2(0, &config);
  EXPECT_THAT(bytes_of(config), SameBytes(ByteVector(780, 1)));
  answer("RAVN_MGMT_GET_AUTH_CONFIG_V2", 2, ByteVector(780, 2));
  OVK_GetAuthConfigV2(0, first, &config, 0);
  EXPECT_THAT(bytes_of(config), SameBytes(ByteVector(780, 2)));
  answer("RAVN_MGMT_GET_AUTH_PASSWD_V2", 1, ByteVector(280, 3));
  OVK_GetAuthPasswordV2(0, &password, 0);
  EXPECT_THAT(bytes_of(password), SameBytes(ByteVector(280, 3)));
  answer("RAVN_MGMT_GET_AUTH_STATUS", 1, ByteVector(40, 4));
  OVK_GetAuthStatus(0, &status);
  EXPECT_THAT(bytes_of(status), SameBytes(ByteVector(40, 4)));
}

TEST_F(AuthenticationTest, ResultsAreThePlatformsErrorTheDriversStatusOrTheGates) {
  for (const Call& call : calls()) {
    SCOPED_TRACE(call.command);
    expect(call).status(0x0BAD0021);
    EXPECT_EQ(call.run(), 0x0BAD0021U);
    expect(call).ends_with(0x0BAD0021, -3);
    EXPECT_EQ(call.run(), 0xFFFFFFFDU);
    expect_gate(call.run, 3, 0x8009);
  }
  expect_sli_mode(board0, 4);
  const AllocationWatch memory{0};
  EXPECT_EQ(OVK_DeleteAuthConfigV2(0, &config, 1), 0x800AU);
}

TEST_F(AuthenticationTest, ThePasswordStaysOutOfTheLog) {
  password = record_of<AuthPassword>('Q');
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
