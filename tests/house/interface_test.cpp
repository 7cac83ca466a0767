// Holds the version script, the headers, the binary and the fuzzer against each other.

#include "tests/house/tree.h"
#include "tests/support/files.h"

#include <regex>
#include <string>
#include <utility>

#include <gmock/gmock.h>

namespace ovk::test {
namespace {

using testing::AllOf;
using testing::ContainerEq;
using testing::HasSubstr;
using testing::Not;

/** The names that a node of the version script lists. */
Names scripted(const std::string& node) {
  const std::string script = read_file(OVK_SOURCE_DIR "/library/core/libovk.map");
  const std::size_t begin = script.find(node + " {");
  const std::size_t end = script.find('}', begin);
  EXPECT_LT(end, script.size()) << node;
  return all_matches(script.substr(begin, end - begin), std::regex{R"(\n\s+(\w+);)"});
}

/** The names that the library's binary exports under a node, or those of its functions. */
Names exported(const std::string& node, const std::string& kind = "[A-Z]") {
  return all_matches(
      output_of("nm --dynamic --defined-only --with-symbol-versions '" OVK_LIBRARY "'"),
      std::regex{" " + kind + " (\\w+)@@" + node});
}

TEST(InterfaceTest, ScriptHeadersAndBinaryHaveTheSameNames) {
  for (const auto& [node, names] :
       {std::pair{"OVK_14", declared("include")}, {"OVK_PRIVATE", declared("library")}}) {
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

TEST(InterfaceTest, TheFuzzerCallsEveryFunctionOfTheInterface) {
  Names functions = exported("OVK_14", "T");
  EXPECT_GT(functions.size(), 100U);
  for (const std::string& called :
       all_matches(read_file(OVK_SOURCE_DIR "/fuzz/calls_fuzzer.cpp"), std::regex{R"((\w+))"})) {
    functions.erase(called);
  }
  EXPECT_THAT(functions, testing::IsEmpty());
}

TEST(InterfaceTest, OvkHeaderPullsInEverySubsystem) {
  auto headers = files_below("include/ovk");
  const auto all = headers.extract("include/ovk/ovk.h");
  for (const auto& [path, text] : headers) {
    EXPECT_THAT(all.mapped(), HasSubstr("<" + path.substr(path.find("ovk/")) + ">"));
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
