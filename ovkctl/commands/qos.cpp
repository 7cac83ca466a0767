#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"

#include <ovk/features.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace ovkctl {
namespace {

constexpr std::size_t kLongestFile = 1024 * 1024;
constexpr const char* kWildcard = "*";

constexpr ResultText kListResults[] = {
    {OVK_MORE_DATA, "the driver has more rules than a table can have",
     "Look in the driver's log for the reason."},
};

constexpr ResultText kSetResults[] = {
    {OVK_FAILED, "the command was not delivered or the driver refused the rules",
     "The driver may take fewer rules; look in its log for the reason. The old rules are in "
     "force."},
};

std::string field_text(const FcpPriorityMatch& field) {
  const bool wildcard =
      std::ranges::all_of(field.bytes, [](std::uint8_t byte) { return byte == 0xFF; });
  Wwn digits;
  std::ranges::copy(field.bytes, digits.bytes);
  return wildcard ? kWildcard : wwn_text(digits);
}

FcpPriorityMatch parse_field(const std::string& text) {
  FcpPriorityMatch field;
  std::ranges::fill(field.bytes, std::uint8_t{0xFF});
  if (text != kWildcard) {
    Wwn digits;
    try {
      parse_value(text, digits);
    } catch (const UsageError&) {
      throw UsageError("\"" + text + "\" is neither 16 hex digits nor *");
    }
    std::ranges::copy(digits.bytes, field.bytes);
  }
  return field;
}

FcpPriorityEntry parse_rule(const std::vector<std::string>& words) {
  FcpPriorityEntry rule{};
  constexpr std::size_t fields = std::size(FcpPriorityEntry{}.match);
  if (words.size() != fields + 1) {
    throw UsageError("a rule is four fields and a priority");
  }
  std::transform(words.begin(), words.end() - 1, rule.match, parse_field);
  parse_value(words.back(), rule.priority);
  return rule;
}

/** Adds the rule of a line, if it holds one. */
void add_line(FcpPriorityList& list, const std::string& line) {
  std::istringstream rest(line.substr(0, line.find('#')));
  const std::vector<std::string> words{std::istream_iterator<std::string>(rest), {}};
  if (words.empty()) {
    return;
  }
  if (list.count == OVK_FCP_PRIORITY_MAX_ENTRIES) {
    throw UsageError("a table has at most " + std::to_string(list.count) + " rules");
  }
  list.entries[list.count++] = parse_rule(words);
}

std::unique_ptr<FcpPriorityList> read_rules(const std::string& path) {
  const std::vector<std::uint8_t> bytes = read_file(path, kLongestFile);
  std::istringstream text(std::string(bytes.begin(), bytes.end()));
  auto list = std::make_unique<FcpPriorityList>();
  std::string line;
  for (std::uint32_t number = 1; std::getline(text, line); ++number) {
    try {
      add_line(*list, line);
    } catch (const UsageError& error) {
      throw UsageError(path + ":" + std::to_string(number) + ": " + error.what());
    }
  }
  return list;
}

std::uint32_t read_flag(std::uint32_t board) {
  std::uint32_t flag = 0;
  check_board(OVK_QoSGetGlobalFlag(board, &flag), board, "Reading the FCP priority flag");
  return flag;
}

/** The rules in the order in which they apply. */
void add_rules(Report& report, const FcpPriorityList& list) {
  Table& table = report.table("rules", "",
                              {{"order", "ORDER"},
                               {"field1", "FIELD 1"},
                               {"field2", "FIELD 2"},
                               {"field3", "FIELD 3"},
                               {"field4", "FIELD 4"},
                               {"priority", "PRIORITY"}},
                              "The board has no FCP priority rules.");
  for (std::uint32_t i = 0; i < std::min<std::uint32_t>(list.count, std::size(list.entries)); ++i) {
    const FcpPriorityEntry& rule = list.entries[i];
    table.row({i + 1, field_text(rule.match[0]), field_text(rule.match[1]),
               field_text(rule.match[2]), field_text(rule.match[3]), rule.priority});
  }
}

Report rules_report(std::uint32_t board, const FcpPriorityList& list) {
  Report report;
  report.field("board", "Board", board)
      .field("applied", "Rules are applied", read_flag(board) != 0)
      .field("count", "Rules", list.count);
  add_rules(report, list);
  return report;
}

Report list_report(std::uint32_t board) {
  auto list = std::make_unique<FcpPriorityList>();
  list->count = OVK_FCP_PRIORITY_MAX_ENTRIES;
  check_board(OVK_QoSGetConfig(board, list.get()), board, "Reading the FCP priority rules",
              kListResults);
  return rules_report(board, *list);
}

Report flag_report(std::uint32_t board) {
  Report report;
  report.field("board", "Board", board)
      .field("applied", "Rules are applied", read_flag(board) != 0);
  return report;
}

void add_list(const Command& qos) {
  add_board_report(qos, "list", "Show the rules in the order in which they apply",
                   "ovkctl qos list 0", list_report);
}

void add_set(const Command& qos) {
  const Command set = qos.subcommand("set", "Replace the rules by those of a file");
  set.example("ovkctl qos set 0 rules.txt");
  const auto board = set.board();
  const auto file = set.argument<std::string>(
      "FILE", "rules, one a line: four fields (16 hex digits, or * for any) and a priority");
  const auto yes = set.yes();
  set.action([=](const Context& context) {
    const auto list = read_rules(*file);
    const Session session;
    const std::uint32_t index = session.board(*board);
    confirm(*yes, "This replaces all FCP priority rules of board " + std::to_string(index) + ".");
    check_board(OVK_QoSSetConfig(index, list.get()), index, "Setting the FCP priority rules",
                kSetResults);
    context.print(rules_report(index, *list));
  });
}

void add_flag(const Command& qos) {
  const Command flag = qos.subcommand("flag", "Show or change whether the rules are applied");
  flag.example("ovkctl qos flag 0");
  flag.example("ovkctl qos flag 0 on");
  const auto board = flag.board();
  const auto wanted = flag.optional_argument<std::string>(
      "STATE", "on or off; without it, the state is shown", {}, [](const std::string& word) {
        if (word != "on" && word != "off") {
          throw UsageError("\"" + word + "\" is neither on nor off");
        }
      });
  flag.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    if (wanted.present()) {
      check_board(OVK_QoSSetGlobalFlag(index, *wanted == "on" ? 1 : 0), index,
                  "Setting the FCP priority flag");
    }
    context.print(flag_report(index));
  });
}

}  // namespace

void add_qos(Command root) {
  const Command qos = root.subcommand("qos", "Show and change the FCP priority (QoS) rules");
  add_list(qos);
  add_set(qos);
  add_flag(qos);
}

}  // namespace ovkctl
