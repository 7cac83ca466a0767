// qos, oas, vmid, qfpa and raslog on the built-in host, as an operator uses them one after the
// other.

#include "tests/end_to_end/ovkctl.h"

namespace ovk::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using FeaturesTest = OvkctlTest;

const std::string target = "10:00:02:0a:54:00:00:01";

TEST_F(FeaturesTest, QosShowsTheOrderInWhichTheRulesApply) {
  write("rules", R"(
# a comment
10:00:02:00:54:56:32:01  *                 *                 *                 1  # behind a rule
1000020054563201         0000000000000001  0000000000000002  0000000000000003  2
*                        *                 *                 *                 0xFFFFFFFF
1000020054563201         0000000000000001  0000000000000002  0000000000000004  4
)");
  const json set = json_of("qos set 0 rules --yes");
  EXPECT_THAT(column(set.at("rules"), "priority"), ElementsAre(4, 2, 1, 4294967295U));
  EXPECT_EQ(set.at("applied"), false);

  EXPECT_EQ(json_of("qos flag 0 on --yes").at("applied"), true);
  const json listed = json_of("qos list 0");
  EXPECT_THAT(listed, Holds({{"rules", set.at("rules")}, {"applied", true}}));
  EXPECT_EQ(listed.at("rules").at(2).at("field1"), "10:00:02:00:54:56:32:01");
  EXPECT_EQ(listed.at("rules").at(3).at("field1"), "*");
  EXPECT_THAT(json_of("qos list 1").at("rules"), IsEmpty());
}

TEST_F(FeaturesTest, AMistakeInARulesFileIsNamedByItsLine) {
  for (const auto& [text, message] :
       {std::pair("* * * 1", ":1: A rule is four fields and a priority"),
        {"\n* * * ? 1", ":2: \"?\" is neither 16 hex digits nor *"},
        {"* * * * -1", ":1: \"-1\" is not a number"}}) {
    write("rules", text);
    EXPECT_THAT(run("qos set 0 rules --yes"), Exits(2, message));
  }
  std::string many;
  for (int i = 0; i < 999; ++i) {
    many += "* * * * 1\n";
  }
  write("rules", many);
  EXPECT_THAT(run("qos set 0 rules --yes"), Exits(1, "The old rules are in force."));
}

TEST_F(FeaturesTest, OasRulesAppearInTheListAndGoAgain) {
  EXPECT_THAT(json_of("oas list 0 " + target).at("luns"), IsEmpty());
  json_of("oas add 0 " + target + " 5 --yes");
  json_of("oas add 0 " + target + " 0x12345678ffff0001 --priority 100 --yes");
  const json luns = json_of("oas list 0 " + target).at("luns");
  EXPECT_THAT(column(luns, "lun"), ElementsAre("5", "1311768469162622977"));
  EXPECT_THAT(column(luns, "scsi_lun"), ElementsAre("0x0005000000000000", "0x0001ffff56781234"));
  EXPECT_THAT(column(luns, "priority"), ElementsAre(nullptr, 100));
  EXPECT_EQ(luns.at(0).at("active"), true);

  EXPECT_THAT(column(json_of("oas remove 0 " + target + " 5 --yes").at("luns"), "priority"),
              ElementsAre(100));
  EXPECT_THAT(run("oas remove 0 " + target + " 5 --yes"), Exits(1, "the driver has no such rule"));
  json_of("oas add 0 " + target + " 0x12345678ffff0001 --priority 7 --yes");
  json_of("oas add 0 " + target + " 6 --local 10:00:02:28:54:56:32:01 --yes");
  EXPECT_THAT(column(json_of("oas list 0 " + target).at("luns"), "priority"), ElementsAre(7))
      << "a rule has one priority, and another port of the board rules of its own";
  EXPECT_THAT(run("oas add 0 1000020a00000009 1 --yes"),
              Exits(1, "failed with result 18: the driver took the rule"));
  json_of("oas remove 0 1000020a00000009 1 --yes");
  EXPECT_THAT(run("oas add 0 " + target + " 1 --priority 128 --yes"), Exits(2));
  EXPECT_THAT(run("oas list 1 " + target), Exits(1, "does not offer optimized access"));
}

TEST_F(FeaturesTest, VmidGivesIdentifiersOfTheRangesThatQfpaShows) {
  EXPECT_THAT(column(json_of("qfpa 0").at("ranges"), "low"), ElementsAre(1, 64));

  const std::string uuid = "422e1f6a-98d1-4c6e-b0c2-5f1d3a7e9b10";
  const std::string update = "vmid update 0 " + uuid;
  json_of(update + " --name web-3 --id 64 --yes");
  EXPECT_THAT(json_of("vmid list 0").at("machines").at(0),
              Holds({{"uuid", uuid}, {"name", "web-3"}, {"identifier", 64}, {"qos_priority", 2}}));
  EXPECT_THAT(run(update + " --yes"), Exits(1, "the driver refused the change")) << "it is there";
  const json first = json_of("vmid update 0 422e1f6a98d14c6eb0c25f1d3a7e9b11 --yes").at("machines");
  EXPECT_THAT(first[1], Holds({{"identifier", 1}, {"qos_priority", 1}}));
  EXPECT_EQ(json_of(update + " --remove --yes").at("machines").size(), 1U);
  EXPECT_THAT(run("vmid update 0 422e1f6a"), Exits(2));

  json_of("qfpa 0 -o qfpa.bin");
  EXPECT_EQ(contents_of("qfpa.bin").size(), 514U);
  EXPECT_THAT(run("qfpa 2"), Exits(1, "result 9: the driver or the fabric"));
}

TEST_F(FeaturesTest, ASavedFirmwareLogHasEveryLineInOrderAlsoAfterItWrapped) {
  json_of("raslog start 0 --level 3 --yes");
  json status = json::object();
  for (int i = 0; i < 10 && !status.value("wrapped", false); ++i) {
    status = json_of("raslog status 0");
  }
  EXPECT_THAT(status, Holds({{"logging", true}, {"level", 3}, {"wrapped", true}}));
  json_of("raslog stop 0 --yes");
  EXPECT_THAT(run("raslog stop 0 --yes"), Exits(1, "the firmware was not logging"));

  EXPECT_EQ(json_of("raslog save 0 log").at("bytes"), 262144);
  std::vector<std::uint64_t> numbers;
  for (const std::string& line : lines_of(contents_of("log"))) {
    numbers.push_back(std::stoull(line));
  }
  ASSERT_EQ(numbers.size(), 4096U);
  EXPECT_GT(numbers.front(), 0U);
  for (std::size_t i = 1; i < numbers.size(); ++i) {
    ASSERT_EQ(numbers[i], numbers[i - 1] + 1) << "line " << i + 1;
  }
  EXPECT_THAT(run("raslog status 1"), Exits(1, "no firmware log"));
}

TEST_F(FeaturesTest, ALogWhoseReadFailsHalfwayIsNotWritten) {
  json_of("raslog start 0 --yes");
  for (int i = 0; i < 4; ++i) {
    json_of("raslog status 0");
  }
  set_faults(R"([{"command": "RAVN_MGMT_GET_RAS_LOG", "skip": 2, "status": "0x0BAD0119"}])");
  EXPECT_THAT(run("raslog save 0 log"),
              Exits(1, "failed with result 9: the driver has no memory for the log"));
  EXPECT_FALSE(std::filesystem::exists(folder / "log"));
}

}  // namespace
}  // namespace ovk::test
