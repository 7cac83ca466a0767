// rnid show, set and send.

#include "tests/end_to_end/ovkctl.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace ovk::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

constexpr const char* known_port = "50:00:00:54:0a:00:00:01";
constexpr const char* known_node = "50:00:00:54:0a:00:00:00";
constexpr const char* unknown_port = "50:00:00:54:0a:00:00:77";

TEST(RnidTest, SettingChangesWhatIsNamedAndTheBoardKeepsIt) {
  const Folder folder;
  const Environment host{{"RAVNSIM_STATE", folder.path("state")}};
  const json before = run_json({"rnid", "show", "0"}, host);
  EXPECT_EQ(before.at("unit_type_text"), "host");

  EXPECT_EQ(run_ovkctl({"rnid", "set", "0", "--udp-port", "161"}, host).exit_code, 2);
  EXPECT_EQ(run_ovkctl({"rnid", "set", "0", "--yes"}, host).exit_code, 2);
  EXPECT_EQ(run_ovkctl({"rnid", "set", "0", "--ip", "192.0.2", "--yes"}, host).exit_code, 2);
  EXPECT_EQ(run_json({"rnid", "show", "0"}, host), before) << "refused commands change nothing";

  run_json({"rnid", "set", "0", "--udp-port", "161", "--ip", "192.0.2.7", "--yes"}, host);
  json expected = before;
  expected["udp_port"] = 161;
  expected["ip_version"] = 1;
  expected["ip_address"] = "192.0.2.7";
  EXPECT_EQ(run_json({"rnid", "show", "0"}, host), expected);
  run_json({"rnid", "set", "0", "--ip", "2001:db8::7", "--yes"}, host);
  EXPECT_EQ(run_json({"rnid", "show", "0"}, host).at("ip_address"), "2001:db8::7");
}

TEST(RnidTest, SendingDecodesTheReplyOfAPortByEitherName) {
  const json by_port = run_json({"rnid", "send", "0", known_port});
  EXPECT_EQ(by_port.at("format"), "0xdf");
  EXPECT_EQ(by_port.at("topology").at("unit_type_text"), "storage device");
  EXPECT_EQ(by_port.at("reply").get<std::string>().substr(0, 16), "02000000df000034");
  EXPECT_EQ(run_json({"rnid", "send", "0", known_node, "--node"}).at("reply"), by_port.at("reply"));

  const Outcome unknown = run_ovkctl({"rnid", "send", "0", unknown_port});
  EXPECT_EQ(unknown.exit_code, 1);
  EXPECT_THAT(unknown.err, HasSubstr("the port is not known to the board, or did not answer"));
}

TEST(RnidTest, AReplyThatEndsTooEarlyIsShownAsItIs) {
  const Folder folder;
  const json shown = run_json({"rnid", "send", "0", known_port},
                              {{"RAVNSIM_FAULTS", folder.file("faults.json", R"([
      {"command": "RAVN_MGMT_HBA_RNID", "effect": "length", "value": 59}])")}});
  EXPECT_FALSE(shown.contains("topology"));
  EXPECT_EQ(shown.at("reply").get<std::string>().size(), 2 * 59U);
}

}  // namespace
}  // namespace ovk::test
