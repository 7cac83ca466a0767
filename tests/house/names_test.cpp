// A world-wide name carries the number of its maker. Those of this tree belong to nobody.

#include "tests/house/tree.h"
#include "tests/support/files.h"

#include <cstdlib>
#include <iomanip>
#include <regex>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace ovk::test {
namespace {

/** The names in a line as 16 digits: they stand there with colons, without, or as eight numbers. */
Names names_in(const std::string& line) {
  static const std::regex separator{"([0-9a-fA-F]{2})[:-](?=[0-9a-fA-F]{2}\\b)"};
  static const std::regex first{"(?:\\b|0x)([0-9a-fA-F]{16})(?:[0-9a-fA-F]{16})?\\b"};
  static const std::regex second{"(?:\\b|0x)[0-9a-fA-F]{16}([0-9a-fA-F]{16})\\b"};
  static const std::regex numbers{"(?:Wwn|Name|_port|_wwn).*?\\{((?:\\w{1,4}, *){7}\\w{1,4})\\}"};
  const std::string joined = std::regex_replace(line, separator, "$1");
  Names names = all_matches(joined, first);
  names.merge(all_matches(joined, second));
  for (const std::string& bytes : all_matches(line, numbers)) {
    std::istringstream stream{bytes};
    std::ostringstream name;
    for (std::string byte; std::getline(stream, byte, ',');) {
      const unsigned long number = std::strtoul(byte.c_str(), nullptr, 0) & 0xFF;
      name << std::hex << std::setw(2) << std::setfill('0') << number;
    }
    names.insert(name.str());
  }
  return names;
}

/** NAA 1, 2 or 6 with a locally administered address, a local EUI-64, or what is no registered
 * name.
 */
bool nobody_owns(const std::string& name, bool is_eui64) {
  static const Names other_numbers{"10000000deadbeef", "12345678ffff0001"};
  static const std::regex local{"(1000|2...|6).[26aeAE].*"};
  static const std::regex local_eui64{".[2367abefABEF].*"};
  static const std::regex registered{"[1256].*"};
  return other_numbers.contains(name) ||
         (is_eui64 ? std::regex_match(name, local_eui64)
                   : std::regex_match(name, local) || !std::regex_match(name, registered));
}

TEST(NamesTest, NobodyOwnsTheNamesInTheTree) {
  std::size_t names = 0;
  for (const auto& [path, text] : files_below("", R"(.*\.(cpp|h|c|json|in|md|txt|sh))")) {
    for (const std::string& line : lines_of(text)) {
      const bool is_eui64 = line.find("eui64") != std::string::npos;
      for (const std::string& name : names_in(line)) {
        ++names;
        EXPECT_TRUE(nobody_owns(name, is_eui64)) << path << ": " << line;
      }
    }
  }
  EXPECT_GT(names, 100U) << "the test no longer finds them";
}

}  // namespace
}  // namespace ovk::test
