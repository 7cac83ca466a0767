// Authentication as only a caller of the driver meets it: records that make no sense, the walk from
// entry to entry, and secrets that never come back.

#include "tests/simulator/simulator_test.h"

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using enum DriverStatus;

const Bytes local = hex("1000020000000001");
const Bytes second_port = hex("1000020000000002");
const Bytes third_port = hex("1000020000000003");
constexpr std::uint32_t reason_at = 20;

class AuthTest : public SimulatorTest {
 protected:
  AuthTest() {
    use_topology(one_board_with(R"("auth": {"peers": [{"port_wwn": "1000020000000002",
        "expects": "the board's key", "answers_with": "the peer's key"}]})"));
  }

  /** Enabled, with hashes 2 and 1 and group 5, but for one byte. */
  DriverStatus set_config(const Bytes& remote, std::size_t at = 16, std::uint8_t value = 1) {
    Bytes config = local + remote + Bytes{1, 0, 0, 0, 2, 2, 1, 0, 0, 1, 5};
    config.at(at) = value;
    return status_of("SET_AUTH_CONFIG_V2", {}, {config});
  }
  DriverStatus set_password(const Bytes& remote, const std::string& own,
                            const std::string& peers = "") {
    Bytes record = local + remote +
                   Bytes{1, std::uint8_t(own.size()), !peers.empty(), std::uint8_t(peers.size())};
    record.insert(record.end(), own.begin(), own.end());
    record.resize(148);
    record.insert(record.end(), peers.begin(), peers.end());
    return status_of("SET_AUTH_PASSWD_V2", {}, {record});
  }
  /** Gives the entry that the names tell, or with a flag of 1 the one after it. */
  Answer get_config(const Bytes& remote, std::uint8_t flag) {
    return ask("GET_AUTH_CONFIG_V2", {}, {local, local + remote, {flag}});
  }
  /** Authenticates, and gives the reason of a failure. */
  std::uint32_t authenticate(const Bytes& remote) {
    EXPECT_EQ(status_of("INIT_AUTH", {}, {local, remote}), success);
    return ask("GET_AUTH_STATUS", {}, {local + remote}).word(reason_at);
  }
};

TEST_F(AuthTest, EntriesCanBeWalkedAndDeletedOneByOne) {
  ASSERT_EQ(set_config(third_port), success);
  ASSERT_EQ(set_config(second_port), success);
  EXPECT_EQ(get_config(Bytes(8), 1).part(8, 8, 2), second_port);
  EXPECT_EQ(get_config(second_port, 1).part(8, 8, 2), third_port);
  EXPECT_EQ(get_config(third_port, 1).block.status, not_found);
  EXPECT_EQ(get_config(third_port, 0).part(8, 8, 2), third_port);
  for (const DriverStatus status : {success, not_found}) {
    EXPECT_EQ(status_of("DEL_AUTH_CONFIG_V2", {}, {local + third_port}), status);
  }
  EXPECT_EQ(get_config(third_port, 0).block.status, not_found);
  EXPECT_EQ(get_config(second_port, 1).block.status, not_found);
}

TEST_F(AuthTest, EachReasonOfAFailureHasItsCode) {
  ASSERT_EQ(set_config(second_port), success);
  EXPECT_EQ(authenticate(second_port), 1U) << "no password";
  ASSERT_EQ(set_password(second_port, "another key of it"), success);
  EXPECT_EQ(authenticate(second_port), 3U) << "not the board's";
  ASSERT_EQ(set_config(second_port, 17), success) << "both ways";
  ASSERT_EQ(set_password(second_port, "the board's key"), success);
  EXPECT_EQ(authenticate(second_port), 1U) << "no password of the peer";
  ASSERT_EQ(set_password(second_port, "the board's key", "not the peer's"), success);
  EXPECT_EQ(authenticate(second_port), 4U);
  ASSERT_EQ(set_password(second_port, "the board's key", "the peer's key"), success);
  EXPECT_EQ(authenticate(second_port), 0U);
  EXPECT_EQ(ask("GET_AUTH_STATUS", {}, {local + second_port}).word(24), 5U) << "attempts";

  ASSERT_EQ(set_config(third_port), success);
  ASSERT_EQ(set_password(third_port, "some long key"), success);
  EXPECT_EQ(authenticate(third_port), 2U) << "the peer does not authenticate";
  EXPECT_EQ(status_of("INIT_AUTH", {}, {second_port, local}), not_found)
      << "the local port comes first";
}

TEST_F(AuthTest, PasswordsAreCheckedAndNeverGivenBack) {
  EXPECT_EQ(set_password(second_port, "the board's key"), not_found);
  ASSERT_EQ(set_config(second_port), success);
  EXPECT_EQ(set_password(second_port, "one key for both", "one key for both"), not_permitted);
  EXPECT_EQ(set_password(second_port, "the board's", "the peer's key"), not_permitted) << "short";
  EXPECT_EQ(set_password(second_port, "the board's key", "the peer's "), not_permitted);
  ASSERT_EQ(set_password(second_port, "the board's key"), success);
  const Answer password = ask("GET_AUTH_PASSWD_V2", {}, {local + second_port, {1}});
  EXPECT_EQ(password.part(16, 4), hex("010f0000"));
  EXPECT_EQ(password.part(20, 260), Bytes(260));
}

TEST_F(AuthTest, ConfigurationsThatMakeNoSenseAreRefused) {
  EXPECT_EQ(set_config(second_port, 7, 2), not_found) << "no port of the board";
  for (const auto& [at, value] : {std::pair{16, 3},
                                  {17, 2},
                                  {20, 0},
                                  {20, 5},
                                  {20, 255},
                                  {21, 0},
                                  {22, 4},
                                  {25, 0},
                                  {26, 7}}) {
    EXPECT_EQ(set_config(second_port, std::size_t(at), std::uint8_t(value)), not_permitted) << at;
  }
}

}  // namespace

}  // namespace ravnsim::test
