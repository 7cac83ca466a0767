// vports and nodes on the built-in host.

#include "tests/end_to_end/ovkctl.h"

namespace ovk::test {
namespace {

using testing::HasSubstr;

using VportsTest = OvkctlTest;

const std::string unknown_port = "10:00:02:28:54:56:32:77";

TEST_F(VportsTest, ListAndShowAgreeWithTheTopology) {
  const json described = described_boards()[0].at("npiv").at("virtual_ports");
  const json listed = json_of("vports list 0").at("virtual_ports");
  EXPECT_EQ(column(listed, "port_wwn"), column(described, "port_wwn"));
  EXPECT_EQ(column(listed, "node_wwn"), column(described, "node_wwn"));
  EXPECT_THAT(column(listed, "driver_word"), testing::ElementsAre("0x00010101", "0x00010102"));
  for (const json& vport : described) {
    EXPECT_THAT(run("vports show 0 " + vport.at("port_wwn").get<std::string>()).out,
                HasSubstr(vport.at("symbolic_name").get<std::string>()));
  }
  EXPECT_THAT(run("vports show 0 " + unknown_port), Exits(1, "no virtual port with this name"));
}

TEST_F(VportsTest, ReadinessAndResourcesAreTheBoards) {
  EXPECT_EQ(json_of("vports ready 0").at("ready"), true);
  EXPECT_EQ(json_of("vports ready 1").at("ready"), false);
  EXPECT_THAT(json_of("vports resources 0").at("resources"),
              Holds({{"word0", 255}, {"word1", 2}, {"word2", 4096}, {"word3", 3 * 3}}))
      << "each port is logged in with each discovered one";
  EXPECT_THAT(run("state set 0 mode-3 --yes"), Exits(0));
  EXPECT_EQ(json_of("vports ready 0").at("ready"), false);
}

TEST_F(VportsTest, NodesAreThePortsThatTheBoardSeesWhicheverOfItsPortsIsAsked) {
  const json described = described_boards()[0];
  const json& ports = described.at("discovered_ports");
  const json own = json_of("nodes 0");
  EXPECT_EQ(own.at("port_wwn"), described.at("port").at("port_wwn"));
  EXPECT_EQ(column(own.at("nodes"), "port_wwn"), column(ports, "port_wwn"));
  EXPECT_EQ(column(own.at("nodes"), "name"), column(ports, "symbolic_name"));
  EXPECT_EQ(column(own.at("nodes"), "fc_id"), column(ports, "fc_id"));
  const std::string vport = described.at("npiv").at("virtual_ports")[0].at("port_wwn");
  EXPECT_EQ(json_of("nodes 0 " + vport).at("nodes"), own.at("nodes"));
  EXPECT_THAT(run("nodes 0 " + unknown_port), Exits(1, "no port of the board"));
}

TEST_F(VportsTest, ADriverThatClaimsMoreThanThereIsRoomForIsNotBelieved) {
  set_faults(R"([{"command": "RAVN_MGMT_VPORT_GET_NODE_INFO", "effect": "count", "value": 513},
                 {"command": "RAVN_MGMT_VPORT_GET_LIST", "effect": "count", "value": 4097},
                 {"command": "RAVN_MGMT_HBA_GETEVENT", "effect": "count", "value": "0xFFFFFFFF"}])");
  EXPECT_THAT(run("nodes 0"), Exits(1, "513 nodes where 512 have room"));
  EXPECT_THAT(run("vports list 0"), Exits(1, "4097 virtual ports where 4096 have room"));
  EXPECT_THAT(run("events 0"), Exits(1, "4294967295 events where 32 have room"));
}

}  // namespace
}  // namespace ovk::test
