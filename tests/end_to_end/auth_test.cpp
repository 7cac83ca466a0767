// auth on the built-in host, whose first port authenticates with one that it sees.

#include "tests/end_to_end/ovkctl.h"

namespace ovk::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string remote = "10:00:02:0a:54:00:00:01";

class AuthTest : public OvkctlTest {
 protected:
  json entries() const { return json_of("auth config list 0").at("entries"); }

  /** Sets both passwords, which stand on a line of standard input each. */
  Outcome set_passwords(const std::string& input) const {
    return run("auth password 0 " + remote + " --local-fd 0 --remote-fd 0 --persist --yes", input);
  }
};

TEST_F(AuthTest, AnEntryWithTheRightPasswordsAuthenticates) {
  json_of("auth config set 0 " + remote +
          " --bidirectional --hashes sha1 --groups 4096,null --interval 3600 --persist --yes");
  const Outcome set = set_passwords("winter harbour 1\nsummer harbour 2\n");
  EXPECT_THAT(set, Exits(0));
  EXPECT_THAT(set.out + set.err, testing::Not(HasSubstr("harbour")));
  EXPECT_THAT(json_of("auth config show 0 " + remote), Holds(R"(
      {"mode": "enabled", "hashes": ["sha1"], "groups": ["4096", "null"], "interval_seconds": 3600,
       "local_password_set": true, "remote_password_set": true})"_json));

  const json started = json_of("auth start 0 " + remote + " --yes --persist");
  EXPECT_THAT(started, Holds({{"state", "authenticated"}, {"hash", "sha1"}}));
  EXPECT_EQ(json_of("auth status 0 " + remote), started);
}

TEST_F(AuthTest, WrongPasswordsAreTold) {
  const std::string start = "auth start 0 " + remote + " --yes";
  json_of("auth config set 0 " + remote + " --bidirectional --persist --yes");
  EXPECT_EQ(json_of(start).at("reason"), "no password is set");
  EXPECT_THAT(set_passwords("winter harbour 1\nsummer harbour 3\n"), Exits(0));
  EXPECT_THAT(json_of(start), Holds({{"state", "failed"},
                                     {"reason", "the peer's password is not the expected one"}}));
  EXPECT_THAT(set_passwords("winter harbour 2\n\n"), Exits(0));
  json_of("auth config set 0 " + remote + " --persist --yes");
  EXPECT_EQ(json_of(start).at("reason"), "the peer does not accept the board's password");
  EXPECT_THAT(set_passwords("too short\nsummer harbour 3\n"),
              Exits(1, "the driver does not take these values"));
  EXPECT_THAT(set_passwords(std::string(129, 'x')), Exits(1, "too long"));
}

TEST_F(AuthTest, WhatIsNotPersistedDoesNotOutliveTheRestart) {
  json_of("auth config set 0 " + remote + " --yes");
  EXPECT_THAT(entries(), IsEmpty());
  json_of("auth config set 0 " + remote + " --mode disabled --persist --yes");
  EXPECT_THAT(column(entries(), "mode"), ElementsAre("disabled"));
  EXPECT_THAT(run("auth start 0 " + remote + " --yes"), Exits(1, "the entry is disabled"));

  EXPECT_THAT(json_of("auth config delete 0 " + remote + " --yes").at("entries"), IsEmpty());
  EXPECT_THAT(entries(), testing::SizeIs(1));
  json_of("auth config delete 0 --all --yes --persist");
  EXPECT_THAT(entries(), IsEmpty());
  json_of("auth config set 0 " + remote + " --persist --yes");
  json_of("auth config reset 0 --yes");
  EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(AuthTest, WrongUsageReachesNoBoard) {
  for (const std::string& line : {remote + " --hashes sha3", remote + " --mode on",
                                  remote + " --groups null,null,null,null,null,null,null"}) {
    EXPECT_THAT(run("auth config set 0 " + line), Exits(2)) << line;
  }
  EXPECT_THAT(run("auth config delete 0"), Exits(2));
  EXPECT_THAT(run("auth config delete 0 " + remote + " --all"), Exits(2));
  EXPECT_THAT(run("auth password 0 " + remote + " \"winter harbour 1\""), Exits(2));
  EXPECT_THAT(run("auth config list 1"), Exits(1, "0x8009: this adapter cannot authenticate"));
}

}  // namespace
}  // namespace ovk::test
