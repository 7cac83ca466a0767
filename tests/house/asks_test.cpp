// A command of ovkctl that changes or interrupts an adapter asks before it does.

#include "tests/support/files.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace ovk::test {
namespace {

namespace fs = std::filesystem;

/** What changes nothing, although its name or what it calls says so. */
const std::map<std::string, const char*> harmless = {
    {"read_by_mailbox", "the mailbox reads a region"},
    {"query", "the call asks whether the firmware logs"},
    {"show_states", "the mode asks for the state"},
    {"ResetStatistics", "counters begin anew, and the adapter goes on"},
};

/** A file without its comments and what stands in quotes. */
std::string code_of(const fs::path& path) {
  static const std::regex noise{R"(^ *(/\*|\*).*|//.*|/\*.*?\*/|"(\\.|[^"\\])*")"};
  std::istringstream lines{read_file(path)};
  std::string code;
  for (std::string line; std::getline(lines, line);) {
    code += std::regex_replace(line, noise, "") + "\n";
  }
  return code;
}

/** Functions, methods (".read") and types by their names, with all that stands in them. */
using Bodies = std::map<std::string, std::string>;

void add_bodies(Bodies& bodies, const std::string& code) {
  static const std::regex heading{R"(^(?:class|struct) (\w+)|(\w+)\()"};
  std::istringstream lines{code};
  std::string block;
  int depth = 0;
  for (std::string line; std::getline(lines, line);) {
    if (block.empty() && (line.empty() || !std::isalpha(static_cast<unsigned char>(line[0])) ||
                          line.starts_with("namespace"))) {
      continue;
    }
    block += line + "\n";
    depth += static_cast<int>(std::ranges::count(line, '{') - std::ranges::count(line, '}'));
    const bool ends = !line.empty() && (line.back() == ';' || line.back() == '}');
    if (depth > 0 || !ends) {
      continue;
    }
    if (std::smatch match; std::regex_search(block, match, heading)) {
      const bool method = match.prefix().str().ends_with("::");
      bodies[(method ? "." : "") + match[1].str() + match[2].str()] += block;
    }
    block.clear();
  }
}

/** What the library's headers declare that changes or interrupts an adapter. */
std::set<std::string> changing_calls() {
  static const std::regex declaration{R"(OVK_API [^;(]*?(\w+)\()"};
  static const std::regex changes{
      "Set|Write|Reset|Issue|Delete|Create|Persist|Initiate|ableAuth|Update|InitR|Config|Loopback"};
  static const std::regex reads{"Get|Read|IssueDumpMBox"};
  std::set<std::string> calls;
  for (const auto& entry : fs::directory_iterator{fs::path{OVK_SOURCE_DIR} / "include/ovk"}) {
    const std::string code = code_of(entry.path());
    for (std::sregex_iterator match{code.begin(), code.end(), declaration}, end; match != end;
         ++match) {
      const std::string name = (*match)[1];
      if (std::regex_search(name, changes) && !std::regex_search(name, reads)) {
        calls.insert(name);
      }
    }
  }
  return calls;
}

/** Looks for some names in a function and in what it calls. */
class Reach {
 public:
  Reach(const Bodies& bodies, const std::set<std::string>& names)
      : bodies_{bodies}, names_{names} {}

  /** The way from a function to one of the names; empty when there is none. */
  std::string from(const std::string& function) {
    static const std::regex name{R"((\.|->)?(\w+))"};
    const std::string bare = function.substr(function.starts_with('.') ? 1 : 0);
    if (harmless.contains(bare)) {
      used_.insert(bare);
      return "";
    }
    if (names_.contains(bare)) {
      return bare;
    }
    const auto body = bodies_.find(function);
    if (body == bodies_.end() || !seen_.insert(function).second) {
      return "";
    }
    const std::string& code = body->second;
    for (std::sregex_iterator match{code.begin(), code.end(), name}, end; match != end; ++match) {
      const std::string word = (*match)[2];
      std::string way = (*match)[1].length() == 0 ? from(word) : "";
      way = way.empty() ? from("." + word) : way;
      if (!way.empty()) {
        return function + " > " + way;
      }
    }
    return "";
  }

  [[nodiscard]] const std::set<std::string>& used() const { return used_; }

 private:
  const Bodies& bodies_;
  const std::set<std::string>& names_;
  std::set<std::string> seen_;
  std::set<std::string> used_;
};

TEST(AsksTest, ACommandThatChangesAnAdapterAsks) {
  static const std::regex shows{R"(\.shows\((\w+)\))"};
  const fs::path root = fs::path{OVK_SOURCE_DIR} / "ovkctl";
  const std::set<std::string> changing = changing_calls();
  const std::set<std::string> asking{"ask"};
  Bodies shared;
  for (const auto& entry : fs::directory_iterator{root / "subjects"}) {
    if (entry.path().extension() == ".cpp") {
      add_bodies(shared, code_of(entry.path()));
    }
  }
  std::set<std::string> used;
  int found = 0;
  for (const auto& entry : fs::directory_iterator{root / "commands"}) {
    const std::string code = code_of(entry.path());
    Bodies bodies;
    add_bodies(bodies, code);
    bodies.insert(shared.begin(), shared.end());
    std::istringstream statements{code};
    for (std::string statement; std::getline(statements, statement, ';');) {
      std::smatch match;
      if (!std::regex_search(statement, match, shows)) {
        continue;
      }
      SCOPED_TRACE(entry.path().filename().string() + ": " + match[1].str());
      EXPECT_TRUE(bodies.contains(match[1])) << "the function is not found";
      Reach change{bodies, changing};
      const std::string way = change.from(match[1]);
      used.insert(change.used().begin(), change.used().end());
      EXPECT_TRUE(way.empty() || statement.find(".asks") != statement.npos)
          << "it does not ask: " << way;
      if (statement.find(".asks_itself(") != statement.npos) {
        EXPECT_NE((Reach{bodies, asking}.from(match[1])), "") << "it never asks";
      }
      found += way.empty() ? 0 : 1;
    }
  }
  EXPECT_GT(found, 25);
  for (const auto& [function, reason] : harmless) {
    EXPECT_TRUE(used.contains(function)) << function << " is gone";
  }
}

}  // namespace
}  // namespace ovk::test
