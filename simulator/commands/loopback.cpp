#include "simulator/board/adapter.h"
#include "simulator/board/board_state.h"
#include "simulator/board/link.h"
#include "simulator/board/loopback_state.h"
#include "simulator/call/request.h"
#include "simulator/commands/handlers.h"

#include <algorithm>

namespace ravnsim {

namespace {

constexpr std::uint32_t no_value = 0xFFFFFFFF;
constexpr std::uint32_t end_option = 15;

bool is_sli4(const Adapter& adapter) { return adapter.topology().sli_mode >= sli4; }

bool is_ready(Adapter& adapter) {
  return adapter.state<BoardState>().mode() != BoardMode::not_ready;
}

bool is_known(LoopbackMode mode) {
  return mode == LoopbackMode::none || mode == LoopbackMode::internal ||
         mode == LoopbackMode::external;
}

DriverStatus set_loopback_mode(Adapter& adapter, Request& request) {
  const auto mode = static_cast<LoopbackMode>(request.block().code);
  if (!is_ready(adapter)) {
    return DriverStatus::not_ready;
  }
  if (!is_known(mode)) {
    return DriverStatus::not_supported;
  }
  // Older boards do not know what a value is for.
  if (!is_sli4(adapter) && request.input<std::uint32_t>(1) != no_value) {
    return DriverStatus::not_permitted;
  }
  adapter.state<LoopbackState>().set_mode(mode);
  return DriverStatus::success;
}

DriverStatus run_loopback(Adapter& adapter, Request& request) {
  const std::uint32_t size = request.block().request_size;
  const auto sent = request.input_bytes(1);
  const auto received = request.output_bytes(2);
  if (!is_ready(adapter)) {
    return DriverStatus::not_ready;
  }
  if (size == 0 || size > std::min(sent.size(), received.size())) {
    return DriverStatus::does_not_fit;
  }
  if (!adapter.state<LoopbackState>().echoes() || request.effect("drop")) {
    return DriverStatus::no_response;
  }
  std::ranges::copy(sent.first(size), received.begin());
  if (const auto place = request.effect("corrupt")) {
    received[*place % size] ^= std::byte{0xFF};
  }
  return DriverStatus::success;
}

DriverStatus reinitialise_link(Adapter& adapter, Request& /*request*/) {
  auto& loopback = adapter.state<LoopbackState>();
  if (!is_ready(adapter)) {
    return DriverStatus::not_ready;
  }
  if (is_sli4(adapter) && loopback.mode() != LoopbackMode::none) {
    return DriverStatus::not_permitted;  // its diagnostic mode has an end of its own
  }
  loopback.set_mode(LoopbackMode::none);
  adapter.state<Link>().initialise();
  return DriverStatus::success;
}

DriverStatus end_diagnostic_mode(Adapter& adapter, Request& request) {
  auto& loopback = adapter.state<LoopbackState>();
  if (!is_sli4(adapter) || request.block().option != end_option) {
    return DriverStatus::not_supported;
  }
  if (!is_ready(adapter)) {
    return DriverStatus::not_ready;
  }
  if (loopback.mode() == LoopbackMode::none) {
    return DriverStatus::not_permitted;
  }
  loopback.set_mode(LoopbackMode::none);
  return DriverStatus::success;
}

}  // namespace

void add_loopback_handlers(HandlerTable& table) {
  table.on(DriverCommand::diag_mode_end, end_diagnostic_mode);
  table.on(DriverCommand::lip, reinitialise_link);
  table.on(DriverCommand::loopback_mode, set_loopback_mode);
  table.on(DriverCommand::loopback_test, run_loopback, {"corrupt", "drop"});
}

}  // namespace ravnsim
