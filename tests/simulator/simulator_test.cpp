#include "tests/simulator/simulator_test.h"

#include "simulator/topology/wwn.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

namespace ravnsim::test {

std::vector<vmk_MgmtCallbackInfo> callbacks() {
  std::vector<vmk_MgmtCallbackInfo> table;
  for (const ovk::DriverCommand& row : ovk::commands) {
    vmk_MgmtCallbackInfo& info = table.emplace_back(
        vmk_MgmtCallbackInfo{.location = VMK_MGMT_LOCATION_KERNEL,
                             .synchronous = 1,
                             .parameter_count = static_cast<std::uint8_t>(1 + row.payload_count),
                             .parameter_sizes = {sizeof(CommandBlock)},
                             .parameter_types = {VMK_MGMT_PARAMETER_IN_OUT},
                             .id = row.id});
    for (std::size_t i = 0; i < row.payload_count; ++i) {
      info.parameter_sizes[i + 1] = row.payloads[i].size;
      info.parameter_types[i + 1] = static_cast<std::uint32_t>(row.payloads[i].direction);
    }
  }
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

Bytes words(std::initializer_list<std::uint32_t> numbers) {
  Bytes bytes(4 * numbers.size());
  std::memcpy(bytes.data(), numbers.begin(), bytes.size());
  return bytes;
}

Bytes hex(std::string_view digits) { return parse_hex(digits).value(); }

Bytes operator+(Bytes first, const Bytes& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

std::uint32_t Answer::word(std::size_t offset, std::size_t number) const {
  std::uint32_t value = 0;
  std::memcpy(&value, part(offset, sizeof value, number).data(), sizeof value);
  return value;
}

Bytes Answer::part(std::size_t offset, std::size_t size, std::size_t number) const {
  const Bytes& whole = payload(number);
  EXPECT_LE(offset + size, whole.size());
  return {&whole.at(offset), &whole.at(offset) + size};
}

Answer SimulatorTest::ask(std::string_view command, const CommandBlock& block,
                          std::vector<Bytes> payloads) {
  const auto& row = *std::ranges::find(ovk::commands, "RAVN_MGMT_" + std::string{command},
                                       &ovk::DriverCommand::name);
  Answer answer{block, std::move(payloads)};
  answer.block.driver_board = 3;
  answer.payloads.resize(row.payload_count);
  std::array<void*, ovk::max_payloads> pointers{};
  for (std::size_t i = 0; i < row.payload_count; ++i) {
    const ovk::Parameter& declared = row.payloads[i];
    answer.payloads[i].resize(declared.direction == ovk::Direction::descriptor
                                  ? sizeof(vmk_MgmtDataDescriptor)
                                  : declared.size);
    pointers.at(i) = answer.payloads[i].data();
  }
  if (!channel_) {
    channel_.emplace();
  }
  EXPECT_EQ(vmk_MgmtUserCallbackInvokeInt(channel_->get(), 0, row.id, 1U + row.payload_count,
                                          &answer.block, pointers[0], pointers[1], pointers[2]),
            0)
      << command;
  return answer;
}

SimulatorTest::SimulatorTest() {
  unsetenv("RAVNSIM_STATE");
  unsetenv("RAVNSIM_FAULTS");
  use_topology(one_board);
}

std::string SimulatorTest::use_file(const char* variable, const std::string& text) {
  restart();
  const std::filesystem::path path = folder / variable;
  ovk::test::write_file(path, text);
  setenv(variable, path.c_str(), 1);
  return path.string();
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

std::string full_board() {
  return with(with(one_board, R"("extended_sli_config": false)", R"("fcp_priority": {"limit": 3},
    "oas": {"limit": 2}, "vmid": {"ranges": [{"low": 5, "high": 6}]},
    "ras_log": {"bytes_per_command": 102400},
    "auth": {"peers": [{"port_wwn": "1000020000000002", "expects": "the board's key"}]},
    "npiv": {"virtual_ports": [
      {"node_wwn": "1000022900000001", "port_wwn": "1000022800000001", "fc_id": "0x010204"},
      {"node_wwn": "1000022900000002", "port_wwn": "1000022800000002", "fc_id": "0x010205"}]},
    "bindings": [{"port_wwn": "1000020000000002", "target": 7}],
    "fcfs": [{"index": 2, "fabric_name": "1000020000000001", "switch_name": "1000020100000001"}],
    "regions": [{"number": 30, "contents": "01 02 0A"}, {"number": 22, "locked": true}])"),
              R"("fc_id": 2)", R"("fc_id": 2, "fc4_types": ["fcp"], "luns": [
        {"lun": 300, "serial_number": "A", "blocks": 100},
        {"lun": 1, "serial_number": "B", "blocks": 4294967294, "read_only": true}])");
}

}  // namespace ravnsim::test
