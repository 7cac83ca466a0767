#include "driver_abi/records/module.h"
#include "driver_abi/records/parameters.h"
#include "simulator/board/driver_parameters.h"
#include "simulator/board/event_queue.h"
#include "simulator/board/text_field.h"
#include "simulator/call/report.h"
#include "simulator/commands/subsystem.h"
#include "simulator/host/host.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstring>
#include <string>

namespace ravnsim {

namespace {

using ovk::ParameterRecord;

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

/** The answer to RAVN_MGMT_HBA_GETEVENT. */
using EventRecords = std::array<EventRecord, 32>;

static_assert(sizeof(EventRecords) == 640);

DriverStatus give_events(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  auto& queue = adapter.state<EventQueue>();
  auto& records = request.output<EventRecords>(1);
  const auto events = queue.take(std::min<std::size_t>(block.request_size, records.size()));
  std::ranges::copy(events, records.begin());
  block.reply_size = static_cast<std::uint32_t>(events.size());
  block.reply_size = request.effect("count").value_or(block.reply_size);
  block.value = queue.take_missed();
  return DriverStatus::success;
}

DriverStatus list_parameters(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  auto& table = request.output<ovk::ParameterTable>(1);
  const auto definitions = parameter_definitions();
  const auto& values = adapter.state<ParameterValues>();
  const std::size_t room = std::min<std::size_t>(block.request_size, sizeof table);
  const std::size_t count = std::min(room / sizeof(ParameterRecord), definitions.size());
  for (std::size_t i = 0; i < count; ++i) {
    const ParameterDefinition& definition = definitions[i];
    ParameterRecord& record = table.entries[i];
    put_text(record.name, definition.name);
    record.least = definition.least;
    record.most = definition.most;
    record.initial = definition.initial;
    record.value = values.value(i);
    record.takes_effect = definition.takes_effect;
    put_text(record.description, definition.description);
  }
  block.reply_size = static_cast<std::uint32_t>(count * sizeof(ParameterRecord));
  return DriverStatus::success;
}

DriverStatus set_parameter(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  if (block.index >= parameter_definitions().size()) {
    return DriverStatus::not_found;
  }
  const ParameterDefinition& definition = parameter_definitions()[block.index];
  if (definition.takes_effect == ovk::TakesEffect::never_set) {
    return DriverStatus::not_permitted;
  }
  if (block.value < definition.least || block.value > definition.most) {
    return DriverStatus::does_not_fit;
  }
  adapter.state<ParameterValues>().set(block.index, block.value);
  return DriverStatus::success;
}

}  // namespace

void add_driver_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_CALL_VER">(give_signature, {"revision"});
  table.on<"RAVN_MGMT_EVENT_TEST">(raise_test_event);
  table.on<"RAVN_MGMT_LOG_MSG">(log_message);
  table.on<"RAVN_MGMT_MOD_INFO">(describe_module);
  table.on<"RAVN_MGMT_HBA_GETEVENT">(give_events, {"count"});
  table.on<"RAVN_MGMT_GETCFG">(list_parameters);
  table.on<"RAVN_MGMT_SETCFG">(set_parameter);
}

}  // namespace ravnsim
