// list, show, ports and version on the built-in host, and what they say when there is none.

#include "tests/end_to_end/ovkctl.h"

namespace ovk::test {
namespace {

using BoardsTest = OvkctlTest;
using testing::AllOf;
using testing::HasSubstr;

/** How a port is shown that the topology describes so. */
json shown_as(const json& described) {
  return {{"port_wwn", described.at("port_wwn")},
          {"node_wwn", described.at("node_wwn")},
          {"fc_id", described.at("fc_id")},
          {"speed_gbit", described.at("speed")},
          {"symbolic_name", described.at("symbolic_name")},
          {"type", "N_Port"},
          {"state", "online"}};
}

TEST_F(BoardsTest, ListShowsTheFibreChannelBoardsOfTheHost) {
  const json described = described_boards();
  const json shown = json_of("list").at("boards");
  ASSERT_EQ(shown.size(), described.size());
  for (std::size_t i = 0; i < shown.size(); ++i) {
    const json& port = described[i].at("port");
    EXPECT_THAT(shown[i], Holds({{"board", i},
                                 {"driver_number", described[i].at("driver_number")},
                                 {"model", described[i].at("model")},
                                 {"port_wwn", port.at("port_wwn")},
                                 {"state", "online"},
                                 {"speed_gbit", port.at("speed")},
                                 {"sli_mode", described[i].at("sli_mode")},
                                 {"firmware", described[i].at("firmware_version")}}));
  }
}

TEST_F(BoardsTest, ListShowsABoardThatDoesNotAnswerBesideTheOthers) {
  set_faults(R"([{"command": "RAVN_MGMT_HBA_PORTATTRIBUTES", "board": 5, "status": "0x0BAD0001",
                  "times": "always"}])");
  const json boards = json_of("list").at("boards");
  EXPECT_EQ(boards.at(0).at("state"), "online");
  EXPECT_THAT(boards.at(1), Holds(R"(
      {"state": "no answer", "model": "Tarvos TV8001", "port_wwn": null, "port_state": null,
       "speed_gbit": null, "sli_mode": null})"_json));
}

TEST_F(BoardsTest, ListIsATableThatKeepsControlCharactersOfTheDriverOffTheTerminal) {
  set_board({{"ready", false}, {"model", "Lone\x1b[31m"}, {"firmware_version", "12.1"}});
  EXPECT_EQ(run("list").out,
            "BOARD  DRIVER  MODEL      PORT WWN                 STATE        SPEED  SLI  FIRMWARE\n"
            "    0       7  Lone?[31m  10:00:02:00:00:00:00:01  not ready  unknown    4  12.1\n");
  EXPECT_EQ(json_of("list").at("boards").at(0).at("state"), "not ready");
  EXPECT_THAT(run("state set 0 normal --yes"), Exits(1));
  EXPECT_THAT(run("ports 0").out, HasSubstr("The board sees no other port.\n"));
}

TEST_F(BoardsTest, ShowTellsAllThatTheTopologySays) {
  const json described = described_boards().at(0);
  const json shown = json_of("show 0");
  EXPECT_EQ(shown.at("board").at("driver_number"), described.at("driver_number"));
  for (const char* key : {"manufacturer", "serial_number", "model", "model_description",
                          "hardware_version", "option_rom_version", "firmware_version"}) {
    EXPECT_EQ(shown.at("adapter").at(key), described.at(key)) << key;
  }
  EXPECT_THAT(shown.at("driver"),
              Holds({{"sli_mode", 4}, {"features", "0x00001400"}, {"persistent_link_down", true}}));

  const json& port = described.at("port");
  EXPECT_THAT(shown.at("port"), Holds(shown_as(port)));
  EXPECT_THAT(shown.at("port"), Holds({{"device_name", port.at("os_device_name")},
                                       {"supported_speeds_gbit", port.at("supported_speeds")}}));
  EXPECT_THAT(shown.at("port"), Holds(R"(
      {"service_classes": ["class 3"], "fc4_types_supported": ["FCP", "CT", "NVMe"],
       "fc4_types_active": ["FCP", "CT"], "fabric_name": "10:00:02:fa:54:00:00:01",
       "max_frame_size": 2048, "discovered_ports": 3})"_json));
}

TEST_F(BoardsTest, PortsShowsTheOwnPortAndTheDiscoveredOnes) {
  const json described = described_boards().at(0);
  const json shown = json_of("ports 0");
  EXPECT_THAT(shown.at("own_port"), Holds(shown_as(described.at("port"))));
  const json& ports = shown.at("discovered_ports");
  ASSERT_EQ(ports.size(), described.at("discovered_ports").size());
  for (std::size_t i = 0; i < ports.size(); ++i) {
    EXPECT_THAT(ports[i], Holds(shown_as(described.at("discovered_ports")[i])));
  }
}

TEST_F(BoardsTest, PortsStartsOverWhenTheSnapshotMoves) {
  set_faults(R"([
      {"command": "RAVN_MGMT_HBA_DISCPORTATTRIBUTES", "skip": 2, "effect": "stale"},
      {"command": "RAVN_MGMT_HBA_DISCPORTATTRIBUTES", "status": "0x0BAD0003", "skip": 1}])");
  const json shown = json_of("ports 0");
  EXPECT_EQ(shown.at("restarts"), 2);
  EXPECT_EQ(shown.at("discovered_ports").size(), 3U);
}

TEST_F(BoardsTest, PortsGivesUpOnAFabricThatNeverSettles) {
  set_faults(
      R"([{"command": "RAVN_MGMT_HBA_DISCPORTATTRIBUTES", "effect": "stale", "times": "always"}])");
  const Outcome gave_up = run("ports 0 --json");
  EXPECT_EQ(json::parse(gave_up.out).at("error").at("result"), 8);
  EXPECT_THAT(gave_up, Exits(1, "board 0 failed with result 8: the fabric changed"));
  EXPECT_THAT(gave_up.err, HasSubstr("Run the command again."));
}

TEST_F(BoardsTest, VersionNeedsNoHost) {
  environment["RAVNSIM_TOPOLOGY"] = "/does/not/exist";
  EXPECT_THAT(json_of("version"),
              Holds({{"library", "14.0.198.0"}, {"interface_revision", "4.0"}}));
}

TEST_F(BoardsTest, ABoardThatDoesNotExistIsRefusedBeforeTheDriverIsAsked) {
  // A fault that is never hit is reported: no command reached the boards.
  set_faults(R"([{"command": "RAVN_MGMT_HBA_REFRESHINFO", "status": 1},
                 {"command": "RAVN_MGMT_GET_RAVNOVK_INFO", "status": 1}])");
  for (const char* line : {"show 3", "ports 4294967295"}) {
    const Outcome refused = run(line);
    EXPECT_THAT(refused, Exits(2, "the boards are 0 to 2")) << line;
    EXPECT_THAT(refused.err, AllOf(HasSubstr("/0: the fault of"), HasSubstr("/1: the fault of")));
  }
}

TEST_F(BoardsTest, AHostWithoutBoardsOrChannelGivesASentenceAndExitCode1) {
  write("empty.json", R"({"driver": {"name": "ravn", "version": "1"}, "boards": []})");
  for (const auto& [topology, sentence] :
       {std::pair("empty.json", "There is no Fibre Channel board on this host.\n"),
        {"none.json", "The management channel to the adapter driver could not"}}) {
    environment["RAVNSIM_TOPOLOGY"] = topology;
    const Outcome refused = run("list");
    EXPECT_EQ(refused.out, "") << topology;
    EXPECT_THAT(refused, Exits(1, sentence));
  }
}

TEST_F(BoardsTest, AFailedOperationTellsItsResultAndWhatToDo) {
  set_faults(R"([{"command": "RAVN_MGMT_HBA_REFRESHINFO", "board": 5, "invoke_error": 19}])");
  const Outcome failed = run("ports 1");
  EXPECT_EQ(failed.exit_code, 1);
  EXPECT_EQ(failed.err,
            "ovkctl: Refreshing the fabric snapshot of board 1 failed with result 1: the command "
            "was not delivered or the driver refused it.\n"
            "See with \"ovkctl list\" whether the board is ready, and look in the driver's log for "
            "the reason.\n");
}

}  // namespace
}  // namespace ovk::test
