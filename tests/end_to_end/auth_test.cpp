// auth on the built-in host, whose first port authenticates with one that it sees.

#include "tests/end_to_end/ovkctl.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace ovk::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string remote = "50:00:00:54:0a:00:00:01";
const std::string passwords = "winter harbour 1\nsummer harbour 2\n";

class AuthTest : public testing::Test {
 protected:
  Folder folder;
  Environment host{{"RAVNSIM_STATE", folder.path("state")}};

  json auth(std::vector<std::string> words) {
    words.insert(words.begin(), "auth");
    return run_json(words, host);
  }
  /** Sets both passwords, which stand on a line of standard input each. */
  Outcome set_passwords(const std::string& input) {
    return run_ovkctl(
        {"auth", "password", "0", remote, "--local-fd", "0", "--remote-fd", "0", "--persist"}, host,
        input);
  }
};

TEST_F(AuthTest, AnEntryWithTheRightPasswordsAuthenticates) {
  auth({"config", "set", "0", remote, "--bidirectional", "--hashes", "sha1", "--groups",
        "4096,null", "--interval", "3600", "--persist"});
  const Outcome set = set_passwords(passwords);
  EXPECT_EQ(set.exit_code, 0) << set.err;
  EXPECT_THAT(set.out + set.err, testing::Not(HasSubstr("harbour")));

  const json entry = auth({"config", "show", "0", remote});
  EXPECT_EQ(entry.at("mode"), "enabled");
  EXPECT_EQ(entry.at("hashes"), json({"sha1"}));
  EXPECT_EQ(entry.at("groups"), json({"4096", "null"}));
  EXPECT_EQ(entry.at("interval_seconds"), 3600);
  EXPECT_EQ(entry.at("local_password_set"), true);
  EXPECT_EQ(entry.at("remote_password_set"), true);

  EXPECT_EQ(run_ovkctl({"auth", "start", "0", remote}, host).exit_code, 2) << "nobody said yes";
  const json started = auth({"start", "0", remote, "--yes", "--persist"});
  EXPECT_EQ(started.at("state"), "authenticated");
  EXPECT_EQ(started.at("hash"), "sha1");
  EXPECT_EQ(auth({"status", "0", remote}), started);
}

TEST_F(AuthTest, WrongPasswordsAreTold) {
  auth({"config", "set", "0", remote, "--bidirectional", "--persist"});
  EXPECT_EQ(auth({"start", "0", remote, "--yes"}).at("reason"), "no password is set");
  ASSERT_EQ(set_passwords("winter harbour 1\nsummer harbour 3\n").exit_code, 0);
  const json status = auth({"start", "0", remote, "--yes"});
  EXPECT_EQ(status.at("state"), "failed");
  EXPECT_EQ(status.at("reason"), "the peer's password is not the expected one");
  EXPECT_THAT(set_passwords("too short\nsummer harbour 3\n").err,
              HasSubstr("the driver does not take these values"));
  EXPECT_THAT(set_passwords(std::string(129, 'x')).err, HasSubstr("too long"));
}

TEST_F(AuthTest, WhatIsNotPersistedDoesNotOutliveTheRestart) {
  auth({"config", "set", "0", remote});
  EXPECT_THAT(auth({"config", "list", "0"}).at("entries"), IsEmpty());
  auth({"config", "set", "0", remote, "--mode", "disabled", "--persist"});
  EXPECT_EQ(auth({"config", "list", "0"}).at("entries").at(0).at("mode"), "disabled");
  EXPECT_THAT(run_ovkctl({"auth", "start", "0", remote, "--yes"}, host).err,
              HasSubstr("the entry is disabled"));

  EXPECT_THAT(auth({"config", "delete", "0", remote, "--yes"}).at("entries"), IsEmpty());
  EXPECT_THAT(auth({"config", "list", "0"}).at("entries"), testing::SizeIs(1));
  auth({"config", "delete", "0", "--all", "--yes", "--persist"});
  EXPECT_THAT(auth({"config", "list", "0"}).at("entries"), IsEmpty());
  auth({"config", "set", "0", remote, "--persist"});
  auth({"config", "reset", "0", "--yes"});
  EXPECT_THAT(auth({"config", "list", "0"}).at("entries"), IsEmpty());
}

TEST_F(AuthTest, WrongUsageReachesNoBoard) {
  const std::vector<std::vector<std::string>> lines = {
      {"config", "set", "0", remote, "--hashes", "sha3"},
      {"config", "set", "0", remote, "--groups", "null,null,null,null,null,null,null"},
      {"config", "set", "0", remote, "--mode", "on"},
      {"config", "delete", "0"},
      {"config", "delete", "0", remote, "--all"},
      {"password", "0", remote, "winter harbour 1"}};
  for (std::vector<std::string> words : lines) {
    words.insert(words.begin(), "auth");
    EXPECT_EQ(run_ovkctl(words, host).exit_code, 2) << words.back();
  }
  const Outcome old_board = run_ovkctl({"auth", "config", "list", "1"}, host);
  EXPECT_EQ(old_board.exit_code, 1);
  EXPECT_THAT(old_board.err, HasSubstr("0x8009: this adapter cannot authenticate"));
}

}  // namespace
}  // namespace ovk::test
