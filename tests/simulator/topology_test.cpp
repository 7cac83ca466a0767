#include "simulator/call/channel_error.h"
#include "tests/simulator/simulator_test.h"

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct Mistake {
  std::string passage;
  std::string replacement;
  std::string message;  // after the file's name
};

/** A mistake in a member that the board has besides those of one_board. */
Mistake in_board(const std::string& member, const std::string& message) {
  return {R"("sli_mode")", member + R"(, "sli_mode")", ": /boards/0/" + message};
}

/** A mistake in a member of a port that the board discovers. */
Mistake in_port(const std::string& member, const std::string& message) {
  return {R"("fc_id": 3)", R"("fc_id": 3, )" + member, ": /boards/0/discovered_ports/1/" + message};
}

const Mistake mistakes[] = {
    {R"("model": "M1",)", "", ": /boards/0/model: this member is missing"},
    {R"("model": "M1")", R"("model": 7)", ": /boards/0/model: a text is wanted here"},
    {R"("fc_id": 3)", R"("fc_id": [])", ": /boards/0/discovered_ports/1/fc_id: a whole number"},
    {R"("sli_mode": 4)", R"("sli_mode": -4)", ": /boards/0/sli_mode: a whole number"},
    {R"("0x400")", R"("0x4G0")", ": /boards/0/features: a whole number"},
    {R"("0x400")", R"("0x1000000000")",
     ": /boards/0/features: \"0x1000000000\" is not between 0 and 4294967295"},
    {R"("extended_sli_config": false)", R"("extended_sli_config": 0)",
     ": /boards/0/extended_sli_config: true or false is wanted here, not 0"},
    {R"("serial_number")", R"("serial/number")",
     ": /boards/0/serial_number: this member is missing"},
    {R"("symbolic_name")", R"("symbolicname")",
     ": /boards/0/port: member \"symbolicname\" is unknown; known are node_wwn, "},
    {"10:00:02:00:00:00:00:01", "10:00:02:00:00:00:00",
     ": /boards/0/port/port_wwn: \"10:00:02:00:00:00:00\" is no world-wide name"},
    {"10:00:02:00:00:00:00:01", "10:00:02:00:00:00-00:01", ": /boards/0/port/port_wwn: "},
    {"1000020000000002", "100002000000000g", ": /boards/0/discovered_ports/0/port_wwn: "},
    {"1000020000000003", "1000020000000002",
     ": /boards/0/discovered_ports/1: the board has another port"},
    {"1000020000000003", "1000020000000001",
     ": /boards/0/discovered_ports/1: the board has another port"},
    {R"("driver_number": 3)", R"("driver_number": 32)",
     ": /boards/0/driver_number: 32 is not between 0 and 31"},
    {"0x010203", "0x1010203", ": /boards/0/port/fc_id: "},
    {"[2, 3]", "[2, 7]", ": /boards/0/port/classes/1: 7 is not between 1 and 6"},
    {R"("speed": 16)", R"("speed": 12)", ": /boards/0/port/speed: speeds in Gbit/s are"},
    {R"(["fcp"])", R"(["ftp"])",
     ": /boards/0/port/fc4_types_active/0: \"ftp\" is none of fcp, ct, nvme"},
    {R"("classes": [2, 3])", R"("classes": 3)", ": /boards/0/port/classes: a list"},
    {R"({"name": "ravn", "version": "1.2.3"})", R"("ravn")", ": /driver: an object"},
    in_board(R"("device": 1)", "device: this member stands twice"),
    in_port(R"("fc_id": 4)", "fc_id: this member stands twice"),
    {R"("model": "M1",)", R"("model": M1,)", ":6:63: "},
    {"  }]\n}", "  }]", ":17:5: "},
    in_board(R"("statistics": {"lip": "often"})", "statistics/lip: \"often\" is none of not_cou"),
    in_board(R"("statistics": {"lips": {}})", "statistics: member \"lips\" is unknown"),
    in_board(R"("vpd": {"part": "P1"})", "vpd: member \"part\" is unknown"),
    in_board(R"("oas": {"luns": 1})", "oas: member \"luns\" is unknown"),
    in_board(R"("timeline": [{"happens": "lip"}])",
             "timeline/0: exactly one of after_seconds and after_commands"),
    in_board(R"("timeline": [{"after_seconds": 1, "happens": "lip", "fc_id": 1}])",
             "timeline/0: member \"fc_id\" is unknown"),
    in_board(R"("timeline": [{"after_seconds": 1, "happens": "port_leaves",
                              "port_wwn": "1000020000000001"}])",
             "timeline/0/port_wwn: the board discovers no port with the port_wwn"),
    in_port(R"("rnid": {"ip_address": "192.0.2"})",
            "rnid/ip_address: \"192.0.2\" is no IP address"),
    in_board(R"("npiv": {"virtual_ports": [{"node_wwn": "1000020100000001",
                                            "port_wwn": "1000020000000001", "fc_id": 1}]})",
             "npiv/virtual_ports/0: the board has another port"),
    in_board(R"("fcp_priority": {"limit": 999})", "fcp_priority/limit: 999 is not"),
    in_board(R"("vmid": {})", "vmid/ranges: this member is missing"),
    in_board(R"("vmid": {"ranges": [{"low": 9, "high": 8}]})", "vmid/ranges/0/high: 8 is not"),
    in_board(R"("ras_log": {"buffer_units": 0})", "ras_log/buffer_units: 0 is not"),
    in_board(R"("auth": {"peers": [{"port_wwn": "1"}]})", "auth/peers/0/port_wwn: \"1\" is no"),
    in_board(R"("pci": {"bus": 256})", "pci/bus: 256 is not between 0 and 255"),
    in_board(R"("trunk": {"ports": [0, 1], "ports_up": [2]})",
             "trunk/ports_up: a port that is up is one of the trunk's ports"),
    {R"("sli_mode": 4)", R"("sli_mode": 3, "trunk": {})",
     ": /boards/0/trunk: only boards with an SLI mode"},
    in_board(R"("regions": [{"number": 3}])", "regions/0/number: the firmware has no such"),
    in_board(R"("regions": [{"number": 32, "contents": "0g"}])",
             "regions/0/contents: bytes are written"),
    in_board(R"("regions": [{"number": 32, "contents": "012"}])",
             "regions/0/contents: the region takes up to 8 whole bytes"),
    in_board(R"("regions": [{"number": 32, "contents": "010203040506070809"}])",
             "regions/0/contents: the region takes up to 8 whole bytes"),
    in_board(R"("regions": [{"number": 32}, {"number": 32}])",
             "regions/1: the board has this region"),
    in_board(R"("fcfs": [{"fabric_name": "1000020000000001", "switch_name": "1000020100000001",
                          "vlans": [4096]}])",
             "fcfs/0/vlans/0: 4096 is not"),
    in_port(R"("luns": [{"lun": 0, "serial_number": "S"}])",
            "luns/0: a disk has either blocks or a file"),
    in_port(R"("luns": [{"lun": 0, "serial_number": "S", "type": "tape", "blocks": 1}])",
            "luns/0: only a disk has blocks"),
    in_port(R"("luns": [{"lun": 16384, "serial_number": "S", "blocks": 1}])",
            "luns/0/lun: 16384 is not"),
    in_port(R"("luns": [{"lun": 0, "serial_number": "S", "blocks": 1, "naa": "7000000000000001"}])",
            "luns/0/naa: \"7000000000000001\" is no NAA identifier"),
    in_port(R"("luns": [{"lun": 0, "serial_number": "S", "file": "/no/such/disk"}])",
            "luns/0/file: /no/such/disk: No such file")};

TEST_F(SimulatorTest, AMistakeInTheTopologyFailsTheOpeningAndIsNamedWithFileAndPlace) {
  for (const Mistake& mistake : mistakes) {
    SCOPED_TRACE(mistake.replacement);
    const std::string path = use_topology(with(one_board, mistake.passage, mistake.replacement));
    testing::internal::CaptureStderr();
    const Channel channel;
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                StartsWith("ravnsim: " + path + mistake.message));
    EXPECT_EQ(channel.open_result(), static_cast<int>(ChannelError::wrong_configuration));
  }
}

TEST_F(SimulatorTest, ATopologyThatHasTwoBoardsOfOneNumberIsRefused) {
  const std::size_t start = one_board.find("[{") + 1;
  const std::string board = one_board.substr(start, one_board.rfind(']') - start);
  use_topology(with(one_board, "[{", "[" + board + ",{"));
  EXPECT_THAT(said_by_a_channel(), HasSubstr("/boards/1: another board has the driver_number 3"));
}

TEST_F(SimulatorTest, ATextThatDoesNotFitTheDriversFieldIsRefusedAndOneThatFillsItIsNot) {
  use_topology(with(one_board, "\"S1\"", '"' + std::string(65, 's') + '"'));
  EXPECT_THAT(said_by_a_channel(), HasSubstr("/boards/0/serial_number: the text has 65 bytes"));

  use_topology(with(one_board, "\"S1\"", '"' + std::string(64, 's') + '"'));
  EXPECT_EQ(ask("HBA_ADAPTERATTRIBUTES").part(64, 65), Bytes(64, 's') + Bytes{'M'});
}

TEST_F(SimulatorTest, AFileThatCannotBeReadIsNamed) {
  for (const auto& path : {folder / "none.json", folder}) {
    setenv("RAVNSIM_TOPOLOGY", path.c_str(), 1);
    EXPECT_THAT(said_by_a_channel(), HasSubstr(path.string() + ": cannot be read"));
  }
}

TEST_F(SimulatorTest, ThePortRecordHasTheCodesOfFcHbaAndTheFc4MapOfFcGs) {
  use_topology(one_board);
  const Answer port = ask("HBA_PORTATTRIBUTES");
  EXPECT_EQ(port.part(0, 16), hex("10000201000000011000020000000001"));
  EXPECT_EQ(port.part(16, 16), words({0x010203, 5, 2, 0xC}))
      << "an N_Port, online, classes 2 and 3";
  EXPECT_EQ(port.part(32, 40),
            hex("00000100000000010000000000000000") + Bytes(16) + hex("0000010000000000"))
      << "FCP is type 0x08; CT is type 0x20, and not active";
  EXPECT_EQ(port.part(466, 12), words({0x70, 0x20, 2048})) << "8, 16 and 32 Gbit/s; 16";
  EXPECT_EQ(port.part(478, 12), hex("1000020000000009") + words({2}));
}

}  // namespace

}  // namespace ravnsim::test
