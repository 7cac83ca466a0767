/**
 * @file
 * The project's files, as the tests of its sources read them.
 */
#pragma once

#include <map>
#include <regex>
#include <set>
#include <string>

namespace ovk::test {

using Names = std::set<std::string>;

/** The texts of the files in a folder and below, by their paths in the tree. Those of a build and
    hidden ones are left out.
    @param names  a pattern of their whole paths */
std::map<std::string, std::string> files_below(const std::string& folder,
                                               const std::string& names = R"(.*\.(cpp|h))");

/** What stands in the first parentheses of a pattern, wherever a text matches it. */
Names all_matches(const std::string& text, const std::regex& pattern);

/** The names that the headers of a folder declare as exported. */
Names declared(const std::string& folder);

}  // namespace ovk::test
