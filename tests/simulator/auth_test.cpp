#include "tests/simulator/simulator_test.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using Name = std::array<std::uint8_t, 8>;

constexpr Name local{0x10, 0, 0, 0, 0, 0, 0, 1};
constexpr Name second_port{0x10, 0, 0, 0, 0, 0, 0, 2};
constexpr Name third_port{0x10, 0, 0, 0, 0, 0, 0, 3};
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

std::vector<vmk_MgmtCallbackInfo> declared() {
  constexpr std::uint32_t in = VMK_MGMT_PARAMETER_IN;
  constexpr std::uint32_t in_out = VMK_MGMT_PARAMETER_IN_OUT;
  using enum DriverCommand;
  return {callback(set_auth_config_v2, {{780, in_out}}),
          callback(get_auth_config_v2, {{8, in}, {780, in_out}, {1, in}}),
          callback(set_auth_passwd_v2, {{280, in}}),
          callback(get_auth_passwd_v2, {{280, in_out}, {1, in}}),
          callback(del_auth_config_v2, {{780, in_out}, {1, in}}),
          callback(persist_auth_config),
          callback(del_auth_config_obj),
          callback(init_auth, {{8, in}, {8, in}}),
          callback(get_auth_status, {{40, in_out}})};
}

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
    use_state();
    use_topology(with(one_board, "\"features\":",
                      R"("auth": {"peers": [{"port_wwn": "1000000000000002",
                         "expects": "the board's key", "answers_with": "the peer's key"}]},
                         "features":)"));
    channel.emplace(declared());
  }

  /** A host that starts again knows only what was persisted. */
  void restart() {
    channel.reset();
    channel.emplace(declared());
  }
  template <typename... Payloads>
  DriverStatus send(DriverCommand command, Payloads... payloads) {
    CommandBlock block{.driver_board = 3};
    return channel->send(command, block, &payloads...);
  }
  DriverStatus set(const Config& config) { return send(DriverCommand::set_auth_config_v2, config); }
  DriverStatus set(const Password& password) {
    return send(DriverCommand::set_auth_passwd_v2, password);
  }
  DriverStatus get(Config& config, std::uint8_t flag) {
    Name name = config.local_port;
    CommandBlock block{.driver_board = 3};
    return channel->send(DriverCommand::get_auth_config_v2, block, &name, &config, &flag);
  }
  Status status_of(const Name& remote) {
    Status status{.local_port = local, .remote_port = remote};
    CommandBlock block{.driver_board = 3};
    EXPECT_EQ(channel->send(DriverCommand::get_auth_status, block, &status), DriverStatus::success);
    return status;
  }

  std::optional<Channel> channel;
};

TEST_F(AuthTest, EntriesLastBeyondARestartOnlyWhenTheyArePersisted) {
  ASSERT_EQ(set(config_for(second_port)), DriverStatus::success);
  ASSERT_EQ(set(password_for(second_port, "the board's key")), DriverStatus::success);
  restart();
  Config config = config_for(second_port);
  EXPECT_EQ(get(config, 0), DriverStatus::not_found);

  ASSERT_EQ(set(config_for(second_port)), DriverStatus::success);
  ASSERT_EQ(set(password_for(second_port, "the board's key")), DriverStatus::success);
  ASSERT_EQ(send(DriverCommand::init_auth, local, second_port), DriverStatus::success);
  ASSERT_EQ(send(DriverCommand::persist_auth_config), DriverStatus::success);
  ASSERT_EQ(set(config_for(third_port)), DriverStatus::success);
  restart();
  EXPECT_EQ(get(config, 0), DriverStatus::success);
  EXPECT_EQ(status_of(second_port).state, 1);
  config.remote_port = third_port;
  EXPECT_EQ(get(config, 0), DriverStatus::not_found) << "it came after";

  ASSERT_EQ(send(DriverCommand::del_auth_config_v2, Config{}, std::uint8_t{1}),
            DriverStatus::success);
  restart();
  config.remote_port = second_port;
  EXPECT_EQ(get(config, 0), DriverStatus::success) << "the deletion was not persisted";
  ASSERT_EQ(send(DriverCommand::del_auth_config_obj), DriverStatus::success);
  restart();
  EXPECT_EQ(get(config, 0), DriverStatus::not_found);
}

TEST_F(AuthTest, EntriesCanBeWalkedAndDeletedOneByOne) {
  ASSERT_EQ(set(config_for(third_port)), DriverStatus::success);
  ASSERT_EQ(set(config_for(second_port)), DriverStatus::success);
  Config config{.local_port = local, .remote_port = nobody};
  EXPECT_EQ(get(config, 1), DriverStatus::success);
  EXPECT_EQ(config.remote_port, second_port);
  EXPECT_EQ(get(config, 1), DriverStatus::success);
  EXPECT_EQ(config.remote_port, third_port);
  EXPECT_EQ(get(config, 1), DriverStatus::not_found);

  EXPECT_EQ(send(DriverCommand::del_auth_config_v2, config, std::uint8_t{0}),
            DriverStatus::success);
  EXPECT_EQ(send(DriverCommand::del_auth_config_v2, config, std::uint8_t{0}),
            DriverStatus::not_found);
  config.remote_port = second_port;
  EXPECT_EQ(get(config, 1), DriverStatus::not_found);
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
    ASSERT_EQ(set(config_for(second_port, c.bidirectional)), DriverStatus::success);
    ASSERT_EQ(set(password_for(second_port, c.own, c.peers)), DriverStatus::success);
    ASSERT_EQ(send(DriverCommand::init_auth, local, second_port), DriverStatus::success);
    const Status status = status_of(second_port);
    EXPECT_EQ(status.state, c.reason == 0 ? 1 : 2);
    EXPECT_EQ(status.reason, c.reason) << c.own;
    EXPECT_EQ(status.attempts, ++attempts);
  }
  ASSERT_EQ(set(config_for(third_port)), DriverStatus::success);
  EXPECT_EQ(status_of(third_port).state, 0);
  ASSERT_EQ(send(DriverCommand::init_auth, local, third_port), DriverStatus::success);
  EXPECT_EQ(status_of(third_port).reason, 1U) << "no password";
  ASSERT_EQ(set(password_for(third_port, "some long key")), DriverStatus::success);
  ASSERT_EQ(send(DriverCommand::init_auth, local, third_port), DriverStatus::success);
  EXPECT_EQ(status_of(third_port).reason, 2U) << "the peer does not authenticate";
  EXPECT_EQ(send(DriverCommand::init_auth, second_port, local), DriverStatus::not_found)
      << "the local port comes first";
}

TEST_F(AuthTest, PasswordsAreCheckedAndNeverGivenBack) {
  EXPECT_EQ(set(password_for(second_port, "the board's key")), DriverStatus::not_found);
  ASSERT_EQ(set(config_for(second_port)), DriverStatus::success);
  EXPECT_EQ(set(password_for(second_port, "too short")), DriverStatus::not_permitted);
  EXPECT_EQ(set(password_for(second_port, "one key for both", "one key for both")),
            DriverStatus::not_permitted);
  ASSERT_EQ(set(password_for(second_port, "the board's key")), DriverStatus::success);

  Password password{.local_port = local, .remote_port = second_port};
  std::uint8_t flag = 1;
  CommandBlock block{.driver_board = 3};
  ASSERT_EQ(channel->send(DriverCommand::get_auth_passwd_v2, block, &password, &flag),
            DriverStatus::success);
  EXPECT_EQ(password.local_length, 15);
  EXPECT_THAT(password.local_secret, testing::Each('\0'));
}

TEST_F(AuthTest, ConfigurationsThatMakeNoSenseAreRefused) {
  const auto refused = [&](auto change, DriverStatus status) {
    Config config = config_for(second_port);
    change(config);
    EXPECT_EQ(set(config), status);
  };
  refused([](Config& c) { c.local_port = second_port; }, DriverStatus::not_found);
  refused([](Config& c) { c.mode = 3; }, DriverStatus::not_permitted);
  refused([](Config& c) { c.hash_count = 0; }, DriverStatus::not_permitted);
  refused([](Config& c) { c.hash_count = 255; }, DriverStatus::not_permitted);
  refused([](Config& c) { c.hashes[1] = 4; }, DriverStatus::not_permitted);
  refused([](Config& c) { c.groups[0] = 7; }, DriverStatus::not_permitted);

  channel.reset();
  use_topology(one_board);
  channel.emplace(declared());
  EXPECT_EQ(set(config_for(second_port)), DriverStatus::not_supported);
}

}  // namespace

}  // namespace ravnsim::test
