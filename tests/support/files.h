/**
 * @file
 * Folders, files and programs, as the tests use them.
 */
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace ovk::test {

/** A folder of its own, gone with its owner. */
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

void write_file(const std::filesystem::path& path, const std::string& contents);

/** A file's bytes; the test fails when there is no such file. */
std::string read_file(const std::filesystem::path& path);

std::vector<std::string> lines_of(const std::string& text);

/** A text as one word of a shell's line. */
std::string quoted(const std::string& text);

/** What a run of a program left behind. */
struct Outcome {
  int exit_code = -1;  ///< -1 when a signal ended it
  std::string out;
  std::string err;
};

/** Runs a line of a shell in a folder, which gets the files of its standard input and outputs. */
Outcome run_in(const std::filesystem::path& folder, const std::string& command,
               const std::string& input = "");

/** What a program prints; the test fails when the program does. */
std::string output_of(const std::string& command);

}  // namespace ovk::test
