// What must hold about the sources, and what no compiler checks.

#include "driver_abi/commands.h"
#include "tests/house/tree.h"
#include "tests/support/files.h"

#include <algorithm>
#include <functional>
#include <map>
#include <regex>
#include <string>

#include <gtest/gtest.h>

namespace ovk::test {
namespace {

/** Rooms by their level: in one folder at the top, a room uses rooms of lower levels only. */
const std::map<std::string, int> levels = {
    {"library/core", 0},       {"library/fabric", 1},     {"library/hbaapi", 2},
    {"library/boards", 3},     {"library/info", 4},       {"library/mailbox", 4},
    {"library/npiv", 4},       {"library/regions", 5},    {"library/features", 5},
    {"library/auth", 5},       {"simulator/topology", 0}, {"simulator/call", 1},
    {"simulator/board", 2},    {"simulator/fabric", 3},   {"simulator/host", 4},
    {"simulator/commands", 5}, {"simulator/entry", 6},    {"ovkctl/frame", 0},
    {"ovkctl/subjects", 1},    {"ovkctl/commands", 2},    {"ovkctl/main.cpp", 3},
};

/** The first folder of a path. */
std::string house_of(const std::string& path) { return path.substr(0, path.find('/')); }

/** The room that a file or an included header belongs to: the first folder, where rooms have levels
    two. */
std::string room_of(const std::string& path) {
  const std::string house = house_of(path);
  const std::string room = path.substr(0, path.find('/', house.size() + 1));
  return levels.contains(room) ? room : house;
}

bool may_use(const std::string& room, const std::string& other) {
  if (levels.contains(room) && levels.contains(other) && house_of(room) == house_of(other)) {
    return room == other || levels.at(other) < levels.at(room);
  }
  return room == other || (other == "driver_abi" && room != "include");
}

struct SourceLine {
  std::string path;
  std::string room;
  int number;
  std::string text;
};

void for_each_line(const std::function<void(const SourceLine&)>& look) {
  for (const char* house : {"include", "driver_abi", "library", "simulator", "ovkctl"}) {
    for (const auto& [path, text] : files_below(house)) {
      int number = 0;
      for (const std::string& line : lines_of(text)) {
        look({path, room_of(path), ++number, line});
      }
    }
  }
}

void report(const SourceLine& line, const std::string& mistake) {
  ADD_FAILURE() << line.path << ":" << line.number << ": " << mistake << "\n" << line.text;
}

/** A path without its extension. */
std::string stem_of(const std::string& path) { return path.substr(0, path.rfind('.')); }

TEST(SourceTest, NoRoomIncludesFromARoomThatItDoesNotBuildOn) {
  static const std::regex include{R"re(^#include "(.*)")re"};
  int includes = 0;
  for_each_line([&](const SourceLine& line) {
    for (const std::string& header : all_matches(line.text, include)) {
      ++includes;
      if (const std::string other = room_of(header); !may_use(line.room, other)) {
        report(line, line.room + " does not build on " + other);
      }
    }
  });
  EXPECT_GT(includes, 10);
}

TEST(SourceTest, NoLineHasWhatItsFolderMustNotHave) {
  static const struct {
    std::regex path;
    std::regex line;
    const char* mistake;
  } rules[] = {
      {std::regex{"simulator/.*"}, std::regex{"^#include <ovk/"},
       "the simulator knows the library only through the channel"},
      {std::regex{"driver_abi/.*"}, std::regex{R"(^#include <ovk/(?!types\.h>))"},
       "the contract needs the basic types of the interface only"},
      // The header of the calls that hand statuses out as they are repeats those, and is checked.
      {std::regex{R"((?!driver_abi/status\.h|include/ovk/auth\.h).*)"},
       std::regex{"0x0?bad0", std::regex::icase}, "a status number outside driver_abi/status.h"},
      {std::regex{"library/.*"},
       std::regex{R"(^(?!\s*(//|\*|/\*)).*\b(strcpy|strcat|sprintf|vsprintf|gets|alloca)\s*\()"},
       "an unbounded function"},
  };
  for_each_line([](const SourceLine& line) {
    for (const auto& rule : rules) {
      if (std::regex_match(line.path, rule.path) && std::regex_search(line.text, rule.line)) {
        report(line, rule.mistake);
      }
    }
  });
}

/** What the library's headers declare for others; the file, without extension, that defines it. */
std::map<std::string, std::string> exported_definitions() {
  static const std::regex definition{
      R"(^(?!static_assert|using)[a-zA-Z][^(\[={;]*?(\w+)(\(|\[| =|;))"};
  std::map<std::string, std::string> homes;
  for (const char* folder : {"include", "library"}) {
    for (const std::string& name : declared(folder)) {
      homes.emplace(name, "");
    }
  }
  for_each_line([&](const SourceLine& line) {
    std::smatch match;
    if (line.room.starts_with("library/") && line.path.ends_with(".cpp") &&
        std::regex_search(line.text, match, definition) && homes.contains(match[1])) {
      std::string& home = homes.at(match[1]);
      EXPECT_EQ(home, "") << match[1] << " is defined twice, or called where this looks like it";
      home = stem_of(line.path);
    }
  });
  for (const auto& [name, home] : homes) {
    EXPECT_NE(home, "") << name << " is defined nowhere";
  }
  return homes;
}

/** The names in a line of code; none where it declares one or holds a comment only. */
Names names_in(const std::string& text) {
  static const std::regex name{R"((\w+))"};
  static const std::regex not_code{R"(^ *(\*|/|$)|OVK_API)"};
  return std::regex_search(text, not_code) ? Names{}
                                           : all_matches(text.substr(0, text.find("//")), name);
}

/** The files of the library, without extension, that each of them uses by an include or a name. */
using Uses = std::map<std::string, Names>;

/** Drops the files that use none of the others, or that none uses, until those in circles stay. */
void leave_circles(Uses& uses) {
  const auto outside = [&uses](const auto& entry) {
    const auto used = [&uses](const std::string& other) { return uses.contains(other); };
    const auto user = [&entry](const auto& other) { return other.second.contains(entry.first); };
    return std::ranges::none_of(entry.second, used) || std::ranges::none_of(uses, user);
  };
  while (std::erase_if(uses, outside) != 0) {
  }
}

TEST(SourceTest, NoFileOfTheLibraryUsesARoomAboveItOrItselfThroughOthers) {
  static const std::regex include{R"re(^#include "(library/.*)")re"};
  const auto homes = exported_definitions();
  Uses uses;
  for_each_line([&](const SourceLine& line) {
    if (!line.room.starts_with("library/")) {
      return;
    }
    Names& used = uses[stem_of(line.path)];
    for (const std::string& name : names_in(line.text)) {
      if (const auto home = homes.find(name); home != homes.end()) {
        used.insert(home->second);
        if (const std::string other = room_of(home->second); !may_use(line.room, other)) {
          report(line, line.room + " does not build on " + other);
        }
      }
    }
    for (const std::string& header : all_matches(line.text, include)) {
      used.insert(stem_of(header));
    }
  });
  for (auto& [file, others] : uses) {
    others.erase(file);
  }
  EXPECT_GT(uses.size(), 40U);
  leave_circles(uses);
  for (const auto& [file, others] : uses) {
    ADD_FAILURE() << file << " uses itself through " << testing::PrintToString(others);
  }
}

TEST(SourceTest, EveryCommandOfTheCatalogueIsInvoked) {
  static const std::regex invocation{R"re(invoke<\s*"(\w+)")re"};
  Names invoked;
  for (const auto& [path, text] : files_below("library", R"(.*\.cpp)")) {
    invoked.merge(all_matches(text, invocation));
  }
  for (const DriverCommand& command : commands) {
    const std::string name{command.name};  // a reserved one has none
    EXPECT_TRUE(name.empty() || invoked.contains(name)) << name;
  }
}

}  // namespace
}  // namespace ovk::test
