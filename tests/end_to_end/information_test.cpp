// link, io, vpd, params, pci, mem, reg, trunk and module on simulated hosts. Of the boards of the
// built-in host, 0 is an SLI-4 and 1 an SLI-3 board.

#include "tests/end_to_end/ovkctl.h"

namespace ovk::test {
namespace {

using InformationTest = OvkctlTest;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

TEST_F(InformationTest, LinkShowsItsStateAndTheNodesThatThePortsListShows) {
  const json link = json_of("link 0");
  EXPECT_THAT(link, Holds(R"({"state": "up", "topology": "point to point", "speed_gbit": 32,
                              "logical_speed_gbit": 32})"_json));
  EXPECT_EQ(column(link.at("nodes"), "port_wwn"),
            column(json_of("ports 0").at("discovered_ports"), "port_wwn"));
  EXPECT_THAT(column(link.at("nodes"), "handle"), ElementsAre(1, 2, 3));
  EXPECT_THAT(column(link.at("nodes"), "target_id"), ElementsAre(0, 1, 2));
  EXPECT_EQ(json_of("link 1").at("logical_speed_gbit"), nullptr);
}

TEST_F(InformationTest, LinkShowsALoopAndATrunk) {
  set_board({{"trunk", {{"ports", {0, 1, 2}}, {"ports_up", {0, 2}}}},
             {"port", {{"fc_id", "0xe8"}, {"type", "nl_port"}, {"speed", 16}}},
             {"discovered_ports", json::parse(R"([{"node_wwn": "1000020100000002", "fc_id": "0xef",
                                     "port_wwn": "1000020000000002", "type": "nl_port"}])")}});
  EXPECT_THAT(json_of("link 0"), Holds({{"topology", "loop"},
                                        {"loop_positions", {"0xe8", "0xef"}},
                                        {"logical_speed_gbit", 32}}))
      << "two of three ports with 16 each";
  EXPECT_THAT(run("trunk 0").out,
              AllOf(HasSubstr("0  up"), HasSubstr("1  down"), HasSubstr("2  up")));
  set_board({{"sli_mode", 3}});
  EXPECT_THAT(run("trunk 0"), Exits(1, "this adapter does not support it"));
}

TEST_F(InformationTest, VpdParsesWhatItWritesToAFile) {
  const json vpd = json_of("vpd 0 -o vpd.bin");
  EXPECT_THAT(vpd, Holds({{"checksum", "right"}, {"complete", true}}));
  EXPECT_THAT(
      column(vpd.at("fields"), "value"),
      ElementsAre("TV32001", "0000000c", "TV3209A0417", "5456", "14.2.1104.0", "rack 12, slot 3"));
  const std::string image = contents_of("vpd.bin");
  EXPECT_EQ(image.size(), vpd.at("size"));
  EXPECT_THAT(image, AllOf(testing::StartsWith("\x82"), testing::EndsWith("\x78")));
}

TEST_F(InformationTest, VpdCutsTextsAtTheirFieldsAndAnAdapterCanBeWithoutIt) {
  const std::string text(64, 'x');
  set_board({{"model", text + text}, {"serial_number", text}, {"hardware_version", text}});
  EXPECT_THAT(column(json_of("vpd 0").at("fields"), "value"),
              ElementsAre(text.substr(40), text.substr(40), text.substr(40)));
  set_board({{"vpd", {{"present", false}}}});
  EXPECT_THAT(run("vpd 0"), Exits(1, "result 1: the adapter has no vital"));
}

TEST_F(InformationTest, AParameterThatIsSetStaysAndOneOutOfRangeIsRefused) {
  EXPECT_THAT(json_of("params set 0 lun_queue_depth 32 --yes"),
              Holds({{"before", 64}, {"value", 32}}));
  EXPECT_THAT(run("params set 0 lun_queue_depth 513 --yes"), Exits(1, "It takes 1 to 512."));
  EXPECT_THAT(run("params set 0 interface_revision 4 --yes"), Exits(1, "cannot be set."));
  EXPECT_THAT(run("params set 0 no_such 1 --yes"), Exits(2));
  const json parameters = json_of("params list 0").at("parameters");
  EXPECT_EQ(parameters[1].at("value"), 32);
  EXPECT_THAT(parameters[4], Holds({{"name", "node_timeout"}, {"value", 10}, {"default", 10}}));
}

TEST_F(InformationTest, ThePciConfigurationReadsWellToOthers) {
  const json config = json_of("pci config 0");
  EXPECT_THAT(config, Holds({{"vendor", "0x5456"}, {"device", "0x3200"}}));
  EXPECT_EQ(config.at("bars").size(), 2U);
  EXPECT_EQ(config.at("capabilities").size(), 3U);

  write("dump", run("pci config 0 --hex").out);
  EXPECT_THAT(output_of("lspci -n -vvv -F '" + (folder / "dump").string() + "'"),
              AllOf(HasSubstr("3b:00.0 0c04: 5456:3200"), HasSubstr("Subsystem: 5456:3201"),
                    HasSubstr("(64-bit, non-prefetchable)"), HasSubstr("Express (v2) Endpoint"),
                    HasSubstr("LnkSta:\tSpeed 8GT/s"),
                    HasSubstr("Device Serial Number 02-00-54-ff-fe-56-32-01")));
  EXPECT_EQ(json_of("pci location 0").at("location"), "0000:3b:00.0");
}

TEST_F(InformationTest, APciWriteReachesWhatCanBeWritten) {
  EXPECT_THAT(run("pci write 0 0x3c 0a --yes"), Exits(0));
  EXPECT_EQ(json_of("pci config 0").at("interrupt_line"), 10);
  EXPECT_THAT(run("pci write 0 0x3e 0a --yes"), Exits(2));
  for (const char* const write : {"0x0 ffffffff", "0x10 ffffffff", "0x78 0000ffff"}) {
    EXPECT_THAT(run("pci write 0 " + std::string{write} + " --yes"), Exits(0));
  }
  const json config = json_of("pci config 0");
  EXPECT_EQ(config.at("vendor"), "0x5456") << "identifiers are read-only";
  EXPECT_EQ(config.at("bars")[0].at("address"), "0x00000000ffffc000") << "it shows its size";
  EXPECT_THAT(run("pci config 0 --hex").out, HasSubstr("70: 10 00 02 00 22 80 00 10 00 00 00 00"))
      << "ones clear status bits, zeros clear control bits";
}

TEST_F(InformationTest, MemoryThatIsWrittenFromAFileIsReadBackWhole) {
  std::string data;
  for (int i = 0; i < 10000; ++i) {  // more than one transfer
    data += static_cast<char>(i * 7 + i / 256);
  }
  write("source", data);
  EXPECT_THAT(run("mem write 1 0x101 --from source --yes"), Exits(0));
  EXPECT_THAT(run("mem read 1 0x100 10002 -o copy"), Exits(0));
  EXPECT_TRUE(contents_of("copy") == '\0' + data + '\0') << "and its neighbours are untouched";
  EXPECT_THAT(run("mem read 1 0x102 4").out, HasSubstr("00000102  07 0e 15 1c"));
}

TEST_F(InformationTest, MemoryAndRegistersSayWhyTheyCannot) {
  EXPECT_THAT(run("mem read 0 0 4"), Exits(1, "result 4: SLI-4 adapters have no memory"));
  EXPECT_THAT(run("mem read 1 16384 4"), Exits(1, "result 22"));
  EXPECT_THAT(run("reg read 0 0"), Exits(1, "result 2: SLI-4"));
}

TEST_F(InformationTest, ARegisterWriteShowsWhatTheRegisterBecame) {
  EXPECT_EQ(json_of("reg write 1 0x4 6 --yes").at("value"), "0x00000000");
  EXPECT_EQ(json_of("reg write 1 0x0 2 --yes").at("value"), "0x00000004");
  json_of("reg write 1 0xc 0xcafe --yes");
  EXPECT_EQ(json_of("reg read 1 0xc").at("value"), "0x0000cafe");
  EXPECT_EQ(json_of("reg read 1 0x8").at("value"), "0xc0000000");
}

TEST_F(InformationTest, ModuleShowsAllBoardsAndComparesInterfaces) {
  const json info = json_of("module info");
  EXPECT_EQ(info.at("name"), "ravn");
  EXPECT_EQ(info.at("boards").size(), 4U) << "also the one that is not Fibre Channel";
  EXPECT_EQ(json_of("module version").at("match"), true);

  set_faults(R"([{"command": "RAVN_MGMT_CALL_VER", "effect": "revision", "value": "0x01000000"}])");
  const json other = json_of("module version");
  EXPECT_EQ(other.at("match"), false);
  EXPECT_EQ(other.at("driver").at("revision"), "1.0.0-0");
}

TEST_F(InformationTest, ModuleLogsALineAndRaisesAnEvent) {
  EXPECT_THAT(run("module log \"maintenance $(printf '\\033')begins\""),
              Exits(0, "driver log: maintenance ?begins\n"));
  EXPECT_THAT(run("module log " + std::string(65, 'x')), Exits(2));
  EXPECT_EQ(json_of("module test-event 0 --event lip --detail 7").at("event"), "lip");
  const json waiting = json_of("events 0").at("events");
  EXPECT_THAT(column(waiting, "event"), ElementsAre("link up", "LIP"));
  EXPECT_EQ(waiting[1].at("data")[1], "0x00000007");
}

}  // namespace
}  // namespace ovk::test
