// Runs ovkctl as an operator's shell does, on a simulated host.
#pragma once

#include "tests/support/files.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace ovk::test {

using nlohmann::json;

void PrintTo(const Outcome& outcome, std::ostream* stream);

/** Matches a run that ended with this exit code and said this on standard error. */
testing::Matcher<const Outcome&> Exits(int exit_code, const std::string& said = "");

/** Matches an object that has these members; it may have others. */
testing::Matcher<const json&> Holds(const json& members);

/** A simulated host, by default the built-in one, that keeps its state from run to run. */
class OvkctlTest : public testing::Test {
 protected:
  /** Runs a line of a shell, but for its first word ovkctl, in the test's folder and without a
      terminal. */
  Outcome run(const std::string& line, const std::string& input = "") const;

  /** Runs a command line with --json, expects success and parses what it printed. */
  json json_of(const std::string& line) const;

  /** Makes the host one of a single board, an SLI-4 one but for these differences. */
  void set_board(const json& differences = json::object());

  void set_faults(const std::string& faults);

  /** Writes a file into the test's folder. */
  void write(const std::string& name, const std::string& contents) const;

  std::string contents_of(const std::string& name) const;

  const TemporaryFolder own_folder;
  const std::filesystem::path& folder = own_folder.path();

  /** Besides the variables of the test itself; the simulator's own come only from here. */
  std::map<std::string, std::string> environment{{"RAVNSIM_STATE", folder / "state"}};
};

/** The Fibre Channel boards of the built-in host, as its topology file describes them. */
json described_boards();

/** What the rows hold under a key. */
std::vector<json> column(const json& rows, const std::string& key);

}  // namespace ovk::test
