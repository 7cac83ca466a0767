// mbox, loopback, reset, state and dump, each step in a process of its own.

#include "tests/end_to_end/ovkctl.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace ovk::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

/** A host of one board that keeps its state in a folder. */
class DiagnosticsTest : public testing::Test {
 protected:
  /** Describes the board, and gives what makes ovkctl run on it. */
  Environment host(int sli_mode, const std::string& more_of_the_board) const {
    const std::string topology =
        R"({"driver": {"name": "ravn", "version": "14"}, "boards": [{"driver_number": 7,
            "device": "0x32005456", "manufacturer": "Tarvos", "serial_number": "1", "model": "One",
            "port": {"node_wwn": "20:00:00:00:00:00:00:01",
                     "port_wwn": "10:00:00:00:00:00:00:01", "fc_id": 0},
            )" +
        more_of_the_board + R"("sli_mode": )" + std::to_string(sli_mode) + "}]}";
    return {{"RAVNSIM_TOPOLOGY", folder.file("topology.json", topology)},
            {"RAVNSIM_STATE", folder.path("state")}};
  }

  Environment with_faults(Environment environment, const std::string& faults) const {
    environment["RAVNSIM_FAULTS"] = folder.file("faults.json", faults);
    return environment;
  }

  static std::string state_of_board(const Environment& environment) {
    return run_json({"state", "show", "0"}, environment).at("boards")[0].at("state");
  }

  Folder folder;
};

TEST_F(DiagnosticsTest, EveryKindOfBoardPassesTheInternalLoopback) {
  for (const char* board : {"0", "1", "2"}) {
    const json summary = run_json({"loopback", "run", board, "--count", "20", "--size", "65536",
                                   "--pattern", "random", "--yes"},
                                  {{"RAVNSIM_STATE", folder.path("state")}});
    EXPECT_EQ(summary.at("sent"), 20);
    EXPECT_EQ(summary.at("intact"), 20);
    const Outcome end =
        run_ovkctl({"loopback", "end", board, "--yes"}, {{"RAVNSIM_STATE", folder.path("state")}});
    EXPECT_EQ(end.exit_code, board[0] == '1' ? 0 : 1) << "the run has ended it already";
  }
}

TEST_F(DiagnosticsTest, LoopbackCountsWhatIsCorruptedAndLost) {
  const Environment environment = with_faults(host(4, ""), R"([
    {"command": "RAVN_MGMT_LOOPBACK_TEST", "skip": 3, "times": 2, "effect": "corrupt", "value": 9},
    {"command": "RAVN_MGMT_LOOPBACK_TEST", "effect": "drop"}
  ])");
  const Outcome run = run_ovkctl({"loopback", "run", "0", "--count", "10", "--yes"}, environment);
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_THAT(run.err, HasSubstr("3 of 10 frames did not come back intact"));
  const std::vector<std::string> lines = lines_of(run.out);
  const auto value_of = [&lines](const std::string& label) {
    for (const std::string& line : lines) {
      const std::vector<std::string> cells = cells_of(line);
      if (cells.front() == label) {
        return cells.back();
      }
    }
    return std::string{"nothing"};
  };
  EXPECT_EQ(value_of("Came back intact"), "7");
  EXPECT_EQ(value_of("Came back corrupted"), "2");
  EXPECT_EQ(value_of("Did not come back"), "1");
  EXPECT_EQ(value_of("Wrong bytes"), "2");
  EXPECT_EQ(value_of("First bad frame"), "3");
  EXPECT_EQ(value_of("First bad byte in it"), "9");
}

TEST_F(DiagnosticsTest, TheExternalLoopbackNeedsAPlugAndAnOlderBoardTakesNoValue) {
  const std::vector<std::string> run = {"loopback", "run", "0", "--mode", "external", "--yes"};
  const Outcome without = run_ovkctl(run, host(3, ""));
  EXPECT_EQ(without.exit_code, 1);
  EXPECT_THAT(without.err, HasSubstr("loopback plug"));
  EXPECT_EQ(run_json(run, host(3, R"("loopback_plug": true, )")).at("intact"), 100);
  const Outcome refused =
      run_ovkctl({"loopback", "run", "0", "--value", "1", "--yes"}, host(3, ""));
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_THAT(refused.err, HasSubstr("takes no --value"));
}

TEST_F(DiagnosticsTest, NothingHappensWithoutAYes) {
  const Environment environment = host(4, "");
  for (const std::vector<std::string>& command : {std::vector<std::string>{"reset", "0"},
                                                  {"dump", "induce", "0"},
                                                  {"loopback", "run", "0"},
                                                  {"state", "set", "0", "mode-3"},
                                                  {"mbox", "send", "0", "0"}}) {
    const Outcome run = run_ovkctl(command, environment);
    EXPECT_EQ(run.exit_code, 2) << command[0];
    EXPECT_THAT(run.err, HasSubstr("--yes"));
    EXPECT_THAT(run.out, IsEmpty());
  }
  EXPECT_EQ(state_of_board(environment), "normal");
}

TEST_F(DiagnosticsTest, ABoardIsNotReadyWhileItIsReset) {
  const Environment slow = host(4, R"("reset_milliseconds": 3600000, )");
  EXPECT_EQ(run_json({"reset", "0", "--mode", "3", "--yes"}, slow).at("ready"), false);
  EXPECT_EQ(state_of_board(slow), "not-ready");
  const Outcome mailbox = run_ovkctl({"mbox", "send", "0", "0", "--yes"}, slow);
  EXPECT_EQ(mailbox.exit_code, 1);
  EXPECT_THAT(mailbox.err, HasSubstr("state show"));
  EXPECT_EQ(run_ovkctl({"reset", "0", "--yes"}, slow).exit_code, 1);
  const Outcome too_slow = run_ovkctl({"reset", "0", "--wait", "1", "--yes"},
                                      {{"RAVNSIM_TOPOLOGY", slow.at("RAVNSIM_TOPOLOGY")}});
  EXPECT_EQ(too_slow.exit_code, 1);
  EXPECT_THAT(too_slow.err, HasSubstr("not ready 1 s after"));
}

TEST_F(DiagnosticsTest, AResetIsWaitedForOnRequest) {
  const Environment quick = host(4, R"("reset_milliseconds": 200, )");
  EXPECT_EQ(run_json({"reset", "0", "--wait", "30", "--yes"}, quick).at("ready"), true);
  EXPECT_EQ(state_of_board(quick), "normal");
}

TEST_F(DiagnosticsTest, StatesOutliveTheProcessThatSetThem) {
  const Environment environment = host(3, "");
  for (const char* state : {"mode-5", "not-ready", "mode-3", "normal"}) {
    EXPECT_EQ(run_ovkctl({"state", "set", "0", state, "--yes"}, environment).exit_code, 0);
    EXPECT_EQ(state_of_board(environment), state);
  }
  EXPECT_EQ(run_ovkctl({"state", "set", "0", "asleep", "--yes"}, environment).exit_code, 2);
}

TEST_F(DiagnosticsTest, AMailboxMovesItsDataOnBothGenerations) {
  for (const int sli_mode : {3, 4}) {
    const json answer = run_json({"mbox", "send", "0", "0x00008400", "--write", "01 02 03 04",
                                  "--read", "6", "-o", folder.path("answer"), "--yes"},
                                 host(sli_mode, ""));
    EXPECT_EQ(answer.at("command"), "0x84");
    EXPECT_EQ(answer.at("status"), "0x0000");
    EXPECT_EQ(answer.at("read"), "010203040000");
    EXPECT_EQ(std::filesystem::file_size(folder.path("answer")), 256U + 6U);
  }
}

TEST_F(DiagnosticsTest, AMailboxNeverNamesMemoryOfItsOwn) {
  // The addresses would be followed in ovkctl's own memory.
  const json answer = run_json(
      {"mbox", "send", "0", "0x00003800", "0", "0", "16", "0x12345678", "--yes"}, host(4, ""));
  EXPECT_EQ(answer.at("mailbox").get<std::string>().substr(24, 16), "0000000000000000");
  for (const std::vector<std::string>& wrong :
       {std::vector<std::string>{"0x00000000", "--read", "4"},
        {"0x00003800", "--write", "01"},
        {"0x00003800", "--read", "4097"}}) {
    std::vector<std::string> command{"mbox", "send", "0", "--yes"};
    command.insert(command.end(), wrong.begin(), wrong.end());
    EXPECT_EQ(run_ovkctl(command, host(4, "")).exit_code, 2);
  }
}

TEST_F(DiagnosticsTest, ABusyFirmwareIsAskedAsOftenAsTheCommandLineSays) {
  for (const int sli_mode : {3, 4}) {
    const Environment busy = with_faults(
        host(sli_mode, ""), R"([{"command": "RAVN_MGMT_MBOX", "effect": "busy", "times": 2}])");
    const auto send = [&busy](const char* attempts) {
      return run_ovkctl({"mbox", "send", "0", "0", "--attempts", attempts, "--delay", "0", "--yes"},
                        busy);
    };
    EXPECT_EQ(send("3").exit_code, 0);
    const Outcome run = send("2");
    EXPECT_EQ(run.exit_code, 1);
    EXPECT_THAT(run.err, HasSubstr("0x00fd"));
    EXPECT_THAT(run.err, HasSubstr("--attempts"));
  }
}

TEST_F(DiagnosticsTest, ExternalDataOfAnSliConfigMailboxIsReadBackByAnotherProcess) {
  std::string mailbox(264, '\0');
  mailbox[1] = '\x9B';
  mailbox.replace(256, 8, "settings");
  const Environment environment = host(4, "");
  const auto send = [&](const std::string& bytes) {
    return run_json({"mbox", "send", "0", "@" + folder.file("mailbox", bytes), "--yes"},
                    environment)
        .at("mailbox")
        .get<std::string>();
  };
  send(mailbox);
  mailbox.replace(256, 8, std::string("\0\x09\0\0\0\0\0\0", 8));  // what makes it one that reads
  EXPECT_THAT(send(mailbox), testing::EndsWith("73657474696e6773"));
}

TEST_F(DiagnosticsTest, ADumpIsInducedAndFoundOnAnOlderBoard) {
  const Environment environment = host(3, R"("reset_milliseconds": 0, )");
  EXPECT_EQ(run_ovkctl({"dump", "induce", "0", "--yes"}, environment).exit_code, 0);
  const json region = run_json({"dump", "region", "0"}, environment);
  EXPECT_EQ(region.at("length"), 16);
  EXPECT_THAT(region.at("descriptor").get<std::string>(), testing::EndsWith("01000000"));
  EXPECT_EQ(run_ovkctl({"dump", "region", "0", "--selector", "1"}, environment).exit_code, 1);
  const Outcome refused = run_ovkctl({"dump", "region", "0"}, host(4, ""));
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_THAT(refused.err, HasSubstr("no dump region"));
}

}  // namespace
}  // namespace ovk::test
