#include "tests/simulator/simulator_test.h"

#include <cstring>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct Mistake {
  const char* passage;
  const char* replacement;
  const char* message;  // after the file's name
};

std::ostream& operator<<(std::ostream& out, const Mistake& mistake) {
  return out << mistake.message;
}

class TopologyMistakeTest : public SimulatorTest, public testing::WithParamInterface<Mistake> {};

TEST_P(TopologyMistakeTest, FailsTheOpeningAndNamesFilePlaceAndMistake) {
  const Mistake& mistake = GetParam();
  const std::string path = use_topology(with(one_board, mistake.passage, mistake.replacement));
  testing::internal::CaptureStderr();
  const Channel channel;
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              StartsWith("ravnsim: " + path + mistake.message));
  EXPECT_NE(channel.open_result(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    All, TopologyMistakeTest,
    testing::Values(
        Mistake{R"("model": "M1",)", "", ": /boards/0/model: this member is missing"},
        Mistake{R"("boards")", R"("board")", ": /boards: this member is missing"},
        Mistake{R"("model": "M1")", R"("model": 7)", ": /boards/0/model: a text is wanted here"},
        Mistake{R"("fc_id": 3)", R"("fc_id": [])",
                ": /boards/0/discovered_ports/1/fc_id: a whole number"},
        Mistake{R"("sli_mode": 4)", R"("sli_mode": -4)", ": /boards/0/sli_mode: a whole number"},
        Mistake{R"("0x400")", R"("0x4G0")", ": /boards/0/features: a whole number"},
        Mistake{R"("0x400")", R"("0x1000000000")",
                ": /boards/0/features: \"0x1000000000\" is not between 0 and 4294967295"},
        Mistake{R"("extended_sli_config": false)", R"("extended_sli_config": 0)",
                ": /boards/0/extended_sli_config: true or false is wanted here, not 0"},
        Mistake{R"("serial_number")", R"("serial/number")",
                ": /boards/0/serial_number: this member is missing"},
        Mistake{R"("symbolic_name")", R"("symbolicname")",
                ": /boards/0/port: member \"symbolicname\" is unknown; known are node_wwn, "},
        Mistake{"10:00:00:00:00:00:00:01", "10:00:00:00:00:00:00",
                ": /boards/0/port/port_wwn: \"10:00:00:00:00:00:00\" is no world-wide name"},
        Mistake{"10:00:00:00:00:00:00:01", "10:00:00:00:00:00-00:01",
                ": /boards/0/port/port_wwn: "},
        Mistake{"1000000000000002", "100000000000000g",
                ": /boards/0/discovered_ports/0/port_wwn: "},
        Mistake{"1000000000000003", "1000000000000002",
                ": /boards/0/discovered_ports/1: the board has another port"},
        Mistake{"1000000000000003", "1000000000000001",
                ": /boards/0/discovered_ports/1: the board has another port"},
        Mistake{R"("driver_number": 3)", R"("driver_number": 32)",
                ": /boards/0/driver_number: 32 is not between 0 and 31"},
        Mistake{"0x010203", "0x1010203", ": /boards/0/port/fc_id: "},
        Mistake{"[2, 3]", "[2, 7]", ": /boards/0/port/classes/1: 7 is not between 1 and 6"},
        Mistake{R"("speed": 16)", R"("speed": 12)", ": /boards/0/port/speed: speeds in Gbit/s are"},
        Mistake{R"(["fcp"])", R"(["ftp"])",
                ": /boards/0/port/fc4_types_active/0: \"ftp\" is none of fcp, ct, nvme"},
        Mistake{R"("classes": [2, 3])", R"("classes": 3)", ": /boards/0/port/classes: a list"},
        Mistake{R"({"name": "ravn", "version": "1.2.3"})", R"("ravn")", ": /driver: an object"},
        Mistake{R"("serial_number": "S1")", R"("serial_number": "S1", "device": 1)",
                ": /boards/0/device: this member stands twice"},
        Mistake{R"("fc_id": 3)", R"("fc_id": 3, "fc_id": 4)",
                ": /boards/0/discovered_ports/1/fc_id: this member stands twice"},
        Mistake{R"("model": "M1",)", R"("model": M1,)", ":6:63: "},
        Mistake{R"("sli_mode")", R"("statistics": {"lip": "often"}, "sli_mode")",
                ": /boards/0/statistics/lip: \"often\" is none of not_counted"},
        Mistake{R"("sli_mode")", R"("statistics": {"lips": {}}, "sli_mode")",
                ": /boards/0/statistics: member \"lips\" is unknown; known are seconds, "},
        Mistake{R"("sli_mode")", R"("timeline": [{"happens": "lip"}], "sli_mode")",
                ": /boards/0/timeline/0: exactly one of after_seconds and after_commands"},
        Mistake{R"("sli_mode")",
                R"("timeline": [{"after_seconds": 1, "happens": "lip", "fc_id": 1}], "sli_mode")",
                ": /boards/0/timeline/0: member \"fc_id\" is unknown"},
        Mistake{R"("sli_mode")",
                R"("timeline": [{"after_seconds": 1, "happens": "port_leaves",)"
                R"( "port_wwn": "1000000000000001"}], "sli_mode")",
                ": /boards/0/timeline/0/port_wwn: the board discovers no port with the port_wwn"},
        Mistake{R"("fc_id": 3)", R"("fc_id": 3, "rnid": {"ip_address": "192.0.2"})",
                ": /boards/0/discovered_ports/1/rnid/ip_address: \"192.0.2\" is no IP address"},
        Mistake{R"("sli_mode")",
                R"("npiv": {"virtual_ports": [{"node_wwn": "2000000000000001",)"
                R"( "port_wwn": "1000000000000001", "fc_id": 1}]}, "sli_mode")",
                ": /boards/0/npiv/virtual_ports/0: the board has another port"},
        Mistake{"  }]\n}", "  }]", ":17:5: "}));

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
  const Channel channel;
  std::array<char, 2192> attributes{};
  CommandBlock block{.driver_board = 3};
  ASSERT_EQ(channel.send(DriverCommand::hba_adapterattributes, block, &attributes),
            DriverStatus::success);
  EXPECT_EQ(std::string(&attributes[64], &attributes[129]), std::string(64, 's') + 'M');
}

TEST_F(SimulatorTest, AFileThatCannotBeReadIsNamed) {
  setenv("RAVNSIM_TOPOLOGY", (folder / "none.json").c_str(), 1);
  EXPECT_THAT(said_by_a_channel(), HasSubstr((folder / "none.json").string() + ": cannot be read"));
  setenv("RAVNSIM_TOPOLOGY", folder.c_str(), 1);
  EXPECT_THAT(said_by_a_channel(), HasSubstr(folder.string() + ": cannot be read"));
}

TEST_F(SimulatorTest, ThePortRecordHasTheCodesOfFcHbaAndTheFc4MapOfFcGs) {
  use_topology(one_board);
  const Channel channel;
  std::array<std::uint8_t, 490> record{};
  const auto word = [&](std::size_t offset) {
    std::uint32_t value;
    std::memcpy(&value, &record.at(offset), sizeof value);
    return value;
  };
  CommandBlock block{.driver_board = 3};
  ASSERT_EQ(channel.send(DriverCommand::hba_portattributes, block, &record), DriverStatus::success);
  EXPECT_EQ(record[0], 0x20);
  EXPECT_EQ(record[15], 0x01);
  EXPECT_EQ(word(16), 0x010203U);
  EXPECT_EQ(word(20), 5U);       // an N_Port
  EXPECT_EQ(word(24), 2U);       // online
  EXPECT_EQ(word(28), 0xCU);     // classes 2 and 3
  EXPECT_EQ(record[32 + 2], 1);  // FCP is type 0x08
  EXPECT_EQ(record[32 + 7], 1);  // CT is type 0x20
  EXPECT_EQ(record[64 + 7], 0);  // and not active
  EXPECT_EQ(word(466), 0x70U);   // 8, 16 and 32 Gbit/s
  EXPECT_EQ(word(470), 0x20U);   // 16 Gbit/s
  EXPECT_EQ(word(474), 2048U);
  EXPECT_EQ(record[485], 9);
  EXPECT_EQ(word(486), 2U);
}

}  // namespace

}  // namespace ravnsim::test
