#include "tests/end_to_end/ovkctl.h"

#include <fstream>

namespace ovk::test {
namespace {

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

Outcome OvkctlTest::run(const std::string& line, const std::string& input) const {
  std::string command = "exec env -u RAVNSIM_TOPOLOGY -u RAVNSIM_STATE -u RAVNSIM_FAULTS ";
  for (const auto& [name, value] : environment) {
    command += name + "=" + quoted(value) + " ";
  }
  return run_in(folder, command + quoted(OVKCTL) + " " + line, input);
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
  write_file(folder / name, contents);
}

std::string OvkctlTest::contents_of(const std::string& name) const {
  return read_file(folder / name);
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

}  // namespace ovk::test
