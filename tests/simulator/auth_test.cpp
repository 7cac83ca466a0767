#include "tests/simulator/simulator_test.h"

#include <algorithm>
#include <string_view>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using enum DriverStatus;
using Name = std::array<std::uint8_t, 8>;

constexpr Name local{0x10, 0, 2, 0, 0, 0, 0, 1};
constexpr Name second_port{0x10, 0, 2, 0, 0, 0, 0, 2};
constexpr Name third_port{0x10, 0, 2, 0, 0, 0, 0, 3};
constexpr Name nobody{};

struct Config {
  Name local_port;
  Name remote_port;
  std::uint8_t mode, bidirectional;
  std::uint16_t timeout;
  std::uint8_t hash_count, hashes[4], group_count, groups[6];
  std::uint32_t interval;
  std::uint8_t reserved[744];
};

struct Password {
  Name local_port;
  Name remote_port;
  std::uint8_t local_type, local_length, remote_type, remote_length;
  char local_secret[128];
  char remote_secret[128];
  std::uint32_t reserved;
};

struct Status {
  Name local_port;
  Name remote_port;
  std::uint8_t state, bidirectional, hash, group;
  std::uint32_t reason, attempts, time, interval, reserved;
};

static_assert(sizeof(Config) == 780);
static_assert(sizeof(Password) == 280);
static_assert(sizeof(Status) == 40);

Config config_for(const Name& remote, std::uint8_t bidirectional = 0) {
  return {.local_port = local,
          .remote_port = remote,
          .mode = 1,
          .bidirectional = bidirectional,
          .hash_count = 2,
          .hashes = {2, 1},
          .group_count = 1,
          .groups = {5}};
}

Password password_for(const Name& remote, std::string_view own, std::string_view peers = {}) {
  Password password{.local_port = local, .remote_port = remote};
  password.local_type = 1;
  password.local_length = static_cast<std::uint8_t>(own.size());
  std::ranges::copy(own, password.local_secret);
  password.remote_type = peers.empty() ? 0 : 1;
  password.remote_length = static_cast<std::uint8_t>(peers.size());
  std::ranges::copy(peers, password.remote_secret);
  return password;
}

class AuthTest : public SimulatorTest {
 protected:
  AuthTest() {
    use_topology(one_board_with(R"("auth": {"peers": [{"port_wwn": "1000020000000002",
        "expects": "the board's key", "answers_with": "the peer's key"}]})"));
  }

  DriverStatus set(Config config) { return send("RAVN_MGMT_SET_AUTH_CONFIG_V2", {}, &config); }
  DriverStatus set(Password password) {
    return send("RAVN_MGMT_SET_AUTH_PASSWD_V2", {}, &password);
  }
  DriverStatus authenticate(Name remote, Name from = local) {
    return send("RAVN_MGMT_INIT_AUTH", {}, &from, &remote);
  }
  /** Gives the entry that the record names, or with a flag of 1 the one after it. */
  DriverStatus get(Config& config, std::uint8_t flag) {
    Name name = config.local_port;
    return send("RAVN_MGMT_GET_AUTH_CONFIG_V2", {}, &name, &config, &flag);
  }
  DriverStatus remove(Config config) {
    std::uint8_t flag = 0;
    return send("RAVN_MGMT_DEL_AUTH_CONFIG_V2", {}, &config, &flag);
  }
  Status status_of(const Name& remote) {
    Status status{.local_port = local, .remote_port = remote};
    EXPECT_EQ(send("RAVN_MGMT_GET_AUTH_STATUS", {}, &status), success);
    return status;
  }
};

TEST_F(AuthTest, PasswordsAndStatusLastBeyondARestartWhenTheyArePersisted) {
  use_state();
  ASSERT_EQ(set(config_for(second_port)), success);
  ASSERT_EQ(set(password_for(second_port, "the board's key")), success);
  ASSERT_EQ(authenticate(second_port), success);
  ASSERT_EQ(send("RAVN_MGMT_PERSIST_AUTH_CONFIG", {}), success);
  ASSERT_EQ(set(config_for(third_port)), success);
  restart();
  EXPECT_EQ(status_of(second_port).state, 1);
  Config config{.local_port = local, .remote_port = second_port};
  EXPECT_EQ(get(config, 1), not_found) << "the other entry came after";
  ASSERT_EQ(authenticate(second_port), success);
  EXPECT_EQ(status_of(second_port).reason, 0U) << "with the password that was kept";
}

TEST_F(AuthTest, EntriesCanBeWalkedAndDeletedOneByOne) {
  ASSERT_EQ(set(config_for(third_port)), success);
  ASSERT_EQ(set(config_for(second_port)), success);
  Config config{.local_port = local, .remote_port = nobody};
  for (const Name& expected : {second_port, third_port}) {
    EXPECT_EQ(get(config, 1), success);
    EXPECT_EQ(config.remote_port, expected);
  }
  EXPECT_EQ(get(config, 1), not_found);

  EXPECT_EQ(get(config, 0), success);
  EXPECT_EQ(remove(config), success);
  EXPECT_EQ(remove(config), not_found);
  EXPECT_EQ(get(config, 0), not_found);
  config.remote_port = second_port;
  EXPECT_EQ(get(config, 1), not_found);
}

TEST_F(AuthTest, AuthenticationSucceedsOnlyWithTheSecretsThatThePeerHas) {
  struct {
    std::uint8_t bidirectional;
    const char* own;
    const char* peers;
    std::uint32_t reason;
  } const cases[] = {{0, "the board's key", "", 0},
                     {0, "another key of it", "", 3},
                     {1, "the board's key", "the peer's key", 0},
                     {1, "the board's key", "not the peer's", 4},
                     {1, "the board's key", "", 1}};
  std::uint32_t attempts = 0;
  for (const auto& c : cases) {
    ASSERT_EQ(set(config_for(second_port, c.bidirectional)), success);
    ASSERT_EQ(set(password_for(second_port, c.own, c.peers)), success);
    ASSERT_EQ(authenticate(second_port), success);
    const Status status = status_of(second_port);
    EXPECT_EQ(status.state, c.reason == 0 ? 1 : 2);
    EXPECT_EQ(status.reason, c.reason) << c.own;
    EXPECT_EQ(status.attempts, ++attempts);
  }
  ASSERT_EQ(set(config_for(third_port)), success);
  EXPECT_EQ(status_of(third_port).state, 0);
  ASSERT_EQ(authenticate(third_port), success);
  EXPECT_EQ(status_of(third_port).reason, 1U) << "no password";
  ASSERT_EQ(set(password_for(third_port, "some long key")), success);
  ASSERT_EQ(authenticate(third_port), success);
  EXPECT_EQ(status_of(third_port).reason, 2U) << "the peer does not authenticate";
  EXPECT_EQ(authenticate(local, second_port), not_found) << "the local port comes first";
}

TEST_F(AuthTest, PasswordsAreCheckedAndNeverGivenBack) {
  EXPECT_EQ(set(password_for(second_port, "the board's key")), not_found);
  ASSERT_EQ(set(config_for(second_port)), success);
  EXPECT_EQ(set(password_for(second_port, "too short")), not_permitted);
  EXPECT_EQ(set(password_for(second_port, "one key for both", "one key for both")), not_permitted);
  ASSERT_EQ(set(password_for(second_port, "the board's key")), success);

  Password password{.local_port = local, .remote_port = second_port};
  std::uint8_t flag = 1;
  ASSERT_EQ(send("RAVN_MGMT_GET_AUTH_PASSWD_V2", {}, &password, &flag), success);
  EXPECT_EQ(password.local_length, 15);
  EXPECT_THAT(password.local_secret, testing::Each('\0'));
}

TEST_F(AuthTest, ConfigurationsThatMakeNoSenseAreRefused) {
  const std::pair<void (*)(Config&), DriverStatus> mistakes[] = {
      {[](Config& c) { c.local_port = second_port; }, not_found},
      {[](Config& c) { c.mode = 3; }, not_permitted},
      {[](Config& c) { c.hash_count = 0; }, not_permitted},
      {[](Config& c) { c.hash_count = 255; }, not_permitted},
      {[](Config& c) { c.hashes[1] = 4; }, not_permitted},
      {[](Config& c) { c.groups[0] = 7; }, not_permitted}};
  for (std::size_t i = 0; i < std::size(mistakes); ++i) {
    Config config = config_for(second_port);
    mistakes[i].first(config);
    EXPECT_EQ(set(config), mistakes[i].second) << i;
  }

  use_topology(one_board);
  EXPECT_EQ(set(config_for(second_port)), not_supported);
}

}  // namespace

}  // namespace ravnsim::test
