// vports and nodes on the built-in host.

#include "tests/end_to_end/ovkctl.h"

#include <fstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace ovk::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

/** The first board of the built-in host, as its topology file describes it. */
json described_board() {
  std::ifstream file(OVK_SOURCE_DIR "/simulator/default_topology.json");
  return json::parse(file, nullptr, true, true).at("boards").at(0);
}

constexpr const char* unknown_port = "28:01:00:54:56:32:00:77";

TEST(VportsTest, ListAndShowAgreeWithTheTopology) {
  const json described = described_board().at("npiv").at("virtual_ports");
  const json listed = run_json({"vports", "list", "0"}).at("virtual_ports");
  ASSERT_EQ(listed.size(), described.size());
  for (std::size_t i = 0; i < listed.size(); ++i) {
    EXPECT_EQ(listed[i].at("port_wwn"), described[i].at("port_wwn"));
    EXPECT_EQ(listed[i].at("node_wwn"), described[i].at("node_wwn"));
    const Outcome shown = run_ovkctl({"vports", "show", "0", listed[i].at("port_wwn")});
    EXPECT_THAT(shown.out, HasSubstr(described[i].at("symbolic_name").get<std::string>()));
  }
  const Outcome unknown = run_ovkctl({"vports", "show", "0", unknown_port});
  EXPECT_EQ(unknown.exit_code, 1);
  EXPECT_THAT(unknown.err, HasSubstr("no virtual port with this name"));
}

TEST(VportsTest, ReadinessAndResourcesAreTheBoards) {
  EXPECT_EQ(run_json({"vports", "ready", "0"}).at("ready"), true);
  EXPECT_EQ(run_json({"vports", "ready", "1"}).at("ready"), false);
  const json resources = run_json({"vports", "resources", "0"}).at("resources");
  EXPECT_EQ(resources.at("word0"), 255);
  EXPECT_EQ(resources.at("word1"), 2);
}

TEST(NodesTest, AreThePortsThatTheBoardSeesWhicheverOfItsPortsIsAsked) {
  const json described = described_board();
  const json own = run_json({"nodes", "0"});
  EXPECT_EQ(own.at("port_wwn"), described.at("port").at("port_wwn"));
  ASSERT_EQ(own.at("nodes").size(), described.at("discovered_ports").size());
  for (std::size_t i = 0; i < own.at("nodes").size(); ++i) {
    const json& node = own.at("nodes")[i];
    const json& port = described.at("discovered_ports")[i];
    EXPECT_EQ(node.at("port_wwn"), port.at("port_wwn"));
    EXPECT_EQ(node.at("name"), port.at("symbolic_name"));
    EXPECT_EQ(node.at("fc_id"), port.at("fc_id"));
  }
  const std::string vport = described.at("npiv").at("virtual_ports")[0].at("port_wwn");
  EXPECT_EQ(run_json({"nodes", "0", vport}).at("nodes"), own.at("nodes"));
  EXPECT_EQ(run_ovkctl({"nodes", "0", unknown_port}).exit_code, 1);
}

TEST(NodesTest, ADriverThatClaimsMoreThanThereIsRoomForIsNotBelieved) {
  const Folder folder;
  const Environment faults{{"RAVNSIM_FAULTS", folder.file("faults.json", R"([
      {"command": "RAVN_MGMT_VPORT_GET_NODE_INFO", "effect": "count", "value": 513},
      {"command": "RAVN_MGMT_VPORT_GET_LIST", "effect": "count", "value": 4097}])")}};
  EXPECT_THAT(run_ovkctl({"nodes", "0"}, faults).err, HasSubstr("513 nodes where 512 have room"));
  EXPECT_THAT(run_ovkctl({"vports", "list", "0"}, faults).err,
              HasSubstr("4097 virtual ports where 4096 have room"));
}

}  // namespace
}  // namespace ovk::test
