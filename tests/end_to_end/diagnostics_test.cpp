// mbox, loopback, reset, state and dump, each step in a process of its own.

#include "tests/end_to_end/ovkctl.h"

namespace ovk::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

class DiagnosticsTest : public OvkctlTest {
 protected:
  json state_of_board() const { return json_of("state show 0").at("boards")[0].at("state"); }
};

TEST_F(DiagnosticsTest, EveryKindOfBoardPassesTheInternalLoopback) {
  for (const std::string board : {"0", "1", "2"}) {
    SCOPED_TRACE(board);
    EXPECT_THAT(
        json_of("loopback run " + board + " --count 20 --size 65536 --pattern random --yes"),
        Holds({{"sent", 20}, {"intact", 20}}));
    EXPECT_THAT(run("loopback end " + board + " --yes"),
                board == "1" ? Exits(0) : Exits(1, "may not be in loopback"))
        << "the run has ended it already";
  }
}

TEST_F(DiagnosticsTest, LoopbackCountsWhatIsCorruptedAndLost) {
  set_board();
  set_faults(R"([
    {"command": "RAVN_MGMT_LOOPBACK_TEST", "skip": 3, "times": 2, "effect": "corrupt", "value": 9},
    {"command": "RAVN_MGMT_LOOPBACK_TEST", "effect": "drop"}])");
  const Outcome counted = run("loopback run 0 --count 10 --yes --json");
  EXPECT_EQ(counted.exit_code, 1);
  const json report = json::parse(counted.out);
  EXPECT_THAT(report, Holds(R"({"sent": 10, "intact": 7, "corrupted": 2, "lost": 1,
      "wrong_bytes": "2", "first_bad_frame": 3, "first_bad_byte": 9})"_json));
  EXPECT_THAT(report.at("error").at("message"), HasSubstr("3 of 10 frames did not come back"));
}

TEST_F(DiagnosticsTest, TheExternalLoopbackNeedsAPlugAndAnOlderBoardTakesNoValue) {
  set_board({{"sli_mode", 3}});
  EXPECT_THAT(run("loopback run 0 --mode external --yes"), Exits(1, "loopback plug"));
  EXPECT_THAT(run("loopback run 0 --value 1 --yes"), Exits(1, "takes no --value"));
  set_board({{"sli_mode", 3}, {"loopback_plug", true}});
  EXPECT_EQ(json_of("loopback run 0 --mode external --yes").at("intact"), 100);
  EXPECT_EQ(json_of("link 0").at("lips"), 2) << "each run on an older board ends with one";
}

TEST_F(DiagnosticsTest, ABoardIsNotReadyWhileItIsReset) {
  set_board({{"reset_milliseconds", 3600000}});
  EXPECT_EQ(json_of("reset 0 --mode 3 --yes").at("ready"), false);
  EXPECT_EQ(state_of_board(), "not-ready");
  EXPECT_THAT(run("mbox send 0 0 --yes"), Exits(1, "state show"));
  EXPECT_THAT(run("reset 0 --yes"), Exits(1, "A board that is being reset takes no other"));
  environment["RAVNSIM_STATE"] = "another";
  EXPECT_THAT(run("reset 0 --wait 1 --yes"), Exits(1, "not ready 1 s after"));
}

TEST_F(DiagnosticsTest, AResetIsWaitedForOnRequest) {
  set_board({{"reset_milliseconds", 200}});
  EXPECT_EQ(json_of("reset 0 --wait 30 --yes").at("ready"), true);
  EXPECT_EQ(state_of_board(), "normal");
  EXPECT_THAT(column(json_of("events 0").at("events"), "event"),
              testing::ElementsAre("link up", "link down", "link up"));
}

TEST_F(DiagnosticsTest, StatesOutliveTheProcessThatSetThem) {
  set_board({{"sli_mode", 3}});
  for (const std::string state : {"mode-5", "not-ready", "mode-3", "normal"}) {
    EXPECT_THAT(run("state set 0 " + state + " --yes"), Exits(0));
    EXPECT_EQ(state_of_board(), state);
  }
  EXPECT_THAT(run("state set 0 asleep --yes"), Exits(2));
}

TEST_F(DiagnosticsTest, AMailboxMovesItsDataOnBothGenerations) {
  for (const int sli_mode : {3, 4}) {
    SCOPED_TRACE(sli_mode);
    set_board({{"sli_mode", sli_mode}});
    EXPECT_THAT(json_of("mbox send 0 0x00008400 --write 01020304 --read 6 -o answer --yes"),
                Holds({{"command", "0x84"}, {"status", "0x0000"}, {"read", "010203040000"}}));
    EXPECT_EQ(contents_of("answer").size(), 256U + 6U);
  }
}

TEST_F(DiagnosticsTest, AMailboxNeverNamesMemoryOfItsOwn) {
  set_board();
  // The addresses would be followed in ovkctl's own memory.
  const std::string answer =
      json_of("mbox send 0 0x00003800 0 0 16 0x12345678 --yes").at("mailbox");
  EXPECT_EQ(answer.substr(24, 16), "0000000000000000");
  for (const std::string wrong :
       {"0x00000000 --read 4", "0x00003800 --write 01", "0x00003800 --read 4097"}) {
    EXPECT_THAT(run("mbox send 0 --yes " + wrong), Exits(2)) << wrong;
  }
  write("mailbox", std::string(4097, '\0'));
  EXPECT_THAT(run("mbox send 0 @mailbox --yes"), Exits(1, "is too long: at most 4096 bytes fit"));
}

TEST_F(DiagnosticsTest, ABusyFirmwareIsAskedAsOftenAsTheCommandLineSays) {
  set_faults(R"([{"command": "RAVN_MGMT_MBOX", "effect": "busy", "times": 2}])");
  for (const int sli_mode : {3, 4}) {
    SCOPED_TRACE(sli_mode);
    set_board({{"sli_mode", sli_mode}});
    EXPECT_THAT(run("mbox send 0 0 --attempts 3 --delay 0 --yes"), Exits(0));
    const Outcome gave_up = run("mbox send 0 0 --attempts 2 --delay 0 --yes");
    EXPECT_THAT(gave_up, Exits(1, "0x00fd"));
    EXPECT_THAT(gave_up.err, HasSubstr("--attempts"));
  }
}

TEST_F(DiagnosticsTest, ExternalDataOfAnSliConfigMailboxIsReadBackByAnotherProcess) {
  set_board();
  std::string mailbox(264, '\0');
  mailbox[1] = '\x9B';
  mailbox.replace(256, 8, "settings");
  write("mailbox", mailbox);
  json_of("mbox send 0 @mailbox --yes");
  mailbox.replace(256, 8, std::string("\0\x09\0\0\0\0\0\0", 8));  // what makes it one that reads
  write("mailbox", mailbox);
  EXPECT_THAT(json_of("mbox send 0 @mailbox --yes").at("mailbox").get<std::string>(),
              EndsWith("73657474696e6773"));
}

TEST_F(DiagnosticsTest, ADumpIsInducedAndFoundOnAnOlderBoard) {
  set_board({{"sli_mode", 3}, {"reset_milliseconds", 0}});
  EXPECT_THAT(run("dump induce 0 --yes"), Exits(0));
  const json region = json_of("dump region 0");
  EXPECT_EQ(region.at("length"), 16);
  EXPECT_THAT(region.at("descriptor").get<std::string>(), EndsWith("01000000"));
  EXPECT_THAT(run("dump region 0 --selector 1"), Exits(1, "no dump region of this selector"));
  set_board();
  EXPECT_THAT(run("dump region 0"), Exits(1, "no dump region"));
}

}  // namespace
}  // namespace ovk::test
