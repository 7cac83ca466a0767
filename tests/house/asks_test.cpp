// A command of ovkctl that changes or interrupts an adapter asks before it does.

#include "tests/house/tree.h"
#include "tests/support/files.h"

#include <cctype>
#include <map>
#include <regex>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace ovk::test {
namespace {

/** What changes nothing, although its name or what it calls says so. */
const std::map<std::string, const char*> harmless = {
    {"read_by_mailbox", "the mailbox reads a region"},
    {"query", "the call asks whether the firmware logs"},
    {"show_states", "the mode asks for the state"},
    {"ResetStatistics", "counters begin anew, and the adapter goes on"},
};

/** A file without its comments and what stands in quotes. */
std::string code_of(const std::string& text) {
  static const std::regex noise{R"(^ *(/\*|\*).*|//.*|/\*.*?\*/|"(\\.|[^"\\])*")"};
  std::string code;
  for (const std::string& line : lines_of(text)) {
    code += std::regex_replace(line, noise, "") + "\n";
  }
  return code;
}

/** Functions, methods (".read") and types by their names, with all that stands in them. */
using Bodies = std::map<std::string, std::string>;

void add_bodies(Bodies& bodies, const std::string& code) {
  static const std::regex heading{R"(^(?:class|struct) (\w+)|(::)?(\b\w+)\()"};
  std::string of_none;
  std::string* body = &of_none;
  for (const std::string& line : lines_of(code)) {
    // Only what is defined anew stands at a line's begin.
    if (!line.empty() && std::isalpha(static_cast<unsigned char>(line[0])) != 0) {
      std::smatch match;
      body = std::regex_search(line, match, heading)
                 ? &bodies[(match[2].matched ? "." : "") + match.str(1) + match.str(3)]
                 : &of_none;
    }
    *body += line + "\n";
  }
}

/** What the library's headers declare that changes or interrupts an adapter. */
Names changing_calls() {
  static const std::regex changes{
      "Set|Write|Reset|Issue|Delete|Create|Persist|Initiate|ableAuth|Update|InitR|Config|Loopback"};
  static const std::regex reads{"Get|Read|IssueDumpMBox"};
  Names calls = declared("include");
  std::erase_if(calls, [](const std::string& name) {
    return !std::regex_search(name, changes) || std::regex_search(name, reads);
  });
  return calls;
}

/** The way from a function to one of some names through all that it calls, each of which it adds to
    `seen`; empty when there is none. */
std::string way(const std::string& function, const Names& names, const Bodies& bodies,
                Names& seen) {
  static const std::regex name{R"((\.|->)?(\w+))"};
  const std::string bare = function.substr(function.starts_with('.') ? 1 : 0);
  if (!seen.insert(function).second || harmless.contains(bare)) {
    return "";
  }
  if (names.contains(bare)) {
    return bare;
  }
  const std::string code = bodies.contains(function) ? bodies.at(function) : "";
  for (std::sregex_iterator match{code.begin(), code.end(), name}, end; match != end; ++match) {
    const std::string word = match->str(2);
    std::string rest = (*match)[1].matched ? "" : way(word, names, bodies, seen);
    rest = rest.empty() ? way("." + word, names, bodies, seen) : rest;
    if (!rest.empty()) {
      return function + " > " + rest;
    }
  }
  return "";
}

TEST(AsksTest, ACommandThatChangesAnAdapterAsks) {
  static const std::regex shows{R"(\.shows\((\w+)\))"};
  const Names changing = changing_calls();
  Bodies shared;
  for (const auto& [path, text] : files_below("ovkctl/subjects", R"(.*\.cpp)")) {
    add_bodies(shared, code_of(text));
  }
  Names all_seen;
  int found = 0;
  for (const auto& [path, text] : files_below("ovkctl/commands")) {
    const std::string code = code_of(text);
    Bodies bodies;
    add_bodies(bodies, code);
    bodies.insert(shared.begin(), shared.end());
    std::istringstream statements{code};
    for (std::string statement; std::getline(statements, statement, ';');) {
      for (const std::string& shown : all_matches(statement, shows)) {
        SCOPED_TRACE(path + ": " + shown);
        EXPECT_TRUE(bodies.contains(shown)) << "the function is not found";
        Names seen;
        const std::string change = way(shown, changing, bodies, seen);
        found += change.empty() ? 0 : 1;
        EXPECT_TRUE(change.empty() || statement.find(".asks") != statement.npos)
            << "it does not ask: " << change;
        all_seen.merge(seen);
        seen.clear();
        EXPECT_TRUE(statement.find(".asks_itself(") == statement.npos ||
                    way(shown, {"ask"}, bodies, seen) != "")
            << "it never asks";
      }
    }
  }
  EXPECT_GT(found, 25);
  for (const auto& [function, reason] : harmless) {
    EXPECT_TRUE(all_seen.contains(function) || all_seen.contains("." + function))
        << function << " is gone";
  }
}

}  // namespace
}  // namespace ovk::test
