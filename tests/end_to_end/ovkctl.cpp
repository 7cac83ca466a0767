#include "tests/end_to_end/ovkctl.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>

namespace ovk::test {
namespace {

std::filesystem::path make_folder() {
  std::string name = std::filesystem::temp_directory_path() / "ovkctl-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("no folder " + name);
  }
  return name;
}

/** A text as one word of a shell's line. */
std::string quoted(const std::string& text) {
  return "'" + std::regex_replace(text, std::regex("'"), R"('\'')") + "'";
}

MATCHER_P(HasMembers, members, "has the members " + members.dump()) {
  for (const auto& [key, value] : members.items()) {
    if (!arg.contains(key) || arg.at(key) != value) {
      *result_listener << "which differs in " << key;
      return false;
    }
  }
  return true;
}

}  // namespace

void PrintTo(const Outcome& outcome, std::ostream* stream) {
  *stream << "exit code " << outcome.exit_code << "\n" << outcome.out << outcome.err;
}

testing::Matcher<const Outcome&> Exits(int exit_code, const std::string& said) {
  return testing::AllOf(testing::Field("exit_code", &Outcome::exit_code, exit_code),
                        testing::Field("err", &Outcome::err, testing::HasSubstr(said)));
}

testing::Matcher<const json&> Holds(const json& members) { return HasMembers(members); }

OvkctlTest::OvkctlTest() : folder(make_folder()) {}

OvkctlTest::~OvkctlTest() {
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

Outcome OvkctlTest::run(const std::string& line, const std::string& input) const {
  write("stdin", input);
  std::string command = "cd " + quoted(folder) +
                        " && exec env -u RAVNSIM_TOPOLOGY -u RAVNSIM_STATE -u RAVNSIM_FAULTS ";
  for (const auto& [name, value] : environment) {
    command += name + "=" + quoted(value) + " ";
  }
  command += quoted(OVKCTL) + " " + line + " <stdin >stdout 2>stderr";
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents_of("stdout"),
          contents_of("stderr")};
}

json OvkctlTest::json_of(const std::string& line) const {
  const Outcome outcome = run(line + " --json");
  EXPECT_EQ(outcome.exit_code, 0) << line << "\n" << outcome.err;
  EXPECT_EQ(outcome.err, "") << line;
  json document = json::parse(outcome.out, nullptr, false);
  EXPECT_EQ(document.value("version", 0), 1) << outcome.out;
  return document;
}

void OvkctlTest::set_board(const json& differences) {
  json board = R"({"driver_number": 7, "device": "0x32005456", "sli_mode": 4,
    "manufacturer": "Tarvos", "serial_number": "1", "model": "One",
    "port": {"node_wwn": "10:00:02:01:00:00:00:01", "port_wwn": "10:00:02:00:00:00:00:01",
             "fc_id": "0x010200"}})"_json;
  board.merge_patch(differences);
  const json driver = {{"name", "ravn"}, {"version", "14"}};
  write("topology.json", json{{"driver", driver}, {"boards", json::array({board})}}.dump());
  environment["RAVNSIM_TOPOLOGY"] = folder / "topology.json";
}

void OvkctlTest::set_faults(const std::string& faults) {
  write("faults.json", faults);
  environment["RAVNSIM_FAULTS"] = folder / "faults.json";
}

void OvkctlTest::write(const std::string& name, const std::string& contents) const {
  std::ofstream(folder / name) << contents;
}

std::string OvkctlTest::contents_of(const std::string& name) const {
  std::ifstream file(folder / name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

json described_boards() {
  std::ifstream file(OVK_SOURCE_DIR "/simulator/topology/default_topology.json");
  json boards = json::parse(file, nullptr, true, true).at("boards");
  std::erase_if(boards.get_ref<json::array_t&>(),
                [](const json& board) { return board.at("device") == "0x07145456"; });
  return boards;
}

std::vector<json> column(const json& rows, const std::string& key) {
  std::vector<json> cells;
  for (const json& row : rows) {
    cells.push_back(row.at(key));
  }
  return cells;
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::string output_of(const std::string& command) {
  FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
  std::string output;
  std::array<char, 256> part;
  while (std::fgets(part.data(), part.size(), pipe) != nullptr) {
    output += part.data();
  }
  EXPECT_EQ(pclose(pipe), 0) << command << "\n" << output;
  return output;
}

}  // namespace ovk::test
