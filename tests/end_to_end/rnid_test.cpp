// rnid show, set and send.

#include "tests/end_to_end/ovkctl.h"

namespace ovk::test {
namespace {

using RnidTest = OvkctlTest;

TEST_F(RnidTest, SettingChangesWhatIsNamedAndTheBoardKeepsIt) {
  json expected = json_of("rnid show 0");
  EXPECT_EQ(expected.at("unit_type_text"), "host");
  for (const char* arguments : {"--udp-port 161", "--yes", "--ip 192.0.2 --yes"}) {
    EXPECT_THAT(run(std::string("rnid set 0 ") + arguments), Exits(2)) << arguments;
  }
  EXPECT_EQ(json_of("rnid show 0"), expected) << "refused commands change nothing";

  json_of("rnid set 0 --udp-port 161 --ip 192.0.2.7 --yes");
  expected.update(R"({"udp_port": 161, "ip_version": 1, "ip_version_text": "IPv4",
                      "ip_address": "192.0.2.7"})"_json);
  EXPECT_EQ(json_of("rnid show 0"), expected);
  json_of("rnid set 0 --ip 2001:db8::7 --yes");
  EXPECT_THAT(json_of("rnid show 0"),
              Holds({{"ip_version_text", "IPv6"}, {"ip_address", "2001:db8::7"}}));
}

TEST_F(RnidTest, APortAcceptsWithItsGeneralTopologyDataInWireOrder) {
  set_board({{"discovered_ports", json::parse(R"([{"node_wwn": "1000020100000003", "fc_id": 3,
      "port_wwn": "1000020000000003", "rnid": {"unit_type": 10, "physical_port": "0x01020304",
        "attached_nodes": 2, "udp_port": 161, "ip_address": "192.0.2.17",
        "topology_flags": "0x8001"}},
      {"node_wwn": "1000020100000004", "port_wwn": "1000020000000004", "fc_id": 4,
       "rnid": {"answers": false}}])")}});
  const std::string send = "rnid send 0 100002000000000";
  const json by_port = json_of(send + "3");
  EXPECT_EQ(by_port.at("format"), "0xdf");
  EXPECT_THAT(by_port.at("topology"),
              Holds({{"unit_type_text", "host"}, {"ip_address", "192.0.2.17"}}));
  EXPECT_EQ(json_of("rnid send 0 1000020100000003 --node").at("reply"), by_port.at("reply"));
  EXPECT_EQ(by_port.at("reply"), "02000000df000034" + std::string(32, '0') +
                                     "0000000a0102030400000002000100a1" + std::string(24, '0') +
                                     "c000021100008001");
  for (const char* const silent : {"4", "7"}) {
    EXPECT_THAT(run(send + silent), Exits(1, "is not known to the board, or did not answer"));
  }
}

TEST_F(RnidTest, AReplyThatEndsTooEarlyIsShownAsItIs) {
  set_faults(R"([{"command": "RAVN_MGMT_HBA_RNID", "effect": "length", "value": 59}])");
  const json shown = json_of("rnid send 0 10:00:02:0a:54:00:00:01");
  EXPECT_FALSE(shown.contains("topology"));
  EXPECT_EQ(shown.at("reply").get<std::string>().size(), 2 * 59U);
}

}  // namespace
}  // namespace ovk::test
