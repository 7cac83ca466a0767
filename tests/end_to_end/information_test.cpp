// link, io, vpd, params, pci, mem, reg, trunk and module on simulated hosts.

#include "tests/end_to_end/ovkctl.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace ovk::test {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

// The boards of the built-in host.
const std::string sli4_board = "0";
const std::string sli3_board = "1";

/** A host whose only board is on a loop and has a trunk. */
const std::string trunk_host = R"({"driver": {"name": "ravn", "version": "14"}, "boards": [{
  "driver_number": 7, "device": "0x32005456", "sli_mode": 4, "manufacturer": "Tarvos",
  "serial_number": "1", "model": "Trunk", "trunk": {"ports": [0, 1, 2], "ports_up": [0, 2]},
  "port": {"node_wwn": "20:00:00:00:00:00:00:01", "port_wwn": "10:00:00:00:00:00:00:01",
    "fc_id": "0xe8", "type": "nl_port", "speed": 16}}]})";

std::string contents_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string output_of(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::string output;
  std::array<char, 4096> part;
  while (std::fgets(part.data(), part.size(), pipe.get()) != nullptr) {
    output += part.data();
  }
  return output;
}

TEST(LinkCommandTest, ShowsTheLinkAndTheNodesThatThePortsListShows) {
  const json link = run_json({"link", sli4_board});
  EXPECT_EQ(link.at("state"), "up");
  EXPECT_EQ(link.at("topology"), "point to point");
  EXPECT_EQ(link.at("speed_gbit"), 32);
  EXPECT_EQ(link.at("logical_speed_gbit"), 32);
  const json ports = run_json({"ports", sli4_board}).at("discovered_ports");
  ASSERT_EQ(link.at("nodes").size(), ports.size());
  for (std::size_t i = 0; i < ports.size(); ++i) {
    EXPECT_EQ(link.at("nodes")[i].at("port_wwn"), ports[i].at("port_wwn"));
    EXPECT_EQ(link.at("nodes")[i].at("target_id"), i);
  }
  EXPECT_EQ(run_json({"link", sli3_board}).at("logical_speed_gbit"), nullptr);
}

TEST(LinkCommandTest, ShowsALoopAndATrunk) {
  const Folder folder;
  const Environment host = {{"RAVNSIM_TOPOLOGY", folder.file("host.json", trunk_host)}};
  const json link = run_json({"link", "0"}, host);
  EXPECT_EQ(link.at("topology"), "loop");
  EXPECT_EQ(link.at("loop_positions"), json::array({"0xe8"}));
  EXPECT_EQ(link.at("logical_speed_gbit"), 32) << "two of three ports with 16 each";
  const Outcome trunk = run_ovkctl({"trunk", "0"}, host);
  EXPECT_THAT(trunk.out, AllOf(HasSubstr("0  up"), HasSubstr("1  down"), HasSubstr("2  up")));
  EXPECT_EQ(run_ovkctl({"trunk", sli3_board}).exit_code, 1);
}

TEST(IoCommandTest, CountsTheScsiCommandsOfEarlierProcesses) {
  const Folder folder;
  const Environment host = {{"RAVNSIM_STATE", folder.path("state")}};
  const json before = run_json({"io", sli4_board}, host);
  EXPECT_EQ(before.at("nodes"), 3);
  EXPECT_EQ(before.at("commands").at("reads"), 0);
  const std::string target = "50:00:00:54:0a:00:00:01";
  EXPECT_EQ(run_ovkctl({"inquiry", sli4_board, target, "0"}, host).exit_code, 0);
  EXPECT_GE(run_json({"io", sli4_board}, host).at("commands").at("reads"), 1);
}

TEST(VpdCommandTest, ParsesWhatItWritesToAFile) {
  const Folder folder;
  const std::string file = folder.path("vpd.bin");
  const json vpd = run_json({"vpd", sli4_board, "-o", file});
  EXPECT_EQ(vpd.at("checksum"), "right");
  EXPECT_EQ(vpd.at("complete"), true);
  EXPECT_EQ(vpd.at("fields")[0].at("value"), "TV32001");
  EXPECT_EQ(vpd.at("fields").back().at("value"), "rack 12, slot 3");
  const std::string image = contents_of(file);
  EXPECT_EQ(image.size(), vpd.at("size"));
  EXPECT_THAT(image, AllOf(testing::StartsWith("\x82"), testing::EndsWith("\x78")));
}

TEST(VpdCommandTest, TellsAnAdapterWithoutVpdFromAFailure) {
  const Folder folder;
  const auto failed_with = [&folder](const char* status) {
    const std::string faults =
        std::string(R"([{"command": "RAVN_MGMT_GET_VPD", "status": ")") + status + "\"}]";
    return run_ovkctl({"vpd", "0"}, {{"RAVNSIM_FAULTS", folder.file("faults.json", faults)}});
  };
  EXPECT_THAT(failed_with("0x0BAD0084").err, HasSubstr("result 1: the adapter has no vital"));
  EXPECT_THAT(failed_with("0x0BAD0021").err, HasSubstr("result 3: the command was not delivered"));
}

TEST(ParamsCommandTest, ASetValueStaysAndOneOutOfRangeIsRefused) {
  const Folder folder;
  const Environment host = {{"RAVNSIM_STATE", folder.path("state")}};
  const json set = run_json({"params", "set", "0", "lun_queue_depth", "32", "--yes"}, host);
  EXPECT_EQ(set.at("before"), 64);
  EXPECT_EQ(set.at("value"), 32);

  const auto set_depth = [&host](const char* value) {
    return run_ovkctl({"params", "set", "0", "lun_queue_depth", value, "--yes"}, host);
  };
  const Outcome refused = set_depth("513");
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_THAT(refused.err, HasSubstr("It takes 1 to 512."));
  EXPECT_EQ(run_json({"params", "list", "0"}, host).at("parameters")[1].at("value"), 32);

  EXPECT_EQ(run_ovkctl({"params", "set", "0", "no_such", "1", "--yes"}, host).exit_code, 2);
  EXPECT_EQ(run_ovkctl({"params", "set", "0", "lun_queue_depth", "1"}, host).exit_code, 2)
      << "not at a terminal, and without --yes";
}

TEST(PciCommandTest, TheConfigurationReadsWellToOthers) {
  const json config = run_json({"pci", "config", sli4_board});
  EXPECT_EQ(config.at("vendor"), "0x5456");
  EXPECT_EQ(config.at("device"), "0x3200");
  EXPECT_EQ(config.at("bars").size(), 2U);
  EXPECT_EQ(config.at("capabilities").size(), 3U);

  const Folder folder;
  const std::string dump =
      folder.file("dump", run_ovkctl({"pci", "config", sli4_board, "--hex"}).out);
  EXPECT_THAT(output_of("lspci -n -vvv -F '" + dump + "' 2>&1"),
              AllOf(HasSubstr("3b:00.0 0c04: 5456:3200"), HasSubstr("Subsystem: 5456:3201"),
                    HasSubstr("(64-bit, non-prefetchable)"), HasSubstr("Express (v2) Endpoint"),
                    HasSubstr("LnkSta:\tSpeed 8GT/s"),
                    HasSubstr("Device Serial Number 10-00-00-54-56-32-00-01")));
  EXPECT_EQ(run_json({"pci", "location", sli4_board}).at("location"), "0000:3b:00.0");
}

TEST(PciCommandTest, AWriteReachesWhatCanBeWritten) {
  const Folder folder;
  const Environment host = {{"RAVNSIM_STATE", folder.path("state")}};
  EXPECT_EQ(run_ovkctl({"pci", "write", "0", "0x3c", "0a", "--yes"}, host).exit_code, 0);
  EXPECT_EQ(run_json({"pci", "config", "0"}, host).at("interrupt_line"), 10);
  EXPECT_EQ(run_ovkctl({"pci", "write", "0", "0x3e", "0a", "--yes"}, host).exit_code, 2);
}

TEST(MemoryCommandTest, WhatIsWrittenFromAFileIsReadBackWhole) {
  const Folder folder;
  const Environment host = {{"RAVNSIM_STATE", folder.path("state")}};
  std::string data;
  for (int i = 0; i < 10000; ++i) {  // more than one transfer
    data += static_cast<char>(i * 7 + i / 256);
  }
  const std::string source = folder.file("source", data);
  const std::string copy = folder.path("copy");
  EXPECT_EQ(
      run_ovkctl({"mem", "write", sli3_board, "0x101", "--from", source, "--yes"}, host).exit_code,
      0);
  EXPECT_EQ(run_ovkctl({"mem", "read", sli3_board, "0x101", "10000", "-o", copy}, host).exit_code,
            0);
  EXPECT_TRUE(contents_of(copy) == data);
  EXPECT_THAT(run_ovkctl({"mem", "read", sli3_board, "0x102", "4"}, host).out,
              HasSubstr("00000102  07 0e 15 1c"));
}

TEST(MemoryCommandTest, SaysWhyItCannot) {
  const Outcome sli4 = run_ovkctl({"mem", "read", sli4_board, "0", "4"});
  EXPECT_EQ(sli4.exit_code, 1);
  EXPECT_THAT(sli4.err, HasSubstr("result 4: SLI-4 adapters have no memory"));
  EXPECT_THAT(run_ovkctl({"mem", "read", sli3_board, "16384", "4"}).err, HasSubstr("result 22"));
  EXPECT_EQ(run_ovkctl({"mem", "read", sli3_board, "0xFFFFFFFF", "4"}).exit_code, 2);
  EXPECT_EQ(run_ovkctl({"mem", "write", sli3_board, "0", "--yes"}).exit_code, 2) << "no bytes";
  EXPECT_THAT(run_ovkctl({"reg", "read", sli4_board, "0"}).err, HasSubstr("result 2: SLI-4"));
}

TEST(RegisterCommandTest, AWriteShowsWhatTheRegisterBecame) {
  const Folder folder;
  const Environment host = {{"RAVNSIM_STATE", folder.path("state")}};
  EXPECT_EQ(run_json({"reg", "write", sli3_board, "0x4", "6", "--yes"}, host).at("value"),
            "0x00000000");
  EXPECT_EQ(run_json({"reg", "write", sli3_board, "0x0", "2", "--yes"}, host).at("value"),
            "0x00000004");
}

TEST(ModuleCommandTest, ShowsAllBoardsAndComparesInterfaces) {
  const json info = run_json({"module", "info"});
  EXPECT_EQ(info.at("name"), "ravn");
  EXPECT_EQ(info.at("boards").size(), 4U) << "also the one that is not Fibre Channel";
  EXPECT_EQ(run_json({"module", "version"}).at("match"), true);

  const Folder folder;
  const std::string faults = folder.file(
      "faults.json",
      R"([{"command": "RAVN_MGMT_CALL_VER", "effect": "revision", "value": "0x01000000"}])");
  const json other = run_json({"module", "version"}, {{"RAVNSIM_FAULTS", faults}});
  EXPECT_EQ(other.at("match"), false);
  EXPECT_EQ(other.at("driver").at("revision"), "1.0.0-0");
}

TEST(ModuleCommandTest, LogsALineAndRaisesAnEvent) {
  EXPECT_THAT(run_ovkctl({"module", "log", "maintenance begins"}).err,
              HasSubstr("driver log: maintenance begins\n"));
  EXPECT_EQ(run_ovkctl({"module", "log", std::string(65, 'x')}).exit_code, 2);
  const json event = run_json({"module", "test-event", "0", "--event", "lip", "--detail", "7"});
  EXPECT_EQ(event.at("event"), "lip");
}

}  // namespace
}  // namespace ovk::test
