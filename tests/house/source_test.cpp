// What must hold about the sources, and what no compiler checks.

#include "driver_abi/commands.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace ovk::test {
namespace {

namespace fs = std::filesystem;

/** Whose headers the files of a room may include, besides their own and <ovk/...>. */
const std::map<std::string, std::set<std::string>> allowed_includes = {
    {"include", {}},
    {"driver_abi", {}},
    {"library/core", {"driver_abi"}},
    {"library/boards", {"driver_abi", "library/core"}},
    {"library/mailbox", {"driver_abi", "library/core", "library/boards"}},
    {"library/fabric", {"driver_abi", "library/core"}},
    {"library/info", {"driver_abi", "library/core", "library/boards"}},
    {"library/regions", {"driver_abi", "library/core", "library/boards", "library/mailbox"}},
    {"library/features", {"driver_abi", "library/core", "library/boards", "library/npiv"}},
    {"library/hbaapi", {"driver_abi", "library/core", "library/fabric"}},
    {"library/npiv", {"driver_abi", "library/core", "library/boards"}},
    {"library/auth", {"driver_abi", "library/core", "library/boards"}},
    {"simulator", {"driver_abi"}},
    {"ovkctl", {}},
};

/** The room that a file or an included header belongs to: the first folder, in the library two. */
std::string room_of(const std::string& path) {
  const std::size_t first = path.find('/');
  return path.substr(0, path.starts_with("library/") ? path.find('/', first + 1) : first);
}

struct SourceLine {
  fs::path file;
  std::string room;
  int number;
  std::string text;
};

void for_each_line(const std::function<void(const SourceLine&)>& look) {
  for (const auto& [room, unused] : allowed_includes) {
    const fs::path root{OVK_SOURCE_DIR};
    for (const auto& entry : fs::recursive_directory_iterator{root / room}) {
      if (entry.path().extension() != ".h" && entry.path().extension() != ".cpp") {
        continue;
      }
      std::ifstream file{entry.path()};
      SourceLine line{entry.path().lexically_relative(root), room, 0, ""};
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
      if (other != line.room && !allowed_includes.at(line.room).contains(other)) {
        report(line, line.room + " does not build on " + other);
      }
    }
    if (line.room == "simulator" && std::regex_search(line.text, interface)) {
      report(line, "the simulator knows the library only through the channel");
    }
  });
  EXPECT_GT(includes, 10);
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
