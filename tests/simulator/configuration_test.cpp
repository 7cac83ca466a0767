// The topology and the fault file: the mistakes that are found in them, and how faults come to
// pass.

#include "simulator/call/channel_error.h"
#include "tests/simulator/simulator_test.h"

#include <cstdlib>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using testing::HasSubstr;

/** What opening a channel gives, and says on standard error until it is closed. */
std::pair<ChannelError, std::string> opening() {
  testing::internal::CaptureStderr();
  const int result = Channel{}.open_result();
  return {ChannelError{result}, testing::internal::GetCapturedStderr()};
}

using TopologyTest = SimulatorTest;
using FaultsTest = SimulatorTest;

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

Mistake in_unit(const std::string& members, const std::string& message) {
  return in_port(R"("luns": [{"serial_number": "S", )" + members + "}]", "luns/0" + message);
}

Mistake in_region(const std::string& members, const std::string& message) {
  return in_board(R"("regions": [)" + members + "]", "regions/" + message);
}

const Mistake mistakes[] = {
    {R"("model": "M1",)", "", ": /boards/0/model: this member is missing"},
    {R"("model": "M1")", R"("model": 7)", ": /boards/0/model: a text is wanted here"},
    {R"("model": "M1",)", R"("model": M1,)", ":6:63: "},
    {"  }]\n}", "  }]", ":17:5: "},
    {R"("sli_mode": 4)", R"("sli_mode": -4)", ": /boards/0/sli_mode: a whole number"},
    {R"("0x400")", R"("0x4G0")", ": /boards/0/features: a whole number"},
    {R"("0x400")", R"("0x1000000000")",
     ": /boards/0/features: \"0x1000000000\" is not between 0 and 4294967295"},
    {R"("extended_sli_config": false)", R"("extended_sli_config": 0)",
     ": /boards/0/extended_sli_config: true or false is wanted here, not 0"},
    {R"("symbolic_name")", R"("symbolicname")",
     ": /boards/0/port: member \"symbolicname\" is unknown; known are node_wwn, "},
    {"10:00:02:00:00:00:00:01", "10:00:02:00:00:00:00",
     ": /boards/0/port/port_wwn: \"10:00:02:00:00:00:00\" is no world-wide name"},
    {"10:00:02:00:00:00:00:01", "10:00:02:00:00:00-00:01", ": /boards/0/port/port_wwn: "},
    {"1000020000000003", "1000020000000002",
     ": /boards/0/discovered_ports/1: the board has another port"},
    {"1000020000000003", "1000020000000001",
     ": /boards/0/discovered_ports/1: the board has another port"},
    {R"("driver_number": 3)", R"("driver_number": 32)", ": /boards/0/driver_number: 32 is not"},
    {"0x010203", "0x1010203", ": /boards/0/port/fc_id: "},
    {"[2, 3]", "[2, 7]", ": /boards/0/port/classes/1: 7 is not between 1 and 6"},
    {R"("speed": 16)", R"("speed": 12)", ": /boards/0/port/speed: speeds in Gbit/s are"},
    {R"(["fcp"])", R"(["ftp"])",
     ": /boards/0/port/fc4_types_active/0: \"ftp\" is none of fcp, ct, nvme"},
    {R"("classes": [2, 3])", R"("classes": 3)", ": /boards/0/port/classes: a list"},
    {R"({"name": "ravn", "version": "1.2.3"})", R"("ravn")", ": /driver: an object"},
    {"\"S1\"", '"' + std::string(65, 's') + '"', ": /boards/0/serial_number: the text has 65"},
    in_board(R"("device": 1)", "device: this member stands twice"),
    in_port(R"("fc_id": 4)", "fc_id: this member stands twice"),
    in_board(R"("timeline": [{"happens": "lip"}])",
             "timeline/0: exactly one of after_seconds and after_commands"),
    in_board(R"("timeline": [{"after_seconds": 1, "happens": "port_leaves",
                              "port_wwn": "1000020000000001"}])",
             "timeline/0/port_wwn: the board discovers no port with the port_wwn"),
    in_port(R"("rnid": {"ip_address": "192.0.2"})", "rnid/ip_address: \"192.0.2\" is no IP"),
    in_board(R"("npiv": {"virtual_ports": [{"node_wwn": "1000020100000001",
                                            "port_wwn": "1000020000000001", "fc_id": 1}]})",
             "npiv/virtual_ports/0: the board has another port"),
    in_board(R"("fcp_priority": {"limit": 999})", "fcp_priority/limit: 999 is not"),
    in_board(R"("vmid": {"ranges": [{"low": 9, "high": 8}]})", "vmid/ranges/0/high: 8 is not"),
    in_board(R"("ras_log": {"buffer_units": 0})", "ras_log/buffer_units: 0 is not"),
    in_board(R"("trunk": {"ports": [0, 1], "ports_up": [2]})", "trunk/ports_up: a port that is up"),
    {R"("sli_mode": 4)", R"("sli_mode": 3, "trunk": {})", ": /boards/0/trunk: only boards with"},
    in_region(R"({"number": 3})", "0/number: the firmware has no such"),
    in_region(R"({"number": 32, "contents": "0g"})", "0/contents: bytes are written"),
    in_region(R"({"number": 32, "contents": "012"})", "0/contents: the region takes up to 8"),
    in_region(R"({"number": 32, "contents": "010203040506070809"})",
              "0/contents: the region takes up to 8"),
    in_region(R"({"number": 32}, {"number": 32})", "1: the board has this region"),
    in_board(R"("fcfs": [{"fabric_name": "1000020000000001", "switch_name": "1000020100000001",
                          "vlans": [4096]}])",
             "fcfs/0/vlans/0: 4096 is not"),
    in_unit(R"("lun": 0)", ": a disk has either blocks or a file"),
    in_unit(R"("lun": 0, "type": "tape", "blocks": 1)", ": only a disk has blocks"),
    in_unit(R"("lun": 16384, "blocks": 1)", "/lun: 16384 is not"),
    in_unit(R"("lun": 0, "naa": "7000000000000001")", "/naa: \"7000000000000001\" is no NAA"),
    in_unit(R"("lun": 0, "naa": "30000000000000010000000000000001")", "/naa: \"300000000"),
    in_unit(R"("lun": 0, "file": "/no/such/disk")", "/file: /no/such/disk: No such file")};

TEST_F(TopologyTest, AMistakeFailsTheOpeningAndIsNamedWithFileAndPlace) {
  for (const auto& [passage, replacement, message] : mistakes) {
    const std::string path = use_topology(with(one_board, passage, replacement));
    const auto [error, said] = opening();
    EXPECT_THAT(said, testing::StartsWith("ravnsim: " + path + message)) << replacement;
    EXPECT_EQ(error, ChannelError::wrong_configuration);
  }
  use_topology(with(one_board, "  }]\n}", "  }, " + one_board.substr(one_board.find("[{") + 1)));
  EXPECT_THAT(opening().second, HasSubstr("/boards/1: another board has the driver_number 3"));
  for (const auto& path : {folder / "none.json", folder}) {
    setenv("RAVNSIM_TOPOLOGY", path.c_str(), 1);
    EXPECT_THAT(opening().second, HasSubstr(path.string() + ": cannot be read"));
  }
}

TEST_F(TopologyTest, ATextThatFillsItsFieldIsNotCut) {
  use_topology(with(one_board, "\"S1\"", '"' + std::string(64, 's') + '"'));
  EXPECT_EQ(ask("HBA_ADAPTERATTRIBUTES").part(64, 65), Bytes(64, 's') + Bytes{'M'});
}

TEST_F(FaultsTest, FailTheCallsThatTheyNameInTheOrderOfTheFileAndNoOthers) {
  const std::string path = use_faults(R"([
    {"command": "RAVN_MGMT_HBA_REFRESHINFO", "skip": 1, "times": 2, "status": "0x0BAD0039"},
    {"command": "RAVN_MGMT_HBA_REFRESHINFO", "board": 3, "skip": 1, "invoke_error": 110},
    {"command": "RAVN_MGMT_HBA_REFRESHINFO", "skip": 2, "times": "always", "status": 7},
    {"command": "RAVN_MGMT_HBA_REFRESHINFO", "skip": 9, "status": 7},
    {"command": "RAVN_MGMT_SETDIAG", "status": 7}])");
  testing::internal::CaptureStderr();
  std::optional<Channel> channel{std::in_place};
  for (const int result : {0, 0x0BAD0039, 0x0BAD0039, 110, 0, 7, 7, 7}) {
    CommandBlock block{.driver_board = 3};
    const int undelivered = channel->invoke("RAVN_MGMT_HBA_REFRESHINFO", block);
    EXPECT_EQ(undelivered != 0 ? undelivered : static_cast<int>(block.status), result);
  }
  channel.reset();
  const std::string missed = ": the fault of RAVN_MGMT_";
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ravnsim: " + path + ": /3" + missed + "HBA_REFRESHINFO was never hit\n" +
                "ravnsim: " + path + ": /4" + missed + "SETDIAG was never hit\n");

  EXPECT_EXIT(
      {
        static const Channel* const left_open = new Channel;
        std::exit(left_open->open_result());
      },
      testing::ExitedWithCode(0), "/0: the fault of RAVN_MGMT_HBA_REFRESHINFO was never hit")
      << "a process that ends without closing its channel is told too";
}

TEST_F(FaultsTest, AStatusFaultDoesNoneOfTheCommandsWork) {
  use_faults(R"([{"command": "RAVN_MGMT_SETDIAG", "status": 7}])");
  const CommandBlock failed = ask("SETDIAG", {.value = 55, .selector = 19}).block;
  EXPECT_EQ(failed.status, DriverStatus{7});
  EXPECT_EQ(failed.value, 55U);
  EXPECT_EQ(ask("SETDIAG", {.selector = 16}).block.value, 1U);
}

TEST_F(FaultsTest, MistakesAreToldAsThoseOfTheTopology) {
  const std::string setdiag = R"("command": "RAVN_MGMT_SETDIAG", )";
  const std::pair<std::string, const char*> wrong[] = {
      {R"("status": 7)", "/0/command: this member is missing"},
      {R"("command": "RAVN_MGMT_REFRESH", "status": 7)", "/0/command: \"RAVN_MGMT_REFRESH\""},
      {R"("command": "RAVN_MGMT_MOD_INFO", "status": 7, "board": 3)", "/0/board: RAVN_MGMT_MOD"},
      {setdiag + R"("times": 2)", "/0: exactly one of status, invoke_error and"},
      {setdiag + R"("status": 7, "invoke_error": 1)", "/0: exactly one"},
      {setdiag + R"("status": 0)", "/0/status: 0 is not between 1 and"},
      {setdiag + R"("invoke_error": 0)", "/0/invoke_error: 0 is not"},
      {setdiag + R"("status": 7, "value": 1)", "/0/value: only an effect"},
      {setdiag + R"("status": 7, "times": 0)", "/0/times: 0 is not"},
      {setdiag + R"("status": 7, "board": 4)", "/0/board: the host has no"},
      {setdiag + R"("effect": "stale")", "\"stale\" is no effect of RAVN_MGMT_SETDIAG"},
  };
  for (const auto& [fault, message] : wrong) {
    const std::string path = use_faults("[{" + fault + "}]");
    EXPECT_THAT(opening().second, testing::AllOf(HasSubstr(path), HasSubstr(message)));
  }
}

}  // namespace

}  // namespace ravnsim::test
