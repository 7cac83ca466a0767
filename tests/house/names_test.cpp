// A world-wide name carries the number of its maker. Those of this tree belong to nobody.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ovk::test {
namespace {

namespace fs = std::filesystem;

/** The names in a line as 16 digits: they stand there with colons, without, or as eight numbers. */
std::vector<std::string> names_in(const std::string& line) {
  static const std::regex separator{"([0-9a-fA-F]{2})[:-](?=[0-9a-fA-F]{2}\\b)"};
  static const std::regex digits{"(?:\\b|0x)([0-9a-fA-F]{16})([0-9a-fA-F]{16})?\\b"};
  static const std::regex numbers{"(?:Wwn|Name|_port|_wwn).*?\\{((?:\\w{1,4}, *){7}\\w{1,4})\\}"};
  std::vector<std::string> names;
  const std::string joined = std::regex_replace(line, separator, "$1");
  for (std::sregex_iterator match{joined.begin(), joined.end(), digits}, end; match != end;
       ++match) {
    names.insert(names.end(), {match->str(1), match->str(match->length(2) > 0 ? 2 : 1)});
  }
  if (std::smatch match; std::regex_search(line, match, numbers)) {
    std::string& name = names.emplace_back();
    for (const char* at = match[1].first.base(); name.size() < 16;
         at += std::strcspn(at, ",") + 1) {
      std::array<char, 3> byte{};
      std::snprintf(byte.data(), byte.size(), "%02x",
                    unsigned(std::strtoul(at, nullptr, 0)) & 0xFF);
      name += byte.data();
    }
  }
  return names;
}

/** NAA 1 or 2 with a locally administered address, a local EUI-64, or what is no registered name.
 */
bool nobody_owns(const std::string& name, bool is_eui64) {
  static const std::regex local{"(1000|2...).[26aeAE].*"};
  static const std::regex local_eui64{".[2367abefABEF].*"};
  static const std::regex registered{"[1256].*"};
  return is_eui64 ? std::regex_match(name, local_eui64)
                  : std::regex_match(name, local) || !std::regex_match(name, registered);
}

TEST(NamesTest, NobodyOwnsTheNamesInTheTree) {
  static const std::set<std::string> other_numbers{"10000000deadbeef", "12345678ffff0001"};
  static const std::regex text{R"(.*\.(cpp|h|c|json|in|md|txt|sh))"};
  int names = 0;
  for (fs::recursive_directory_iterator entry{OVK_SOURCE_DIR}, end; entry != end; ++entry) {
    const std::string file = entry->path().filename();
    if (entry->is_directory() && (file == "build" || file.starts_with('.'))) {
      entry.disable_recursion_pending();
    } else if (std::regex_match(file, text)) {
      std::ifstream lines{entry->path()};
      for (std::string line; std::getline(lines, line);) {
        for (const std::string& name : names_in(line)) {
          ++names;
          EXPECT_TRUE(other_numbers.contains(name) ||
                      nobody_owns(name, line.find("eui64") != std::string::npos))
              << entry->path() << ": " << line;
        }
      }
    }
  }
  EXPECT_GT(names, 100) << "the test no longer finds them";
}

}  // namespace
}  // namespace ovk::test
