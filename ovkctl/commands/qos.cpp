#include "ovkctl/frame/command.h"
#include "ovkctl/frame/files.h"

#include <ovk/features.h>

#include <algorithm>
#include <bit>
#include <iterator>
#include <memory>
#include <sstream>

namespace ovkctl {
namespace {

constexpr std::size_t longest_file = 1024 * 1024;
constexpr const char* wildcard = "*";

constexpr ResultText list_results[] = {
    {OVK_MORE_DATA, "the driver has more rules than a table can have",
     "Look in the driver's log for the reason."},
};

constexpr ResultText set_results[] = {
    {OVK_FAILED, "the command was not delivered or the driver refused the rules",
     "The driver may take fewer rules; look in its log for the reason. The old rules are in "
     "force."},
};

/** What matches any field. */
constexpr const char* all_ones = "ffffffffffffffff";

std::string field_text(const FcpPriorityMatch& field) {
  const std::string digits = bytes_text(field.bytes);
  return digits == all_ones ? wildcard : bytes_text(field.bytes, ":");
}

FcpPriorityMatch parse_field(const std::string& text) {
  Wwn digits{};
  try {
    parse_value(text == wildcard ? all_ones : text, digits);
  } catch (const UsageError&) {
    throw UsageError("\"{}\" is neither 16 hex digits nor *.", text);
  }
  return std::bit_cast<FcpPriorityMatch>(digits);
}

FcpPriorityEntry parse_rule(const std::vector<std::string>& words) {
  FcpPriorityEntry rule{};
  constexpr std::size_t fields = std::size(FcpPriorityEntry{}.match);
  if (words.size() != fields + 1) {
    throw UsageError("A rule is four fields and a priority.");
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
    throw UsageError("A table has at most {} rules.", list.count);
  }
  list.entries[list.count++] = parse_rule(words);
}

std::unique_ptr<FcpPriorityList> read_rules(const std::string& path) {
  const Bytes bytes = read_file(path, longest_file);
  std::istringstream text(std::string(bytes.begin(), bytes.end()));
  auto list = std::make_unique<FcpPriorityList>();
  std::string line;
  for (std::uint32_t number = 1; std::getline(text, line); ++number) {
    try {
      add_line(*list, line);
    } catch (const UsageError& error) {
      throw UsageError("{}:{}: {}", path, number, error.what());
    }
  }
  return list;
}

template <std::size_t number>
constexpr auto match_text =
    [](const FcpPriorityEntry& rule) { return field_text(rule.match[number]); };

constexpr auto order = [](const FcpPriorityEntry& /*rule*/, std::uint32_t number) {
  return number + 1;
};

constexpr Column<FcpPriorityEntry> rule_columns[] = {
    {"order", "ORDER", order},
    {"field1", "FIELD 1", match_text<0>},
    {"field2", "FIELD 2", match_text<1>},
    {"field3", "FIELD 3", match_text<2>},
    {"field4", "FIELD 4", match_text<3>},
    {"priority", "PRIORITY", field<&FcpPriorityEntry::priority>},
};

bool read_flag(const Board& board) {
  return board.read(OVK_QoSGetGlobalFlag, "Reading the FCP priority flag") != 0;
}

Report rules_report(const Board& board, const FcpPriorityList& list) {
  return board.report()
      .field("applied", "Rules are applied", read_flag(board))
      .field("count", "Rules", list.count)
      .table("rules", "", rule_columns, first_of(list.entries, list.count),
             "The board has no FCP priority rules.");
}

Report list_rules(const Board& board) {
  const auto list = std::make_unique<FcpPriorityList>();
  list->count = OVK_FCP_PRIORITY_MAX_ENTRIES;
  board.check(OVK_QoSGetConfig(board, list.get()), "Reading the FCP priority rules", list_results);
  return rules_report(board, *list);
}

constexpr Word<std::string> file_word{
    "FILE", "rules, one a line: four fields (16 hex digits, or * for any) and a priority",
    "rules.txt"};

Report set_rules(const Board& board, const std::string& file) {
  const auto list = read_rules(file);
  board.ask("This replaces all FCP priority rules of {board}.");
  board.check(OVK_QoSSetConfig(board, list.get()), "Setting the FCP priority rules", set_results);
  return rules_report(board, *list);
}

constexpr auto switches = words<bool>({{true, "on"}, {false, "off"}});
constexpr OptionalWord<bool> state_word{"STATE", "on or off; without it, the state is shown", "on",
                                        switches};

Report show_or_set_flag(const Board& board, std::optional<bool> state) {
  if (state) {
    board.ask("This {} applying the FCP priority rules of {board}.", *state ? "starts" : "stops");
    board.check(OVK_QoSSetGlobalFlag(board, *state ? 1 : 0), "Setting the FCP priority flag");
  }
  return board.report().field("applied", "Rules are applied", read_flag(board));
}

}  // namespace

void add_qos(Command root) {
  const Command qos = root.noun("qos", "Show and change the FCP priority (QoS) rules");
  qos.command("list", "Show the rules in the order in which they apply").shows(list_rules);
  qos.command("set", "Replace the rules by those of a file")
      .takes(file_word)
      .asks_itself()
      .shows(set_rules);
  qos.command("flag", "Show or change whether the rules are applied")
      .takes(state_word)
      .asks_itself()
      .example("0")
      .shows(show_or_set_flag);
}

}  // namespace ovkctl
