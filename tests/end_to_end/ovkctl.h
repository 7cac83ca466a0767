// Runs ovkctl as an operator's shell or program would, on a simulated host.
#ifndef TESTS_END_TO_END_OVKCTL_H
#define TESTS_END_TO_END_OVKCTL_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace ovk::test {

/** What a run of ovkctl left behind. */
struct Outcome {
  int exit_code = -1;  ///< -1 when a signal ended it
  std::string out;
  std::string err;
};

/** Variables that the run has besides those of the test; the simulator's own come only from here.
 */
using Environment = std::map<std::string, std::string>;

/** Runs ovkctl, without a shell and without a terminal. */
Outcome run_ovkctl(const std::vector<std::string>& arguments, const Environment& environment = {},
                   const std::string& input = "");

/** Runs ovkctl with --json, expects success and parses what it printed. */
nlohmann::json run_json(std::vector<std::string> arguments, const Environment& environment = {});

/** The lines of a text. */
std::vector<std::string> lines_of(const std::string& text);

/** The words of a text table's row: what two blanks or more separate. */
std::vector<std::string> cells_of(const std::string& line);

/** A folder for the files of one test, gone with it. */
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  /** The path of a file in the folder. */
  std::string path(const std::string& name) const;

  /** Writes a file into the folder and gives its path. */
  std::string file(const std::string& name, const std::string& contents) const;

 private:
  std::filesystem::path path_;
};

}  // namespace ovk::test

#endif
