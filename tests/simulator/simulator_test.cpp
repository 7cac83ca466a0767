#include "tests/simulator/simulator_test.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace ravnsim::test {

namespace {

constexpr const char* variables[] = {"RAVNSIM_TOPOLOGY", "RAVNSIM_STATE", "RAVNSIM_FAULTS"};

void clear_environment() {
  for (const char* variable : variables) {
    unsetenv(variable);
  }
}

std::string use_file(const std::filesystem::path& path, const char* variable,
                     const std::string& text) {
  std::ofstream{path} << text;
  setenv(variable, path.c_str(), 1);
  return path.string();
}

}  // namespace

vmk_MgmtCallbackInfo callback(DriverCommand command,
                              std::vector<std::array<std::uint32_t, 2>> size_and_type) {
  size_and_type.insert(size_and_type.begin(), {sizeof(CommandBlock), VMK_MGMT_PARAMETER_IN_OUT});
  vmk_MgmtCallbackInfo info{};
  info.location = VMK_MGMT_LOCATION_KERNEL;
  info.synchronous = 1;
  info.parameter_count = static_cast<std::uint8_t>(size_and_type.size());
  for (std::size_t i = 0; i < size_and_type.size(); ++i) {
    info.parameter_sizes[i] = size_and_type[i][0];
    info.parameter_types[i] = size_and_type[i][1];
  }
  info.id = static_cast<std::uint64_t>(command);
  return info;
}

std::vector<vmk_MgmtCallbackInfo> callbacks() {
  std::ifstream file{OVK_SOURCE_DIR "/tests/core/driver_commands.txt"};
  std::vector<vmk_MgmtCallbackInfo> table;
  for (std::string line; std::getline(file, line);) {
    std::istringstream words{line};
    std::size_t row = 0;
    std::string id;
    words >> row >> id;
    std::vector<std::array<std::uint32_t, 2>> parameters;
    char colon = 0;
    for (std::array<std::uint32_t, 2> next{}; words >> next[0] >> colon >> next[1];) {
      parameters.push_back(next);
    }
    parameters.erase(parameters.begin());  // the Command block
    table.push_back(callback(DriverCommand{std::stoull(id, nullptr, 16)}, parameters));
  }
  EXPECT_EQ(table.size(), 94U);
  return table;
}

vmk_MgmtSignature signature(const std::vector<vmk_MgmtCallbackInfo>& callbacks) {
  vmk_MgmtSignature signature{.version = 0x02000104,
                              .name = "ravn-mgmt",
                              .vendor = "TRV",
                              .callback_count = static_cast<std::uint32_t>(callbacks.size()),
                              .callbacks = callbacks.data()};
  return signature;
}

Channel::Channel(const std::vector<vmk_MgmtCallbackInfo>& declared) {
  const vmk_MgmtSignature record = signature(declared);
  open_result_ = vmk_MgmtUserInit(&record, 0, 0, &channel_);
}

void Channel::close() {
  if (channel_ != nullptr) {
    vmk_MgmtUserDestroy(channel_);
    channel_ = nullptr;
  }
}

SimulatorTest::SimulatorTest() {
  clear_environment();
  std::string name = testing::TempDir() + "ravnsim-XXXXXX";
  folder = mkdtemp(name.data());
}

SimulatorTest::~SimulatorTest() {
  clear_environment();
  std::filesystem::remove_all(folder);
}

std::string SimulatorTest::use_topology(const std::string& text) const {
  return use_file(folder / "topology.json", variables[0], text);
}

std::string SimulatorTest::use_faults(const std::string& text) const {
  return use_file(folder / "faults.json", variables[2], text);
}

std::filesystem::path SimulatorTest::use_state() const {
  const auto state = folder / "state";
  setenv(variables[1], state.c_str(), 1);
  return state;
}

std::string SimulatorTest::said_by_a_channel() {
  testing::internal::CaptureStderr();
  Channel{}.close();
  return testing::internal::GetCapturedStderr();
}

const std::string one_board = R"({
  "driver": {"name": "ravn", "version": "1.2.3"},
  "boards": [{
    "driver_number": 3, "device": "0xABCD1234", "adapter_type": "0x704", "sli_mode": 4,
    "features": "0x400", "extended_sli_config": false,
    "manufacturer": "Tarvos", "serial_number": "S1", "model": "M1",
    "port": {
      "node_wwn": "20:00:00:00:00:00:00:01", "port_wwn": "10:00:00:00:00:00:00:01",
      "fc_id": "0x010203", "fc4_types": ["fcp", "ct"], "fc4_types_active": ["fcp"],
      "classes": [2, 3], "supported_speeds": [8, 16, 32], "speed": 16,
      "fabric_name": "1000000000000009", "symbolic_name": "own"
    },
    "discovered_ports": [
      {"node_wwn": "2000000000000002", "port_wwn": "1000000000000002", "fc_id": 2},
      {"node_wwn": "2000000000000003", "port_wwn": "1000000000000003", "fc_id": 3}
    ]
  }]
})";

std::string with(std::string text, const std::string& passage, const std::string& replacement) {
  const std::size_t place = text.find(passage);
  EXPECT_NE(place, std::string::npos) << passage;
  return place != std::string::npos ? text.replace(place, passage.size(), replacement) : text;
}

}  // namespace ravnsim::test
