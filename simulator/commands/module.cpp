#include "driver_abi/records/module.h"

#include "simulator/board/adapter.h"
#include "simulator/board/event_queue.h"
#include "simulator/board/text_field.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/report.h"
#include "simulator/call/request.h"
#include "simulator/host/host.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstring>
#include <string>

namespace ravnsim {

namespace {

/** What the module does for itself. */
struct ModuleState {
  explicit ModuleState(Host& /*host*/) {}
  std::uint32_t logged_messages = 0;
};

void describe(const BoardTopology& topology, ovk::ModuleBoard& board) {
  board.driver_number = topology.driver_number;
  board.device = topology.device;
  board.subsystem = topology.subsystem;
  board.sli_mode = topology.sli_mode;
  put_text(board.model, topology.model);
  put_text(board.serial_number, topology.serial_number);
  put_text(board.firmware_version, topology.firmware_version);
  put_text(board.os_device_name, topology.port.os_device_name);
  board.port_wwn = topology.port.port_wwn;
}

DriverStatus describe_module(Host& host, Request& request) {
  auto& record = request.output<ovk::ModuleRecord>(1);
  put_text(record.name, host.topology().driver.name);
  put_text(record.version, host.topology().driver.version);
  record.interface_revision = ovk::interface_version;
  record.logged_messages = host.state<ModuleState>().logged_messages;
  for (const auto& [number, adapter] : host.adapters()) {
    describe(adapter.topology(), record.boards[record.board_count++]);
  }
  return DriverStatus::success;
}

struct LogRecord {
  char text[64];
};

/** The driver's log is standard error; there a message must not pass for anything else. */
DriverStatus log_message(Host& host, Request& request) {
  const auto& record = request.input<LogRecord>(1);
  std::string text{record.text, strnlen(record.text, sizeof record.text)};
  std::ranges::replace_if(
      text, [](unsigned char c) { return std::isprint(c) == 0; }, '?');
  ++host.state<ModuleState>().logged_messages;
  report("driver log: " + text);
  return DriverStatus::success;
}

struct SignatureRecord {
  std::uint32_t revision;
  char name[32];
  char vendor[32];
  std::uint32_t callback_count;
};

static_assert(sizeof(SignatureRecord) == 72);

DriverStatus give_signature(Host& /*host*/, Request& request) {
  auto& record = request.output<SignatureRecord>(1);
  record.revision = request.effect("revision").value_or(ovk::interface_version);
  put_text(record.name, ovk::interface_name);
  put_text(record.vendor, ovk::interface_vendor);
  record.callback_count = std::uint32_t{ovk::commands.size()};
  return DriverStatus::success;
}

/** Raises an event as if it had happened at the port: its code, and what it carries. */
DriverStatus raise_test_event(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  const EventCode code{block.selector};
  if (code < EventCode::lip || code > EventCode::rscn) {
    return DriverStatus::not_found;
  }
  adapter.state<EventQueue>().push(code, block.value);
  return DriverStatus::success;
}

}  // namespace

void add_module_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_CALL_VER">(give_signature, {"revision"});
  table.on<"RAVN_MGMT_EVENT_TEST">(raise_test_event);
  table.on<"RAVN_MGMT_LOG_MSG">(log_message);
  table.on<"RAVN_MGMT_MOD_INFO">(describe_module);
}

}  // namespace ravnsim
