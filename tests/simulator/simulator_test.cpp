#include "tests/simulator/simulator_test.h"

#include <cstdlib>
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

}  // namespace

std::vector<vmk_MgmtCallbackInfo> callbacks() {
  std::ifstream file{OVK_SOURCE_DIR "/tests/library/core/driver_commands.txt"};
  std::vector<vmk_MgmtCallbackInfo> table;
  for (std::string line; std::getline(file, line);) {
    std::istringstream words{line};
    std::size_t row = 0;
    vmk_MgmtCallbackInfo info{};
    words >> row >> std::hex >> info.id >> std::dec;
    char colon = 0;
    for (std::uint32_t size = 0, type = 0; words >> size >> colon >> type;) {
      info.parameter_sizes[info.parameter_count] = size;
      info.parameter_types[info.parameter_count] = type;
      ++info.parameter_count;
    }
    info.location = VMK_MGMT_LOCATION_KERNEL;
    info.synchronous = 1;
    table.push_back(info);
  }
  EXPECT_EQ(table.size(), 94U);
  return table;
}

vmk_MgmtSignature signature(const std::vector<vmk_MgmtCallbackInfo>& callbacks) {
  return {.version = 0x02000104,
          .name = "ravn-mgmt",
          .vendor = "TRV",
          .callback_count = static_cast<std::uint32_t>(callbacks.size()),
          .callbacks = callbacks.data()};
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

SimulatorTest::SimulatorTest() { clear_environment(); }

SimulatorTest::~SimulatorTest() {
  restart();
  clear_environment();
}

std::string SimulatorTest::use_file(const char* name, const char* variable,
                                    const std::string& text) {
  restart();
  const std::filesystem::path path = folder / name;
  ovk::test::write_file(path, text);
  setenv(variable, path.c_str(), 1);
  return path.string();
}

std::string SimulatorTest::use_topology(const std::string& text) {
  return use_file("topology.json", variables[0], text);
}

std::string SimulatorTest::use_faults(const std::string& text) {
  return use_file("faults.json", variables[2], text);
}

std::filesystem::path SimulatorTest::use_state() {
  restart();
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
      "node_wwn": "10:00:02:01:00:00:00:01", "port_wwn": "10:00:02:00:00:00:00:01",
      "fc_id": "0x010203", "fc4_types": ["fcp", "ct"], "fc4_types_active": ["fcp"],
      "classes": [2, 3], "supported_speeds": [8, 16, 32], "speed": 16,
      "fabric_name": "1000020000000009", "symbolic_name": "own"
    },
    "discovered_ports": [
      {"node_wwn": "1000020100000002", "port_wwn": "1000020000000002", "fc_id": 2},
      {"node_wwn": "1000020100000003", "port_wwn": "1000020000000003", "fc_id": 3}
    ]
  }]
})";

std::string with(std::string text, const std::string& passage, const std::string& replacement) {
  const std::size_t place = text.find(passage);
  EXPECT_NE(place, std::string::npos) << passage;
  return place != std::string::npos ? text.replace(place, passage.size(), replacement) : text;
}

std::string one_board_with(const std::string& members) {
  return with(one_board, R"("sli_mode")", members + R"(, "sli_mode")");
}

std::string sli3_board() { return with(one_board, R"("sli_mode": 4)", R"("sli_mode": 3)"); }

}  // namespace ravnsim::test
