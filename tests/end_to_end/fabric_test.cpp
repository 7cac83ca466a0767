// What ovkctl shows of the fabric and of the targets in it, held against the topology and against
// the decoders of sg3-utils.

#include "tests/end_to_end/ovkctl.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <utility>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace ovk::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

const std::string array_port = "50:00:00:54:0a:00:00:01";
const std::string tape_port = "50:00:00:54:0b:00:00:01";

std::string contents_of(const std::string& path) {
  std::ifstream file{path, std::ios::binary};
  return {std::istreambuf_iterator<char>{file}, {}};
}

/** What a decoder of sg3-utils says; it must not complain. */
std::string decoded(const std::string& command) {
  FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
  std::string output;
  std::array<char, 256> part;
  while (std::fgets(part.data(), part.size(), pipe) != nullptr) {
    output += part.data();
  }
  EXPECT_EQ(pclose(pipe), 0) << command << "\n" << output;
  return output;
}

class FabricTest : public testing::Test {
 protected:
  /** Writes the bytes that ovkctl gets with these arguments to a file; gives its path. */
  std::string raw(std::vector<std::string> arguments) {
    const std::string path = folder.path("raw");
    arguments.insert(arguments.end(), {"-o", path});
    const Outcome outcome = run_ovkctl(arguments);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    return path;
  }

  /** The same as a file of hex. */
  std::string hex_of(const std::vector<std::string>& arguments) {
    std::string hex;
    for (const char byte : contents_of(raw(arguments))) {
      std::array<char, 4> digits;
      std::snprintf(digits.data(), digits.size(), "%02x ", static_cast<unsigned char>(byte));
      hex += digits.data();
    }
    return folder.file("hex", hex + "\n");
  }

  /** What a decoder that reads devices only says of the bytes. */
  std::string decoded_as_device(const std::string& tool,
                                const std::vector<std::string>& arguments) {
    const std::string reply = raw(arguments);
    return decoded("OVK_SCSI_REPLY=" + reply + " LD_PRELOAD=" OVK_SCSI_DEVICE " " + tool + " " +
                   reply);
  }

  Folder folder;
};

TEST_F(FabricTest, TargetsShowEveryLogicalUnitOfTheTopology) {
  std::ifstream file{OVK_SOURCE_DIR "/simulator/default_topology.json"};
  const json topology = json::parse(file, nullptr, true, true);
  std::vector<std::pair<std::string, std::string>> described;
  for (const json& port : topology.at("boards")[0].at("discovered_ports")) {
    for (const json& unit : port.value("luns", json::array())) {
      described.emplace_back(port.at("port_wwn"), unit.at("os_device_name"));
    }
  }
  std::vector<std::pair<std::string, std::string>> shown;
  const json targets = run_json({"targets", "0"}).at("targets");
  for (const json& target : targets) {
    shown.emplace_back(target.at("port_wwn"), target.at("os_device_name"));
  }
  EXPECT_GE(shown.size(), 3U);
  EXPECT_EQ(shown, described);
  EXPECT_EQ(targets[0].at("identifier_type"), "NAA");
  EXPECT_EQ(targets[0].at("identifier"), "6000540a000000000000000000000a01");
  EXPECT_EQ(targets[2].at("identifier_type"), "EUI-64");
  EXPECT_EQ(targets[2].at("fcp_lun"), "412c000000000000");
  EXPECT_EQ(run_json({"bindings", "0"}).at("bindings").size(), 3U);
}

TEST_F(FabricTest, ForeignDecodersReadWhatTheUnitsSayAndShowTheTopologysValues) {
  const std::string standard =
      decoded("sg_inq --inhex=" + hex_of({"inquiry", "0", array_port, "0"}));
  EXPECT_THAT(standard, HasSubstr("Vendor identification: HARBOUR"));
  EXPECT_THAT(standard, HasSubstr("Product identification: Quay 400"));
  EXPECT_THAT(standard, HasSubstr("Peripheral device type: disk"));
  EXPECT_THAT(decoded("sg_inq --inhex=" + hex_of({"inquiry", "0", tape_port, "0"})),
              HasSubstr("Peripheral device type: tape"));

  const auto page = [&](const std::string& lun, const std::string& number) {
    return decoded("sg_vpd --inhex=" + hex_of({"inquiry", "0", array_port, lun, "--page", number}));
  };
  EXPECT_THAT(page("0", "0"), HasSubstr("Device identification [di]"));
  EXPECT_THAT(page("0", "0x80"), HasSubstr("Unit serial number: HQ4001290A"));
  const std::string identifiers = page("0", "0x83");
  EXPECT_THAT(identifiers, HasSubstr("0x6000540a000000000000000000000a01"));
  EXPECT_THAT(identifiers, HasSubstr("vendor id: HARBOUR"));
  EXPECT_THAT(identifiers, HasSubstr("0x500000540a000001")) << "the target port";
  EXPECT_THAT(page("300", "0x83"), HasSubstr("0x00540a0000000003"));
}

TEST_F(FabricTest, ForeignDecodersAgreeOnLogicalUnitNumbersAndCapacity) {
  EXPECT_EQ(run_json({"luns", "0", array_port}).at("luns").size(), 3U);
  const std::string luns = decoded_as_device("sg_luns --decode", {"luns", "0", array_port});
  EXPECT_THAT(luns, HasSubstr("3 lun entries"));
  EXPECT_THAT(luns, HasSubstr("Peripheral device addressing: lun=1"));
  EXPECT_THAT(luns, HasSubstr("Flat space addressing: lun=300"));

  const std::string capacity = decoded_as_device("sg_readcap", {"capacity", "0", array_port, "0"});
  EXPECT_THAT(capacity, HasSubstr("Number of logical blocks=2097152"));
  EXPECT_THAT(capacity, HasSubstr("Logical block length=512 bytes"));

  const Outcome refused = run_ovkctl({"capacity", "0", array_port, "9"});
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_THAT(refused.err, HasSubstr("ILLEGAL REQUEST, logical unit not supported (5/25/00)"));
}

TEST_F(FabricTest, AFileThatIsWrittenToAUnitComesBackAsItWas) {
  std::string data;
  for (std::size_t i = 0; i < 300 * 512; ++i) {
    data.push_back(static_cast<char>(i * 7 + i / 512));
  }
  const std::string source = folder.file("source", data);
  const std::string disk = folder.file("disk", std::string(1024 * 512, '\xEE'));
  const Environment environment{{"RAVNSIM_TOPOLOGY", folder.file("topology", R"({
    "driver": {"name": "ravn", "version": "14"}, "boards": [{
    "driver_number": 7, "device": "0x32005456", "sli_mode": 4, "manufacturer": "Tarvos",
    "serial_number": "1", "model": "M", "port": {"node_wwn": "2000000000000001",
    "port_wwn": "1000000000000001", "fc_id": 1}, "discovered_ports": [{
    "node_wwn": "2000000000000002", "port_wwn": "1000000000000002", "fc_id": 2, "luns": [
    {"lun": 0, "serial_number": "D", "file": ")" + disk + "\"}]}]}]}")}};

  const std::vector<std::string> write{"scsi", "write", "0",     "1000000000000002",
                                       "0",    source,  "--lba", "700"};
  EXPECT_EQ(run_ovkctl(write, environment).exit_code, 2) << "nobody was asked";
  EXPECT_EQ(contents_of(disk), std::string(1024 * 512, '\xEE'));

  auto confirmed = write;
  confirmed.push_back("--yes");
  EXPECT_EQ(run_ovkctl(confirmed, environment).exit_code, 0);
  const std::string copy = folder.path("copy");
  EXPECT_EQ(run_ovkctl({"scsi", "read", "0", "1000000000000002", "0", "--lba", "700", "--blocks",
                        "300", "-o", copy},
                       environment)
                .exit_code,
            0);
  EXPECT_TRUE(contents_of(copy) == data);
  EXPECT_TRUE(contents_of(disk).substr(700 * 512, data.size()) == data);
  EXPECT_EQ(contents_of(disk).substr(0, 700 * 512), std::string(700 * 512, '\xEE'));

  const json capacity = run_json({"capacity", "0", "1000000000000002", "0"}, environment);
  EXPECT_EQ(capacity.at("blocks"), "1024");
  const Outcome beyond =
      run_ovkctl({"scsi", "read", "0", "1000000000000002", "0", "--lba", "1000", "--blocks", "25"},
                 environment);
  EXPECT_EQ(beyond.exit_code, 1);
  EXPECT_THAT(beyond.err, HasSubstr("logical block address out of range"));
}

TEST_F(FabricTest, TheNameServerAndThePortsAnswer) {
  const json ports = run_json({"nameserver", "list", "0"}).at("ports");
  ASSERT_EQ(ports.size(), 4U);
  EXPECT_EQ(ports[1].at("port_wwn"), array_port);
  EXPECT_EQ(ports[1].at("fc4_types"), json::array({"FCP"}));
  EXPECT_EQ(ports[1].at("symbolic_name"), "Harbour array, controller A, port 1");

  EXPECT_THAT(run_ovkctl({"ct", "0", "0xfffffc", "01000000fc0200000999000000000000"}).out,
              HasSubstr("rejected: command not supported"));
  EXPECT_EQ(run_ovkctl({"ct", "0", "0x010200", "00"}).exit_code, 2);
  EXPECT_EQ(run_json({"els", "0", array_port, "10000000deadbeef"}).at("data"), "02000000deadbeef");
  EXPECT_THAT(run_ovkctl({"els", "0", array_port, "55000000"}).out, HasSubstr("LS_RJT"));
  const Outcome nobody = run_ovkctl({"els", "0", "5000000000000099", "10000000"});
  EXPECT_EQ(nobody.exit_code, 1);
  EXPECT_THAT(nobody.err, HasSubstr("the port did not answer"));
}

}  // namespace
}  // namespace ovk::test
