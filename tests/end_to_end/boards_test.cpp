// list, show, ports and version on the built-in host, and what they say when there is none.

#include "tests/end_to_end/ovkctl.h"

#include <fstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace ovk::test {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/** The Fibre Channel boards of the built-in host, as its topology file describes them. */
json topology_boards() {
  std::ifstream file(OVK_SOURCE_DIR "/simulator/default_topology.json");
  const json topology = json::parse(file, nullptr, true, true);
  json boards = json::array();
  for (const json& board : topology.at("boards")) {
    if (board.at("device") != "0x07145456") {
      boards.push_back(board);
    }
  }
  return boards;
}

/** A host whose only board is this driver number. */
std::string small_topology(const char* more_of_the_board) {
  return std::string(R"({"driver": {"name": "ravn", "version": "14"}, "boards": [{
    "driver_number": 7, "device": "0x32005456", "sli_mode": 4, "manufacturer": "Tarvos",
    "serial_number": "1", "model": "Lone\u001b[31m", )") +
         more_of_the_board + R"("port": {"node_wwn": "20:00:00:00:00:00:00:01",
    "port_wwn": "10:00:00:00:00:00:00:01", "fc_id": 0}}]})";
}

void expect_same_port(const json& shown, const json& described) {
  EXPECT_EQ(shown.at("port_wwn"), described.at("port_wwn"));
  EXPECT_EQ(shown.at("node_wwn"), described.at("node_wwn"));
  EXPECT_EQ(shown.at("fc_id"), described.at("fc_id"));
  EXPECT_EQ(shown.at("speed_gbit"), described.at("speed"));
  EXPECT_EQ(shown.at("symbolic_name"), described.at("symbolic_name"));
  EXPECT_EQ(shown.at("type"), "N_Port");
  EXPECT_EQ(shown.at("state"), "online");
}

TEST(ListTest, ShowsTheFibreChannelBoardsOfTheHost) {
  const json described = topology_boards();
  const json shown = run_json({"list"}).at("boards");

  ASSERT_EQ(shown.size(), described.size());
  for (std::size_t i = 0; i < shown.size(); ++i) {
    EXPECT_EQ(shown[i].at("board"), i);
    EXPECT_EQ(shown[i].at("state"), "online");
    EXPECT_EQ(shown[i].at("port_wwn"), described[i].at("port").at("port_wwn"));
    EXPECT_EQ(shown[i].at("speed_gbit"), described[i].at("port").at("speed"));
    EXPECT_EQ(shown[i].at("firmware"), described[i].at("firmware_version"));
    for (const char* key : {"driver_number", "model", "sli_mode"}) {
      EXPECT_EQ(shown[i].at(key), described[i].at(key)) << key;
    }
  }
}

TEST(ListTest, TextHasTheRowsOfTheJson) {
  const json boards = run_json({"list"}).at("boards");
  const std::vector<std::string> lines = lines_of(run_ovkctl({"list"}).out);

  ASSERT_EQ(lines.size(), boards.size() + 1);
  EXPECT_THAT(cells_of(lines[0]), ElementsAre("BOARD", "DRIVER", "MODEL", "PORT WWN", "STATE",
                                              "SPEED", "SLI", "FIRMWARE"));
  for (std::size_t i = 0; i < boards.size(); ++i) {
    const json& board = boards[i];
    EXPECT_THAT(cells_of(lines[i + 1]),
                ElementsAre(board.at("board").dump(), board.at("driver_number").dump(),
                            board.at("model"), board.at("port_wwn"), board.at("state"),
                            board.at("speed_gbit").dump() + " Gbit/s", board.at("sli_mode").dump(),
                            board.at("firmware")));
  }
}

TEST(ListTest, ShowsABoardThatDoesNotAnswerBesideTheOthers) {
  const Folder folder;
  const json boards = run_json({"list"}, {{"RAVNSIM_FAULTS", folder.file("faults.json", R"([
          {"command": "RAVN_MGMT_HBA_PORTATTRIBUTES", "board": 5, "status": "0x0BAD0001",
           "times": "always"}])")}})
                          .at("boards");

  EXPECT_EQ(boards.at(0).at("state"), "online");
  EXPECT_EQ(boards.at(1).at("state"), "no answer");
  EXPECT_EQ(boards.at(1).at("model"), "Tarvos TV8001");
  for (const char* unknown : {"port_wwn", "port_state", "speed_gbit", "sli_mode"}) {
    EXPECT_TRUE(boards.at(1).at(unknown).is_null()) << unknown;
  }
}

TEST(ListTest, KeepsControlCharactersOfTheDriverOffTheTerminal) {
  const Folder folder;
  const Environment host{
      {"RAVNSIM_TOPOLOGY", folder.file("host.json", small_topology(R"("ready": false, )"))}};
  EXPECT_THAT(run_ovkctl({"list"}, host).out, HasSubstr("Lone?[31m"));
  EXPECT_EQ(run_json({"list"}, host).at("boards").at(0).at("state"), "not ready");
}

TEST(ShowTest, TellsAllThatTheTopologySays) {
  const json described = topology_boards().at(0);
  const json shown = run_json({"show", "0"});

  EXPECT_EQ(shown.at("board").at("driver_number"), described.at("driver_number"));
  for (const char* key : {"manufacturer", "serial_number", "model", "model_description",
                          "hardware_version", "option_rom_version", "firmware_version"}) {
    EXPECT_EQ(shown.at("adapter").at(key), described.at(key)) << key;
  }
  EXPECT_EQ(shown.at("driver").at("sli_mode"), 4);
  EXPECT_EQ(shown.at("driver").at("features"), "0x00001400");
  EXPECT_EQ(shown.at("driver").at("persistent_link_down"), true);

  const json& port = shown.at("port");
  expect_same_port(port, described.at("port"));
  EXPECT_EQ(port.at("device_name"), described.at("port").at("os_device_name"));
  EXPECT_EQ(port.at("supported_speeds_gbit"), described.at("port").at("supported_speeds"));
  EXPECT_EQ(port.at("service_classes"), json({"class 3"}));
  EXPECT_EQ(port.at("fc4_types_supported"), json({"FCP", "CT", "NVMe"}));
  EXPECT_EQ(port.at("max_frame_size"), 2048);
  EXPECT_EQ(port.at("discovered_ports"), 3);
}

TEST(ShowTest, TextHasEveryTextOfTheJson) {
  const std::string text = run_ovkctl({"show", "1"}).out;
  const json flat = run_json({"show", "1"}).flatten();
  int texts = 0;
  for (const auto& [place, value] : flat.items()) {
    if (value.is_string() && value != "") {
      ++texts;
      EXPECT_THAT(text, HasSubstr(value.get<std::string>())) << place;
    }
  }
  EXPECT_GT(texts, 20);
  for (const std::string& line : lines_of(text)) {
    EXPECT_FALSE(line.ends_with(' ')) << line;
  }
}

TEST(PortsTest, ShowsTheOwnPortAndTheDiscoveredOnes) {
  const json described = topology_boards().at(0);
  const json shown = run_json({"ports", "0"});

  expect_same_port(shown.at("own_port"), described.at("port"));
  const json& ports = shown.at("discovered_ports");
  ASSERT_EQ(ports.size(), described.at("discovered_ports").size());
  for (std::size_t i = 0; i < ports.size(); ++i) {
    expect_same_port(ports[i], described.at("discovered_ports")[i]);
  }
}

TEST(PortsTest, StartsOverWhenTheSnapshotMoves) {
  const Folder folder;
  const json shown = run_json({"ports", "0"}, {{"RAVNSIM_FAULTS", folder.file("faults.json", R"([
      {"command": "RAVN_MGMT_HBA_DISCPORTATTRIBUTES", "skip": 2, "effect": "stale"},
      {"command": "RAVN_MGMT_HBA_DISCPORTATTRIBUTES", "status": "0x0BAD0003", "skip": 1}])")}});
  EXPECT_EQ(shown.at("restarts"), 2);
  EXPECT_EQ(shown.at("discovered_ports").size(), 3U);
}

TEST(PortsTest, GivesUpOnAFabricThatNeverSettles) {
  const Folder folder;
  const std::string faults = folder.file(
      "faults.json",
      R"([{"command": "RAVN_MGMT_HBA_DISCPORTATTRIBUTES", "effect": "stale", "times": "always"}])");
  const Outcome run = run_ovkctl({"ports", "0", "--json"}, {{"RAVNSIM_FAULTS", faults}});

  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(json::parse(run.out).at("error").at("result"), 8);
  EXPECT_THAT(run.err, HasSubstr("board 0 failed with result 8: the fabric changed"));
  EXPECT_THAT(run.err, HasSubstr("Run the command again."));
}

TEST(PortsTest, SaysInASentenceThatThereAreNoOtherPorts) {
  const Folder folder;
  const Environment host{{"RAVNSIM_TOPOLOGY", folder.file("host.json", small_topology(""))}};
  EXPECT_THAT(run_ovkctl({"ports", "0"}, host).out, HasSubstr("The board sees no other port.\n"));
  EXPECT_THAT(run_json({"ports", "0"}, host).at("discovered_ports"), IsEmpty());
}

TEST(VersionTest, NeedsNoHost) {
  const json version = run_json({"version"}, {{"RAVNSIM_TOPOLOGY", "/does/not/exist"}});
  EXPECT_EQ(version.at("library"), "14.0.198.0");
  EXPECT_EQ(version.at("interface_revision"), "4.0");
}

TEST(RefusalTest, ABoardThatDoesNotExistIsRefusedBeforeTheDriverIsAsked) {
  const Folder folder;
  // A fault that is never hit is reported: no command reached the boards.
  const Environment faults{{"RAVNSIM_FAULTS", folder.file("faults.json", R"([
      {"command": "RAVN_MGMT_HBA_REFRESHINFO", "status": 1, "times": "always"},
      {"command": "RAVN_MGMT_GET_RAVNOVK_INFO", "status": 1, "times": "always"}])")}};
  for (const char* noun : {"show", "ports"}) {
    for (const char* board : {"3", "4294967295"}) {
      const Outcome run = run_ovkctl({noun, board}, faults);
      EXPECT_EQ(run.exit_code, 2) << noun;
      EXPECT_EQ(run.out, "");
      EXPECT_THAT(run.err, HasSubstr("the boards are 0 to 2"));
      EXPECT_THAT(run.err, HasSubstr("/0: the fault of"));
      EXPECT_THAT(run.err, HasSubstr("/1: the fault of"));
    }
  }
}

TEST(RefusalTest, AHostWithoutBoardsOrChannelGivesASentenceAndExitCode1) {
  const Folder folder;
  const std::string empty =
      folder.file("empty.json", R"({"driver": {"name": "ravn", "version": "1"}, "boards": []})");
  const Outcome no_board = run_ovkctl({"list"}, {{"RAVNSIM_TOPOLOGY", empty}});
  EXPECT_EQ(no_board.exit_code, 1);
  EXPECT_EQ(no_board.out, "");
  EXPECT_THAT(no_board.err, HasSubstr("There is no Fibre Channel board on this host.\n"));

  const Outcome no_channel = run_ovkctl({"list"}, {{"RAVNSIM_TOPOLOGY", folder.path("none.json")}});
  EXPECT_EQ(no_channel.exit_code, 1);
  EXPECT_EQ(no_channel.out, "");
  EXPECT_THAT(no_channel.err, HasSubstr("The management channel to the adapter driver could not"));
}

TEST(RefusalTest, AFailedOperationTellsItsResultAndWhatToDo) {
  const Folder folder;
  const Environment faults{{"RAVNSIM_FAULTS", folder.file("faults.json", R"([
      {"command": "RAVN_MGMT_HBA_REFRESHINFO", "board": 5, "invoke_error": 19}])")}};
  const Outcome run = run_ovkctl({"ports", "1"}, faults);
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.err,
            "ovkctl: Refreshing the fabric snapshot of board 1 failed with result 1: the command "
            "was not delivered or the driver refused it.\n"
            "See with \"ovkctl list\" whether the board is ready, and look in the driver's log for "
            "the reason.\n");
}

}  // namespace
}  // namespace ovk::test
