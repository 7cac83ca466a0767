// qos, oas, vmid, qfpa and raslog on the built-in host, as an operator uses them one after the
// other.

#include "tests/end_to_end/ovkctl.h"

#include <fstream>
#include <iterator>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace ovk::test {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* target = "50:00:00:54:0a:00:00:01";

/** A host that keeps its state from run to run. */
class FeaturesTest : public testing::Test {
 protected:
  Folder folder;
  Environment host{{"RAVNSIM_STATE", folder.path("state")}};

  static std::vector<json> column(const json& rows, const char* key) {
    std::vector<json> cells;
    for (const json& row : rows) {
      cells.push_back(row.at(key));
    }
    return cells;
  }
};

TEST_F(FeaturesTest, QosShowsTheOrderInWhichTheRulesApply) {
  const std::string rules = folder.file("rules", R"(
# a comment
10:00:00:54:56:32:00:01  *                 *                 *                 1  # behind a rule
1000005456320001         0000000000000001  0000000000000002  0000000000000003  2
*                        *                 *                 *                 0xFFFFFFFF
1000005456320001         0000000000000001  0000000000000002  0000000000000004  4
)");
  EXPECT_EQ(run_ovkctl({"qos", "set", "0", rules}, host).exit_code, 2) << "nobody said yes";
  const json set = run_json({"qos", "set", "0", rules, "--yes"}, host);
  EXPECT_THAT(column(set.at("rules"), "priority"), ElementsAre(4, 2, 1, 4294967295U));
  EXPECT_EQ(set.at("applied"), false);

  EXPECT_EQ(run_json({"qos", "flag", "0", "on"}, host).at("applied"), true);
  const json listed = run_json({"qos", "list", "0"}, host);
  EXPECT_EQ(listed.at("rules"), set.at("rules"));
  EXPECT_EQ(listed.at("applied"), true);
  EXPECT_EQ(listed.at("rules").at(2).at("field1"), "10:00:00:54:56:32:00:01");
  EXPECT_EQ(listed.at("rules").at(3).at("field1"), "*");
  EXPECT_THAT(run_json({"qos", "list", "1"}, host).at("rules"), IsEmpty());
}

TEST_F(FeaturesTest, AMistakeInARulesFileIsNamedByItsLine) {
  const std::pair<const char*, const char*> mistakes[] = {
      {"* * * 1", ":1: a rule is four fields and a priority"},
      {"\n* * * ? 1", ":2: \"?\" is neither 16 hex digits nor *"},
      {"* * * * -1", ":1: \"-1\" is not a number"}};
  for (const auto& [text, message] : mistakes) {
    const Outcome run = run_ovkctl({"qos", "set", "0", folder.file("rules", text), "--yes"}, host);
    EXPECT_EQ(run.exit_code, 2);
    EXPECT_THAT(run.err, HasSubstr(message));
  }
  std::string many;
  for (int i = 0; i < 999; ++i) {
    many += "* * * * 1\n";
  }
  const Outcome refused =
      run_ovkctl({"qos", "set", "0", folder.file("rules", many), "--yes"}, host);
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_THAT(refused.err, HasSubstr("The old rules are in force."));
}

TEST_F(FeaturesTest, OasRulesAppearInTheListAndGoAgain) {
  EXPECT_THAT(run_json({"oas", "list", "0", target}, host).at("luns"), IsEmpty());
  run_json({"oas", "add", "0", target, "5"}, host);
  run_json({"oas", "add", "0", target, "0x12345678ffff0001", "--priority", "100"}, host);
  const json luns = run_json({"oas", "list", "0", target}, host).at("luns");
  EXPECT_THAT(column(luns, "lun"), ElementsAre("5", "1311768469162622977"));
  EXPECT_THAT(column(luns, "scsi_lun"), ElementsAre("0x0005000000000000", "0x0001ffff56781234"));
  EXPECT_THAT(column(luns, "priority"), ElementsAre(nullptr, 100));
  EXPECT_EQ(luns.at(0).at("active"), true);

  EXPECT_THAT(run_json({"oas", "remove", "0", target, "5"}, host).at("luns"), testing::SizeIs(1));
  EXPECT_EQ(run_ovkctl({"oas", "remove", "0", target, "5"}, host).exit_code, 1);
  const Outcome stranger = run_ovkctl({"oas", "add", "0", "5000000000000009", "1"}, host);
  EXPECT_EQ(stranger.exit_code, 1);
  EXPECT_THAT(stranger.err, HasSubstr("failed with result 18: the driver took the rule"));
  run_json({"oas", "remove", "0", "5000000000000009", "1"}, host);
  EXPECT_EQ(run_ovkctl({"oas", "add", "0", target, "1", "--priority", "128"}, host).exit_code, 2);
  EXPECT_EQ(run_ovkctl({"oas", "list", "1", target}, host).exit_code, 1);
}

TEST_F(FeaturesTest, VmidGivesIdentifiersOfTheRangesThatQfpaShows) {
  const json ranges = run_json({"qfpa", "0"}, host).at("ranges");
  EXPECT_THAT(column(ranges, "low"), ElementsAre(1, 64));

  const std::string uuid = "422e1f6a-98d1-4c6e-b0c2-5f1d3a7e9b10";
  run_json({"vmid", "update", "0", uuid, "--name", "web-3", "--id", "64"}, host);
  const json machine = run_json({"vmid", "list", "0"}, host).at("machines").at(0);
  EXPECT_EQ(machine.at("uuid"), uuid);
  EXPECT_EQ(machine.at("name"), "web-3");
  EXPECT_EQ(machine.at("identifier"), 64);
  EXPECT_EQ(machine.at("qos_priority"), 2);
  EXPECT_EQ(run_ovkctl({"vmid", "update", "0", uuid}, host).exit_code, 1) << "it is there";
  EXPECT_THAT(run_json({"vmid", "update", "0", uuid, "--remove"}, host).at("machines"), IsEmpty());
  EXPECT_EQ(run_ovkctl({"vmid", "update", "0", "422e1f6a"}, host).exit_code, 2);

  const std::string raw = folder.path("qfpa.bin");
  run_json({"qfpa", "0", "-o", raw}, host);
  EXPECT_EQ(std::filesystem::file_size(raw), 514U);
  EXPECT_THAT(run_ovkctl({"qfpa", "2"}, host).err, HasSubstr("result 9: the driver or the fabric"));
}

TEST_F(FeaturesTest, ASavedFirmwareLogHasEveryLineInOrderAlsoAfterItWrapped) {
  run_json({"raslog", "start", "0", "--level", "3"}, host);
  json status = json::object();
  for (int i = 0; i < 10 && status.value("wrapped", false) == false; ++i) {
    status = run_json({"raslog", "status", "0"}, host);
  }
  EXPECT_EQ(status.at("logging"), true);
  EXPECT_EQ(status.at("level"), 3);
  EXPECT_EQ(status.at("wrapped"), true);
  run_json({"raslog", "stop", "0"}, host);
  EXPECT_EQ(run_ovkctl({"raslog", "stop", "0"}, host).exit_code, 1);

  const std::string path = folder.path("log");
  EXPECT_EQ(run_json({"raslog", "save", "0", path}, host).at("bytes"), 262144);
  std::ifstream log(path);
  std::vector<std::uint64_t> numbers;
  for (std::string line; std::getline(log, line);) {
    numbers.push_back(std::stoull(line));
  }
  ASSERT_EQ(numbers.size(), 4096U);
  EXPECT_GT(numbers.front(), 0U);
  for (std::size_t i = 1; i < numbers.size(); ++i) {
    ASSERT_EQ(numbers[i], numbers[i - 1] + 1) << "line " << i + 1;
  }
  EXPECT_THAT(run_ovkctl({"raslog", "status", "1"}, host).err, HasSubstr("no firmware log"));
}

TEST_F(FeaturesTest, ALogWhoseReadFailsHalfwayIsNotWritten) {
  run_json({"raslog", "start", "0"}, host);
  for (int i = 0; i < 4; ++i) {
    run_json({"raslog", "status", "0"}, host);
  }
  host["RAVNSIM_FAULTS"] = folder.file("faults", R"([
      {"command": "RAVN_MGMT_GET_RAS_LOG", "skip": 2, "status": "0x0BAD0119"}])");
  const Outcome run = run_ovkctl({"raslog", "save", "0", folder.path("log")}, host);
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_THAT(run.err, HasSubstr("failed with result 9: the driver has no memory for the log"));
  EXPECT_FALSE(std::filesystem::exists(folder.path("log")));
}

}  // namespace
}  // namespace ovk::test
