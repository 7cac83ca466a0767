// Declared commands against command lines: what arrives, what is refused, what the help says.

#include "ovkctl/frame/command.h"

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/terminal.h"
#include "tests/ovkctl/person.h"
#include "tests/support/files.h"

#include <cstdio>
#include <fmt/format.h>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace ovkctl {
namespace {

using ovk::test::Outcome;
using testing::AllOf;
using testing::HasSubstr;
namespace capture = testing::internal;

/** What the commands below saw last. */
std::string seen;

Outcome run_line(std::vector<const char*> words) {
  words.insert(words.begin(), "ovkctl");
  seen.clear();
  capture::CaptureStdout();
  capture::CaptureStderr();
  const int exit_code = run_command_line(static_cast<int>(words.size()), words.data());
  return {exit_code, capture::GetCapturedStdout(), capture::GetCapturedStderr()};
}

constexpr Word<std::uint32_t> board_word{"BOARD", "board", "1"};
constexpr Rest<std::uint32_t> words_rest{"WORD", "words", "2"};
constexpr Setting<std::uint32_t> count_setting{"-n,--count", "NUMBER", "times", "5", "", {1, 9}};
constexpr auto modes = words<int>({{10, "inner"}, {20, "outer"}});
constexpr Setting<int> mode_setting{"--mode", "", "way", "inner", "", modes};
constexpr Option<Wwn> to_option{"--to", "WWN", "receiver"};

Report send(std::uint32_t board, const std::vector<std::uint32_t>& words, std::uint32_t count,
            int mode, std::optional<Wwn> to) {
  seen = fmt::format("{} {} n{} m{}", board, fmt::join(words, " "), count, mode);
  seen += to ? " " + wwn_text(*to) : "";
  return {};
}

Report forget(std::uint32_t board) {
  seen = fmt::format("reset {}", board);
  return {};
}

void add_send(Command root) {
  const auto command = root.command("send", "Send words");
  command.command("reset", "Forget what was sent").takes(board_word).shows(forget);
  command.takes(board_word, words_rest, count_setting, mode_setting, to_option).shows(send);
}

Report erase(const Board& board) {
  seen = "erased " + board.name();
  return {};
}

constexpr OptionalWord<HexBytes> bytes_word{"BYTES", "what is read"};

Report read(std::optional<HexBytes> bytes) {
  Report report;
  report.field("place", "Place", 7);
  if (bytes) {
    report.section("more", "More").payload("rest", "", {0x21});
    report.section("none", "").note("Done.");
    report.payload("bytes", "", bytes->bytes);
  }
  return report;
}

void add_group(Command root) {
  const Command group = root.noun("group", "Commands of a kind");
  group.command("erase", "Erase all").asks("This erases all of {board}.").shows(erase);
  group.command("read", "Read bytes").takes(bytes_word).saves().shows(read);
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
    const Outcome result = run_line(words);
    EXPECT_EQ(result.exit_code, 2) << sentence;
    EXPECT_THAT(result.err, HasSubstr(sentence));
    EXPECT_EQ(result.out + seen, "") << sentence;
  }
}

TEST(CommandTest, HelpShowsArgumentsOptionsAndExample) {
  const Outcome help = run_line({"send", "--help"});
  EXPECT_EQ(help.exit_code, 0);
  for (const char* part :
       {"Usage: ovkctl send [OPTIONS]", "-n,--count NUMBER", "inner|outer", "--json", "reset",
        "Examples:\n  ovkctl send 1 2\n  ovkctl send reset 1\n"}) {
    EXPECT_THAT(help.out, HasSubstr(part));
  }
  const Outcome group = run_line({"group"});
  EXPECT_EQ(group.exit_code, 2);
  EXPECT_THAT(group.err, HasSubstr("Usage: ovkctl group [OPTIONS] [COMMAND]"));
}

TEST(ConfirmationTest, AtATerminalThePersonDecides) {
  for (const auto& [answer, exit_code] : {std::pair("\n", 1), {"n\n", 1}, {"y\n", 0}}) {
    Person person([] {
      seen.clear();
      const char* const line[] = {"ovkctl", "group", "erase", "1"};
      const int code = run_command_line(4, line);
      std::fprintf(stderr, "<%s>", seen.c_str());
      return code;
    });
    person.sees("This erases all of board 1. Continue? [y/N] ");
    person.types(answer);
    EXPECT_EQ(person.end(), exit_code) << answer << person.shown();
    EXPECT_THAT(person.shown(), testing::EndsWith(exit_code == 0 ? "<erased board 1>" : "<>"));
  }
}

TEST(OutputFileTest, BytesGoToTheFileOrToStandardOutputAndTheReportIsShownBesideThem) {
  const ovk::test::TemporaryFolder folder;
  const std::string path = folder.path() / "file";
  const auto read_to = [](const char* file) {
    return run_line({"group", "read", "6869", "--json", "-o", file});
  };
  EXPECT_THAT(run_line({"group", "read", "6869"}).out, HasSubstr("68 69"));
  const Outcome saved = run_line({"group", "read", "6869", "-o", path.c_str()});
  EXPECT_EQ(saved.out, "Place       7\nWritten to  " + path + "\n\nMore\n\nDone.\n");
  EXPECT_EQ(ovk::test::read_file(path), "hi!");
  EXPECT_THAT(read_to(path.c_str()).out,
              AllOf(HasSubstr("\"place\": 7"), HasSubstr("\"file\": \"" + path + "\"")));
  const Outcome piped = read_to("-");
  EXPECT_EQ(piped.out, "hi!");
  EXPECT_THAT(piped.err, HasSubstr("\"file\": \"-\""));
  const Outcome unwritable = read_to("/dev/full");
  EXPECT_EQ(unwritable.exit_code, 1);
  EXPECT_THAT(unwritable.err, HasSubstr("cannot be written"));

  const Outcome none = run_line({"group", "read", "-o", path.c_str()});
  EXPECT_EQ(none.exit_code, 1);
  EXPECT_EQ(none.out, "Place  7\n");
  EXPECT_THAT(none.err, HasSubstr("no bytes"));
}

TEST(ProgressTest, GrowsFromNothingOnATerminalAndIsSilentInAPipe) {
  const auto work = [] {
    Progress progress("Reading", 200);
    progress.update(100);
    return 0;
  };
  capture::CaptureStderr();
  work();
  EXPECT_EQ(capture::GetCapturedStderr(), "");

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
