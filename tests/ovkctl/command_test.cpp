// Declared commands against command lines: what arrives, what is refused, what the help says.

#include "ovkctl/frame/command.h"

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/terminal.h"
#include "tests/ovkctl/person.h"

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace ovkctl {
namespace {

using testing::HasSubstr;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

/** What the commands below saw last. */
std::string seen;

struct Result {
  int exit_code;
  std::string out;
  std::string err;
};

Result run_line(std::vector<const char*> words) {
  words.insert(words.begin(), "ovkctl");
  seen.clear();
  CaptureStdout();
  CaptureStderr();
  const int exit_code = run_command_line(static_cast<int>(words.size()), words.data());
  return {exit_code, GetCapturedStdout(), GetCapturedStderr()};
}

void add_send(Command root) {
  const Command send = root.subcommand("send", "Send words");
  send.example("ovkctl send 1 2");
  const auto board = send.board();
  const auto words = send.arguments<std::uint32_t>("WORD", "words");
  const auto count = send.option<std::uint32_t>("-n,--count", "NUMBER", "times", 5, between(1, 9));
  const auto mode = send.choice<int>("--mode", "way", {{"inner", 10}, {"outer", 20}}, 10);
  const auto wwn = send.option<Wwn>("--to", "WWN", "receiver");
  send.action([=](const Context&) {
    seen = std::to_string(board->given);
    for (const std::uint32_t word : *words) {
      seen += " " + std::to_string(word);
    }
    seen += " n" + std::to_string(*count) + " m" + std::to_string(*mode);
    seen += wwn.present() ? " " + wwn_text(*wwn) : "";
  });

  const Command reset = send.subcommand("reset", "Forget what was sent");
  reset.example("ovkctl send reset 1");
  const auto reset_board = reset.board();
  reset.action([=](const Context&) { seen = "reset " + std::to_string(reset_board->given); });
}

void add_group(Command root) {
  const Command group = root.subcommand("group", "Commands of a kind");
  const Command erase = group.subcommand("erase", "Erase all");
  erase.example("ovkctl group erase --yes");
  const auto yes = erase.yes();
  erase.action([=](const Context&) {
    confirm(*yes, "This erases all.");
    seen = "erased";
  });
}

TEST(CommandTest, ArgumentsAndOptionsArriveTyped) {
  EXPECT_EQ(run_line({"send", "0x1f", "7", "4294967295"}).err, "");
  EXPECT_EQ(seen, "31 7 4294967295 n5 m10");
  run_line({"send", "0", "--mode", "outer", "--to", "10000200540000AB", "-n9", "1", "2"});
  EXPECT_EQ(seen, "0 1 2 n9 m20 10:00:02:00:54:00:00:ab");
  run_line({"send", "reset", "3"});
  EXPECT_EQ(seen, "reset 3");
}

TEST(CommandTest, WrongUsageExitsWith2AndNamesTheMistake) {
  const std::vector<std::pair<std::vector<const char*>, const char*>> mistakes = {
      {{"send"}, "BOARD is required"},
      {{"send", "1"}, "WORD is required"},
      {{"send", "x", "1"}, "BOARD: \"x\" is not a number"},
      {{"send", "1", "4294967296"}, "WORD: 4294967296 is too large"},
      {{"send", "-1", "1"}, "-1"},
      {{"send", "1", "0x"}, "WORD: \"0x\" is not a number"},
      {{"send", "1", "1", "-n", "10"}, "10 is not from 1 to 9"},
      {{"send", "1", "1", "--mode", "up"}, "\"up\" is none of inner|outer"},
      {{"send", "1", "1", "--to", "10:00:02:00:54:00:00"}, "is not a world-wide name"},
      {{"send", "1", "1", "--to", "1:00:02:00:54:00:00:001"}, "is not a world-wide name"},
      {{"group", "nothing"}, "nothing"},
  };
  for (const auto& [words, sentence] : mistakes) {
    const Result result = run_line(words);
    EXPECT_EQ(result.exit_code, 2) << sentence;
    EXPECT_THAT(result.err, HasSubstr(sentence));
    EXPECT_EQ(result.out + seen, "") << sentence;
  }
}

TEST(CommandTest, HelpShowsArgumentsOptionsAndExample) {
  const Result help = run_line({"send", "--help"});
  EXPECT_EQ(help.exit_code, 0);
  for (const char* part : {"Usage: ovkctl send [OPTIONS]", "-n,--count NUMBER", "inner|outer",
                           "--json", "reset", "Example:\n  ovkctl send 1 2\n"}) {
    EXPECT_THAT(help.out, HasSubstr(part));
  }
  const Result group = run_line({"group"});
  EXPECT_EQ(group.exit_code, 2);
  EXPECT_THAT(group.err, HasSubstr("Usage: ovkctl group [OPTIONS] [COMMAND]"));
}

TEST(ConfirmationTest, WithoutATerminalOnlyYesLetsItHappen) {
  ASSERT_NE(std::freopen("/dev/null", "r", stdin), nullptr);
  const Result refused = run_line({"group", "erase"});
  EXPECT_EQ(refused.exit_code, 2);
  EXPECT_EQ(refused.err, "ovkctl: This erases all. Confirm it with --yes.\n");
  EXPECT_EQ(seen, "");
  EXPECT_EQ(run_line({"group", "erase", "--yes"}).exit_code, 0);
  EXPECT_EQ(seen, "erased");
}

TEST(ConfirmationTest, AtATerminalThePersonDecides) {
  for (const auto& [answer, exit_code] : {std::pair("\n", 1), {"n\n", 1}, {"y\n", 0}}) {
    Person person([] {
      seen.clear();
      const char* const line[] = {"ovkctl", "group", "erase"};
      const int code = run_command_line(3, line);
      std::fprintf(stderr, "<%s>", seen.c_str());
      return code;
    });
    person.sees("This erases all. Continue? [y/N] ");
    person.types(answer);
    EXPECT_EQ(person.end(), exit_code) << answer << person.shown();
    EXPECT_THAT(person.shown(), testing::EndsWith(exit_code == 0 ? "<erased>" : "<>"));
  }
}

TEST(ProgressTest, GrowsFromNothingOnATerminalAndIsSilentInAPipe) {
  const auto work = [] {
    Progress progress("Reading", 200);
    progress.update(100);
    return 0;
  };
  CaptureStderr();
  work();
  EXPECT_EQ(GetCapturedStderr(), "");

  Person person(work);
  EXPECT_EQ(person.end(), 0);
  EXPECT_EQ(person.shown(),
            "\rReading [                                        ]   0 %"
            "\rReading [####################                    ]  50 %\r\x1b[K");
}

}  // namespace

void add_commands(Command root) {
  add_group(root);
  add_send(root);
}

}  // namespace ovkctl
