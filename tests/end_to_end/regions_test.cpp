// Regions, persistent link down, FCoE parameters and FCF lists, from one run of ovkctl to the next.

#include "tests/end_to_end/ovkctl.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace ovk::test {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

/** Board indices of the built-in host. */
constexpr const char* sli4_board = "0";
constexpr const char* sli3_board = "1";
constexpr const char* fcoe_board = "2";
constexpr const char* boards[] = {sli4_board, sli3_board, fcoe_board};

/** A host whose boards keep what they are told. */
class RegionsTest : public testing::Test {
 protected:
  json show(std::vector<std::string> arguments) const {
    return run_json(std::move(arguments), environment);
  }

  int change(std::vector<std::string> arguments) const {
    arguments.emplace_back("--yes");
    return run_ovkctl(arguments, environment).exit_code;
  }

  /** A region's bytes in hex. */
  std::string bytes(const std::string& board, const std::string& region) const {
    return show({"region", "read", board, region, "--raw"}).at("contents").at("bytes");
  }

  Folder folder;
  Environment environment{{"RAVNSIM_STATE", folder.path("state")}};
};

TEST_F(RegionsTest, PersistentLinkDownIsKeptOnEveryKindOfBoard) {
  for (const char* board : boards) {
    SCOPED_TRACE(board);
    EXPECT_EQ(show({"linkdown", "show", board}).at("link_down"), false);
    EXPECT_EQ(change({"linkdown", "on", board}), 0);
    EXPECT_EQ(show({"linkdown", "show", board}).at("link_down"), true);
    EXPECT_EQ(show({"region", "read", board, "23"}).at("contents").at("records")[2].at("meaning"),
              "the link is kept down");
    EXPECT_EQ(change({"linkdown", "off", board}), 0);
    EXPECT_EQ(show({"linkdown", "show", board}).at("link_down"), false);
  }
}

TEST_F(RegionsTest, BytesWrittenToARegionAreThereInTheNextProcessOnEveryKindOfBoard) {
  for (const char* board : boards) {
    SCOPED_TRACE(board);
    EXPECT_EQ(show({"region", "read", board, "22"}).at("state"), "empty");
    EXPECT_EQ(change({"region", "init", board, "22"}), 0);
    EXPECT_EQ(change({"region", "write", board, "22", "--offset", "24", "--hex", "0102"}), 0);
    const json entries = show({"region", "read", board, "22"}).at("contents").at("entries");
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].at("index"), 1);
    EXPECT_THAT(entries[0].at("bytes").get<std::string>(), testing::StartsWith("01 02 00"));
  }
}

TEST_F(RegionsTest, AWriteShowsWhatChangesAndAsksFirst) {
  const std::vector<std::string> write = {"region", "write", fcoe_board, "14", "--hex", "aa"};
  const Outcome refused = run_ovkctl(write, environment);
  EXPECT_EQ(refused.exit_code, 2);
  EXPECT_THAT(refused.err, HasSubstr("--yes"));
  EXPECT_THAT(refused.out, HasSubstr("aa 00"));

  std::vector<std::string> dry_run = write;
  dry_run.emplace_back("--dry-run");
  EXPECT_EQ(show(dry_run).at("written"), false);
  EXPECT_EQ(show({"region", "read", fcoe_board, "14"}).at("state"), "empty");
  EXPECT_EQ(change({"region", "write", fcoe_board, "14", "--offset", "1000", "--hex", "aa"}), 2);
  EXPECT_EQ(change({"region", "read", fcoe_board, "15"}), 2);

  EXPECT_EQ(change(write), 0);
  EXPECT_EQ(run_ovkctl({"region", "read", fcoe_board, "14", "-o", folder.path("14")}, environment)
                .exit_code,
            0);
  EXPECT_EQ(std::filesystem::file_size(folder.path("14")), 1000U);
}

TEST_F(RegionsTest, AWriteThatGetsLostIsReported) {
  environment["RAVNSIM_FAULTS"] = folder.file("faults.json", R"([
    {"command": "RAVN_MGMT_HBA_ISSUE_UPD_MBX", "status": "0x0BAD0001", "times": "always"}])");
  const Outcome lost = run_ovkctl({"linkdown", "on", sli4_board, "--yes"}, environment);
  EXPECT_EQ(lost.exit_code, 1);
  EXPECT_THAT(lost.err, HasSubstr("reads back differently"));
}

TEST_F(RegionsTest, FcoeParametersAndConnectionsAreKept) {
  EXPECT_EQ(change({"fcoe", "set", fcoe_board, "--vlan", "100", "--fc-map", "0e:fc:01"}), 0);
  EXPECT_EQ(change({"fcoe", "set", fcoe_board, "--vlan", "4096"}), 2);
  const json params = show({"fcoe", "show", fcoe_board});
  EXPECT_EQ(params.at("fc_map"), "0x0efc01");
  EXPECT_EQ(params.at("vlan_id"), 100);
  EXPECT_EQ(run_ovkctl({"fcoe", "show", sli3_board}, environment).exit_code, 1);

  EXPECT_EQ(
      change({"fcf", "connect", "set", fcoe_board, "0x06,100,1000000000000001,2000000000000001",
              "0,7,0000000000000000,0000000000000002"}),
      0);
  const json connections = show({"fcf", "connect", "list", fcoe_board}).at("connections");
  ASSERT_EQ(connections.size(), 2U);
  EXPECT_EQ(connections[0].at("flags"), "0x07");
  EXPECT_EQ(connections[1].at("vlan_id"), 7);
  EXPECT_EQ(change({"fcf", "connect", "clear", fcoe_board}), 0);
  EXPECT_EQ(show({"fcf", "connect", "list", fcoe_board}).at("connections"), json::array());
}

TEST_F(RegionsTest, TheFcfTableIsThatOfTheTopology) {
  const json fcfs = show({"fcf", "list", fcoe_board}).at("fcfs");
  ASSERT_EQ(fcfs.size(), 3U) << "the one that is not valid is skipped";
  EXPECT_EQ(fcfs[1].at("name548"), "20:64:00:05:1e:00:03:02");
  EXPECT_EQ(fcfs[2].at("flag18"), false);
  EXPECT_EQ(show({"fcf", "list", sli4_board}).at("fcfs"), json::array());
}

TEST_F(RegionsTest, SavedRegionsComeBackToTheSameBoardOnly) {
  const std::string file = folder.path("saved");
  EXPECT_EQ(change({"region", "init", fcoe_board, "23"}), 0);
  EXPECT_EQ(change({"region", "write", fcoe_board, "14", "--hex", "010203"}), 0);
  const std::string before = bytes(fcoe_board, "23");
  EXPECT_THAT(show({"region", "save", fcoe_board, file}).at("regions"), ElementsAre("14", "23"));

  EXPECT_EQ(change({"linkdown", "on", fcoe_board}), 0);
  EXPECT_NE(bytes(fcoe_board, "23"), before);
  const json restored = show({"region", "restore", fcoe_board, file, "--yes"});
  EXPECT_THAT(restored.at("restored"), ElementsAre("23"));
  EXPECT_EQ(restored.at("unchanged"), 1);
  EXPECT_EQ(bytes(fcoe_board, "23"), before);

  const Outcome other = run_ovkctl({"region", "restore", sli4_board, file, "--yes"}, environment);
  EXPECT_EQ(other.exit_code, 1);
  EXPECT_THAT(other.err, HasSubstr("saved from another board"));

  std::ifstream saved(file);
  std::string text{std::istreambuf_iterator<char>{saved}, {}};
  text.replace(text.find("010203"), 6, "010204");
  const Outcome damaged = run_ovkctl(
      {"region", "restore", fcoe_board, folder.file("damaged", text), "--yes"}, environment);
  EXPECT_EQ(damaged.exit_code, 1);
  EXPECT_THAT(damaged.err, HasSubstr("checksum"));
}

TEST_F(RegionsTest, AProcessThatIsKilledWhileItWritesLeavesTheOldOrTheNewRegion) {
  const std::string old_bytes(2000, 'a');
  const std::string new_bytes(2000, 'b');
  const auto write = [](const std::string& hex) {
    return std::vector<std::string>{"region", "write", fcoe_board, "14", "--hex", hex, "--yes"};
  };
  ASSERT_EQ(run_ovkctl(write(old_bytes), environment).exit_code, 0);
  for (int round = 0; round < 12; ++round) {
    const pid_t writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) {
      setpgid(0, 0);
      for (int i = 0;; ++i) {
        run_ovkctl(write(i % 2 == 0 ? new_bytes : old_bytes), environment);
      }
    }
    setpgid(writer, writer);
    std::this_thread::sleep_for(std::chrono::milliseconds{20 + round * 7});
    kill(-writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    EXPECT_THAT(bytes(fcoe_board, "14"), testing::AnyOf(old_bytes, new_bytes));
  }
}

}  // namespace
}  // namespace ovk::test
