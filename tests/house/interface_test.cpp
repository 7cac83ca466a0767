// Holds the version script, the headers and the binary against each other.

#include "tests/support/files.h"

#include <filesystem>
#include <regex>
#include <set>
#include <string>
#include <utility>

#include <gmock/gmock.h>

namespace ovk::test {
namespace {

using testing::AllOf;
using testing::ContainerEq;
using testing::HasSubstr;
using testing::Not;

using Names = std::set<std::string>;

Names all_matches(const std::string& text, const std::regex& pattern) {
  Names names;
  for (std::sregex_iterator match{text.begin(), text.end(), pattern}, end; match != end; ++match) {
    names.insert((*match)[1]);
  }
  return names;
}

/** The names that a node of the version script lists. */
Names scripted(const std::string& node) {
  const std::string script = read_file(OVK_SOURCE_DIR "/library/core/libovk.map");
  const std::size_t begin = script.find(node + " {");
  const std::size_t end = script.find('}', begin);
  EXPECT_LT(end, script.size()) << node;
  return all_matches(script.substr(begin, end - begin), std::regex{R"(\n\s+(\w+);)"});
}

/** The names that the library's binary exports under a node. */
Names exported(const std::string& node) {
  return all_matches(
      output_of("nm --dynamic --defined-only --with-symbol-versions '" OVK_LIBRARY "'"),
      std::regex{"\\b(\\w+)@@" + node});
}

/** The names that the headers of a folder declare as exported. */
Names declared(const std::filesystem::path& folder) {
  static const std::regex declaration{R"((?:\n|extern )OVK_API\b[^;(\[]*?\b(\w+)\s*[(\[;])"};
  Names names;
  for (const auto& entry : std::filesystem::directory_iterator{folder}) {
    if (entry.path().extension() == ".h") {
      names.merge(all_matches(read_file(entry.path()), declaration));
    }
  }
  return names;
}

TEST(InterfaceTest, ScriptHeadersAndBinaryHaveTheSameNames) {
  Names internal;
  for (const char* room : {"core", "boards", "hbaapi", "fabric", "info", "mailbox", "regions",
                           "features", "npiv", "auth"}) {
    internal.merge(declared(std::filesystem::path{OVK_SOURCE_DIR "/library"} / room));
  }
  for (const auto& [node, names] :
       {std::pair{"OVK_14", declared(OVK_SOURCE_DIR "/include/ovk")}, {"OVK_PRIVATE", internal}}) {
    SCOPED_TRACE(node);
    EXPECT_THAT(names, ContainerEq(scripted(node)));
    EXPECT_THAT(names, ContainerEq(exported(node)));
  }
}

TEST(InterfaceTest, NoNameThatApplicationsMayLookUpIsMissing) {
  Names offered = exported("OVK_14");
  offered.merge(exported("OVK_PRIVATE"));
  const std::string promised = read_file(OVK_SOURCE_DIR "/tests/house/interface_names.txt");
  EXPECT_THAT(offered, ContainerEq(all_matches(promised, std::regex{R"((\w+)\n)"})));
}

TEST(InterfaceTest, OvkHeaderPullsInEverySubsystem) {
  const std::string all = read_file(OVK_SOURCE_DIR "/include/ovk/ovk.h");
  for (const auto& entry : std::filesystem::directory_iterator{OVK_SOURCE_DIR "/include/ovk"}) {
    const std::string name = entry.path().filename();
    if (name != "ovk.h") {
      EXPECT_THAT(all, HasSubstr("<ovk/" + name + ">"));
    }
  }
}

TEST(InterfaceTest, TheBinaryIsAHardenedI386LibraryOfFewNeeds) {
  const std::string elf =
      output_of("readelf --wide --file-header --dynamic --program-headers '" OVK_LIBRARY "'");
  EXPECT_THAT(elf, AllOf(HasSubstr("ELF32"), HasSubstr("Library soname: [libovk.so.14]"),
                         HasSubstr("GNU_RELRO"), HasSubstr("BIND_NOW"),
                         testing::ContainsRegex("GNU_STACK.* RW "), Not(HasSubstr("TEXTREL"))));

  const Names needed = all_matches(elf, std::regex{R"(Shared library: \[([^\]]+)\])"});
#ifdef OVK_SANITIZED
  EXPECT_THAT(needed, testing::IsSupersetOf({"libc.so.6", "libvmkmgmt.so"}));
#else
  EXPECT_THAT(needed, testing::UnorderedElementsAre("libc.so.6", "libvmkmgmt.so"));
#endif
}

}  // namespace
}  // namespace ovk::test
