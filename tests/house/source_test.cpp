// What must hold about the sources, and what no compiler checks.

#include "core/catalogue.h"

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

const std::set<std::string> library_rooms = {"core",     "mailbox", "fabric", "info", "regions",
                                             "features", "hbaapi",  "npiv",   "auth"};

/** Whose headers the files of a folder may include, besides their own and <ovk/...>. */
const std::map<std::string, std::set<std::string>> allowed_includes = {
    {"include", {}},
    {"platform", {}},
    {"core", {"platform"}},
    {"mailbox", {"core", "platform"}},
    {"fabric", {"core", "platform"}},
    {"info", {"core", "platform"}},
    {"regions", {"core", "platform", "mailbox"}},
    {"features", {"core", "platform", "npiv"}},
    {"hbaapi", {"core", "platform", "fabric"}},
    {"npiv", {"core", "platform"}},
    {"auth", {"core", "platform"}},
    {"simulator", {"platform"}},
    {"tools", {}},
};

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
  static const std::regex include{R"re(^#include "(\w+)/.*")re"};
  static const std::regex interface { "^#include <ovk/" };
  int includes = 0;
  for_each_line([&](const SourceLine& line) {
    std::smatch match;
    if (std::regex_search(line.text, match, include)) {
      ++includes;
      const std::string other = match[1];
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
  static const std::set<fs::path> homes{"platform/driver_status.h", "include/ovk/auth.h"};
  for_each_line([&](const SourceLine& line) {
    if (!homes.contains(line.file) && std::regex_search(line.text, status)) {
      report(line, "a status number outside platform/driver_status.h");
    }
  });
}

TEST(SourceTest, TheLibraryUsesNoUnboundedTextFunction) {
  static const std::regex unbounded{R"(\b(strcpy|strcat|sprintf|vsprintf|gets|alloca)\s*\()"};
  static const std::regex comment{R"(^\s*(//|\*|/\*))"};
  for_each_line([&](const SourceLine& line) {
    if (library_rooms.contains(line.room) && !std::regex_search(line.text, comment) &&
        std::regex_search(line.text, unbounded)) {
      report(line, "an unbounded function");
    }
  });
}

TEST(SourceTest, EveryCommandOfTheCatalogueIsInvoked) {
  std::string library;
  for_each_line(
      [&](const SourceLine& line) { library += line.file.extension() == ".cpp" ? line.text : ""; });
  for (const Callback& callback : catalogue) {
    const std::string name = callback.name;  // a reserved one has none
    EXPECT_TRUE(name.empty() || library.find("invoke<\"" + name + '"') != std::string::npos)
        << name;
  }
}

}  // namespace
}  // namespace ovk::test
