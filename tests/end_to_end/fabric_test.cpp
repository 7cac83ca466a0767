// What ovkctl shows of the fabric and of the targets in it, held against the topology and against
// the decoders of sg3-utils.

#include "tests/end_to_end/ovkctl.h"

#include <tuple>

namespace ovk::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string array_port = "10:00:02:0a:54:00:00:01";
const std::string tape_port = "10:00:02:0b:54:00:00:01";

class FabricTest : public OvkctlTest {
 protected:
  /** What a decoder says of the hex of the bytes that ovkctl gets with this line. */
  std::string decoded(const std::string& tool, const std::string& line) const {
    EXPECT_THAT(run(line + " -o raw"), Exits(0));
    return output_of("od -An -v -tx1 " + (folder / "raw").string() + " | " + tool + " --inhex=-");
  }
};

TEST_F(FabricTest, TargetsShowEveryLogicalUnitOfTheTopology) {
  std::vector<json> ports;
  std::vector<json> names;
  const json boards = described_boards();
  for (const json& port : boards[0].at("discovered_ports")) {
    for (const json& unit : port.value("luns", json::array())) {
      ports.push_back(port.at("port_wwn"));
      names.push_back(unit.at("os_device_name"));
    }
  }
  const json targets = json_of("targets 0").at("targets");
  EXPECT_EQ(column(targets, "port_wwn"), ports);
  EXPECT_EQ(column(targets, "os_device_name"), names);
  EXPECT_THAT(column(targets, "target"), ElementsAre(0, 0, 0, 1, 1, 2)) << "the last is not bound";
  ASSERT_GE(targets.size(), 3U);
  EXPECT_THAT(targets[0], Holds({{"identifier_type", "NAA"}, {"identifier", "3000005400000a01"}}));
  EXPECT_THAT(targets[2], Holds({{"identifier_type", "EUI-64"}, {"fcp_lun", "412c000000000000"}}));
  EXPECT_EQ(json_of("bindings 0").at("bindings").size(), 3U);
}

TEST_F(FabricTest, ForeignDecodersReadWhatTheUnitsSayAndShowTheTopologysValues) {
  EXPECT_THAT(decoded("sg_inq", "inquiry 0 " + array_port + " 0"),
              AllOf(HasSubstr("Vendor identification: HARBOUR"),
                    HasSubstr("Product identification: Quay 400"),
                    HasSubstr("Peripheral device type: disk")));
  EXPECT_THAT(decoded("sg_inq", "inquiry 0 " + tape_port + " 0"),
              HasSubstr("Peripheral device type: tape"));

  const auto page = [&](const std::string& lun_and_page) {
    return decoded("sg_vpd", "inquiry 0 " + array_port + " " + lun_and_page);
  };
  EXPECT_THAT(page("0 --page 0"), HasSubstr("Device identification [di]"));
  EXPECT_THAT(page("0 --page 0x80"), HasSubstr("Unit serial number: HQ4001290A"));
  EXPECT_THAT(page("0 --page 0x83"),
              AllOf(HasSubstr("0x3000005400000a01"), HasSubstr("vendor id: HARBOUR"),
                    HasSubstr("10 00 02 0a 54 00 00 01")));  // the target port
  EXPECT_THAT(page("300 --page 0x83"), HasSubstr("0x02540a0000000003"));
}

TEST_F(FabricTest, InquiriesAreDecodedForPeople) {
  const std::string unit = "inquiry 0 " + array_port + " 0";
  EXPECT_THAT(json_of(unit), Holds({{"type", "disk"},
                                    {"vendor", "HARBOUR"},
                                    {"product", "Quay 400"},
                                    {"revision", "3.10"}}));
  EXPECT_EQ(json_of(unit + " --page 0").at("supported_pages"), json({"0x00", "0x80", "0x83"}));
  EXPECT_EQ(json_of(unit + " --page 0x80").at("serial_number"), "HQ4001290A");
  const json designators = json_of(unit + " --page 0x83").at("designators");
  EXPECT_EQ(column(designators, "type"), (std::vector<json>{"NAA", "T10 vendor ID", "NAA"}));
  EXPECT_EQ(column(designators, "association"),
            (std::vector<json>{"logical unit", "logical unit", "target port"}));
  EXPECT_THAT(run("inquiry 0 " + array_port + " 9").out, HasSubstr("no logical unit"));
  EXPECT_THAT(column(json_of("luns 0 " + array_port).at("luns"), "lun"),
              ElementsAre("0", "1", "300"));
  EXPECT_THAT(json_of("capacity 0 " + array_port + " 0"),
              Holds({{"blocks", "2097152"}, {"block_size", 512}}));
  EXPECT_THAT(run("capacity 0 " + array_port + " 9"),
              Exits(1, "ILLEGAL REQUEST, logical unit not supported (5/25/00)"));
}

TEST_F(FabricTest, AFileThatIsWrittenToAUnitComesBackAsItWas) {
  std::string data;
  for (std::size_t i = 0; i < 300 * 512; ++i) {
    data.push_back(static_cast<char>(i * 7 + i / 512));
  }
  std::string disk(1024 * 512, '\xEE');
  write("source", data);
  write("disk", disk);
  set_board({{"discovered_ports", json::parse(R"([{"node_wwn": "1000020100000002",
    "port_wwn": "1000020000000002", "fc_id": 2,
    "luns": [{"lun": 0, "serial_number": "D", "file": "disk",
              "naa": "60200000000000010000000000000002"}]}])")}});
  EXPECT_EQ(json_of("targets 0").at("targets")[0].at("identifier"),
            "60200000000000010000000000000002");

  const std::string unit = "1000020000000002 0 ";
  EXPECT_THAT(run("scsi write 0 " + unit + "source --lba 700 --yes"), Exits(0));
  EXPECT_THAT(run("scsi read 0 " + unit + "--lba 700 --blocks 300 -o copy"), Exits(0));
  EXPECT_TRUE(contents_of("copy") == data);
  EXPECT_TRUE(contents_of("disk") == disk.replace(700 * 512, data.size(), data));

  EXPECT_EQ(json_of("capacity 0 " + unit).at("blocks"), "1024");
  EXPECT_THAT(run("scsi read 0 " + unit + "--lba 1000 --blocks 25"),
              Exits(1, "logical block address out of range"));
  EXPECT_THAT(json_of("io 0").at("commands"), Holds(R"(
      {"writes": 2, "failed": 1, "bytes_written": "153600", "bytes_read": "153600"})"_json));
}

TEST_F(FabricTest, TheNameServerAndThePortsAnswer) {
  const json ports = json_of("nameserver list 0").at("ports");
  ASSERT_EQ(ports.size(), 4U);
  EXPECT_THAT(ports[1], Holds({{"port_wwn", array_port},
                               {"fc4_types", {"FCP"}},
                               {"symbolic_name", "Harbour array, controller A, port 1"}}));
  EXPECT_THAT(run("ct 0 0x010200 00"), Exits(2));
  EXPECT_THAT(run("els 0 " + array_port + " 55000000").out, HasSubstr("LS_RJT"));

  set_faults(R"([{"command": "RAVN_MGMT_SEND_CT", "effect": "reject", "value": "0x0907"}])");
  EXPECT_THAT(run("nameserver list 0"),
              Exits(1, "rejected: unable to perform the command, explanation 0x07"));
}

TEST_F(FabricTest, ServersAndPortsAnswerWhatTheyKnowAndRejectTheRest) {
  const std::string directory = "ct 0 0xfffffc 01000000fc020000";
  const std::string management = "ct 0 0xfffffa 01000000fa010000";
  const std::string els = "els 0 " + array_port + " ";
  const std::string zeros(32, '0');
  const std::tuple<std::string, std::string, std::string> exchanges[] = {
      {directory, "010000000000000000010300", "8002000000000000010104011000020b54000001"},
      {directory, "010000000000000000010401", "800200000000000001010100"},
      {directory, "017100000000000000000008", "800200000000000000010100000102000001030080010401"},
      {directory, "017100010000000000000008", "800200030000000000010100"},
      {directory, "017200000000000000000020", "800200000000000080010100000000001000020054563201"},
      {directory, "011300000000000000010401", "80020000000000001000020b54000000"},
      {directory, "011800000000000000010401", "80020000000000001d4c616e7465726e20"},
      {directory, "01210000000000001000020b54000001", "800200000000000000010401"},
      {directory, "011300000000000000000077", "80010000000901"},
      {directory, "017100000000000000000009", "80010000000907"},
      {directory, "", "80010000000400"},
      {management, "0101000000000000", "800200000000000000000001100002fa5400000100000001"},
      {management, "0999000000000000100002fa54000001", "80010000000b00"},
      {els, "10000000deadbeef", "02000000deadbeef"},
      {els, "78000000df000000",
       "02000000df1000341000020a540000011000020a54000000" + zeros + "00000009" + zeros + zeros},
      {els, "0f00000000010200", "020000000000000100000002"},
      {els, "0f00000000000009", "0100000000091f00"},
      {els, "55000000", "0100000000010000"}};
  for (const auto& [line, request, reply] : exchanges) {
    // The answer of a server repeats what the request says of the service.
    const std::string data = json_of(line + request).at("data");
    EXPECT_THAT(data.substr(line == els ? 0 : 16), testing::StartsWith(reply)) << line << request;
  }
  EXPECT_THAT(run("ct 0 0xfffffb 01000000fb02000009990000000000"), Exits(1, "did not answer"));
  EXPECT_THAT(run("els 0 1000020a00000099 10000000"), Exits(1, "the port did not answer"));
}

}  // namespace
}  // namespace ovk::test
