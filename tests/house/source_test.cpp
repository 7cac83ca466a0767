// What must hold about the sources, and what no compiler checks.

#include "driver_abi/commands.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace ovk::test {
namespace {

namespace fs = std::filesystem;

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

/** Whose headers the files of the other rooms may include, besides their own and <ovk/...>. */
const std::map<std::string, std::set<std::string>> allowed_includes = {
    {"include", {}},
    {"driver_abi", {}},
    {"library", {"driver_abi"}},
    {"simulator", {"driver_abi"}},
    {"ovkctl", {"driver_abi"}},
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
  const auto level = levels.find(room);
  const auto other_level = levels.find(other);
  if (level != levels.end() && other_level != levels.end() && house_of(room) == house_of(other)) {
    return room == other || other_level->second < level->second;
  }
  return room == other || allowed_includes.at(house_of(room)).contains(other);
}

struct SourceLine {
  fs::path file;
  std::string room;
  int number;
  std::string text;
};

void for_each_line(const std::function<void(const SourceLine&)>& look) {
  for (const auto& [house, unused] : allowed_includes) {
    const fs::path root{OVK_SOURCE_DIR};
    for (const auto& entry : fs::recursive_directory_iterator{root / house}) {
      if (entry.path().extension() != ".h" && entry.path().extension() != ".cpp") {
        continue;
      }
      std::ifstream file{entry.path()};
      const fs::path path = entry.path().lexically_relative(root);
      SourceLine line{path, room_of(path), 0, ""};
      while (std::getline(file, line.text)) {
        ++line.number;
        look(line);
      }
    }
  }
}

void report(const SourceLine& line, const std::string& mistake) {
  ADD_FAILURE() << line.file.string() << ":" << line.number << ": " << mistake << "\n" << line.text;
}

TEST(SourceTest, NoRoomIncludesFromARoomThatItDoesNotBuildOn) {
  static const std::regex include{R"re(^#include "(.*)")re"};
  static const std::regex interface { "^#include <ovk/" };
  int includes = 0;
  for_each_line([&](const SourceLine& line) {
    std::smatch match;
    if (std::regex_search(line.text, match, include)) {
      ++includes;
      const std::string other = room_of(match[1]);
      if (!may_use(line.room, other)) {
        report(line, line.room + " does not build on " + other);
      }
    }
    if (line.room.starts_with("simulator/") && std::regex_search(line.text, interface)) {
      report(line, "the simulator knows the library only through the channel");
    }
    if (line.room == "driver_abi" && std::regex_search(line.text, interface) &&
        !line.text.starts_with("#include <ovk/types.h>")) {
      report(line, "the contract needs the basic types of the interface only");
    }
  });
  EXPECT_GT(includes, 10);
}

/** What the library's headers declare for others; the file, without extension, that defines it. */
std::map<std::string, std::string> exported_definitions() {
  static const std::regex declaration{R"(\bOVK_API [^(;\[]*?(\w+)[(;\[])"};
  static const std::regex definition{
      R"(^(?!static_assert|using)[a-zA-Z][^(\[={;]*?(\w+)(\(|\[| =|;))"};
  std::map<std::string, std::string> names;
  std::smatch match;
  for_each_line([&](const SourceLine& line) {
    if (line.text.find("OVK_API ") != std::string::npos && !line.text.starts_with('#') &&
        std::regex_search(line.text, match, declaration)) {
      names.emplace(match[1], "");
    }
  });
  for_each_line([&](const SourceLine& line) {
    if (line.room.starts_with("library/") && line.file.extension() == ".cpp" &&
        std::regex_search(line.text, match, definition) && names.contains(match[1])) {
      std::string& home = names.at(match[1]);
      EXPECT_EQ(home, "") << match[1] << " is defined twice, or called where this looks like it";
      home = fs::path{line.file}.replace_extension().string();
    }
  });
  for (const auto& [name, home] : names) {
    EXPECT_NE(home, "") << name << " is defined nowhere";
  }
  return names;
}

/** The names in a line of code; none where it declares one or holds a comment only. */
std::vector<std::string> names_in(const std::string& text) {
  std::vector<std::string> names;
  const std::size_t start = text.find_first_not_of(' ');
  const bool comment = start == text.npos || text[start] == '*' || text[start] == '/';
  if (comment || text.find("OVK_API") != text.npos) {
    return names;
  }
  const std::string code = text.substr(0, text.find("//"));
  const auto in_name = [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
  };
  for (auto begin = code.begin(); begin != code.end();) {
    begin = std::find_if(begin, code.end(), in_name);
    const auto end = std::find_if_not(begin, code.end(), in_name);
    names.emplace_back(begin, end);
    begin = end;
  }
  return names;
}

/** The files of the library, without extension, that each of them uses by an include or a name. */
using Uses = std::map<std::string, std::set<std::string>>;

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
  const auto homes = exported_definitions();
  Uses uses;
  for_each_line([&](const SourceLine& line) {
    if (!line.room.starts_with("library/")) {
      return;
    }
    const std::string file = fs::path{line.file}.replace_extension().string();
    for (const std::string& name : names_in(line.text)) {
      const auto used = homes.find(name);
      if (used == homes.end()) {
        continue;
      }
      uses[file].insert(used->second);
      if (const std::string other = room_of(used->second); !may_use(line.room, other)) {
        report(line, line.room + " does not build on " + other);
      }
    }
    if (constexpr std::string_view include = "#include \"library/";
        line.text.starts_with(include)) {
      const std::size_t begin = include.find("library");
      uses[file].insert(line.text.substr(begin, line.text.rfind('.') - begin));
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

TEST(SourceTest, DriverStatusesHaveOneHome) {
  static const std::regex status{"0x0?bad0", std::regex::icase};
  // The header of the calls that hand statuses out as they are repeats those, and is checked.
  static const std::set<fs::path> homes{"driver_abi/status.h", "include/ovk/auth.h"};
  for_each_line([&](const SourceLine& line) {
    if (!homes.contains(line.file) && std::regex_search(line.text, status)) {
      report(line, "a status number outside driver_abi/status.h");
    }
  });
}

TEST(SourceTest, TheLibraryUsesNoUnboundedTextFunction) {
  static const std::regex unbounded{R"(\b(strcpy|strcat|sprintf|vsprintf|gets|alloca)\s*\()"};
  static const std::regex comment{R"(^\s*(//|\*|/\*))"};
  for_each_line([&](const SourceLine& line) {
    if (line.room.starts_with("library/") && !std::regex_search(line.text, comment) &&
        std::regex_search(line.text, unbounded)) {
      report(line, "an unbounded function");
    }
  });
}

TEST(SourceTest, EveryCommandOfTheCatalogueIsInvoked) {
  std::string library;
  for_each_line(
      [&](const SourceLine& line) { library += line.file.extension() == ".cpp" ? line.text : ""; });
  for (const DriverCommand& command : commands) {
    const std::string name{command.name};  // a reserved one has none
    EXPECT_TRUE(name.empty() || library.find("invoke<\"" + name + '"') != std::string::npos)
        << name;
  }
}

}  // namespace
}  // namespace ovk::test
