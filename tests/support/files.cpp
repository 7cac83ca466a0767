#include "tests/support/files.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>

#include <gtest/gtest.h>

namespace ovk::test {

TemporaryFolder::TemporaryFolder() {
  std::string name = std::filesystem::temp_directory_path() / "ovk-test-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error{"no folder " + name};
  }
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void write_file(const std::filesystem::path& path, const std::string& contents) {
  std::ofstream{path, std::ios::binary} << contents;
}

std::string read_file(const std::filesystem::path& path) {
  std::ifstream file{path, std::ios::binary};
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>{file}, {}};
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream{text};
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::string quoted(const std::string& text) {
  return "'" + std::regex_replace(text, std::regex{"'"}, R"('\'')") + "'";
}

Outcome run_in(const std::filesystem::path& folder, const std::string& command,
               const std::string& input) {
  write_file(folder / "stdin", input);
  const std::string line =
      "cd " + quoted(folder) + " && { " + command + "\n} <stdin >stdout 2>stderr";
  const int status = std::system(line.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(folder / "stdout"),
          read_file(folder / "stderr")};
}

std::string output_of(const std::string& command) {
  const TemporaryFolder folder;
  const Outcome outcome = run_in(folder.path(), command);
  EXPECT_EQ(outcome.exit_code, 0) << command << "\n" << outcome.out << outcome.err;
  return outcome.out;
}

}  // namespace ovk::test
