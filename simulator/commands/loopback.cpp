#include "simulator/board/adapter.h"
#include "simulator/board/board_state.h"
#include "simulator/board/link.h"
#include "simulator/board/loopback_state.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"
#include "simulator/commands/guards.h"

#include <algorithm>

namespace ravnsim {

namespace {

constexpr std::uint32_t no_value = 0xFFFFFFFF;
constexpr std::uint32_t end_option = 15;

bool is_known(LoopbackMode mode) {
  return mode == LoopbackMode::none || mode == LoopbackMode::internal ||
         mode == LoopbackMode::external;
}

DriverStatus set_loopback_mode(Adapter& adapter, Request& request) {
  const auto mode = static_cast<LoopbackMode>(request.block().code);
  if (!is_known(mode)) {
    return DriverStatus::not_supported;
  }
  // Older boards do not know what a value is for.
  if (!is_sli4.holds(adapter, request) && request.input<std::uint32_t>(1) != no_value) {
    return DriverStatus::not_permitted;
  }
  adapter.state<LoopbackState>().set_mode(mode);
  return DriverStatus::success;
}

DriverStatus run_loopback(Adapter& adapter, Request& request) {
  const std::uint32_t size = request.block().request_size;
  const auto sent = request.input_bytes(1);
  const auto received = request.output_bytes(2);
  if (size == 0 || size > std::min(sent.size(), received.size())) {
    return DriverStatus::does_not_fit;
  }
  if (!adapter.state<LoopbackState>().echoes() || request.effect("drop")) {
    return DriverStatus::no_response;
  }
  std::ranges::copy(sent.first(size), received.begin());
  if (const auto place = request.effect("corrupt")) {
    received[*place % size] ^= std::uint8_t{0xFF};
  }
  return DriverStatus::success;
}

DriverStatus reinitialise_link(Adapter& adapter, Request& request) {
  auto& loopback = adapter.state<LoopbackState>();
  if (is_sli4.holds(adapter, request) && loopback.mode() != LoopbackMode::none) {
    return DriverStatus::not_permitted;  // its diagnostic mode has an end of its own
  }
  loopback.set_mode(LoopbackMode::none);
  adapter.state<Link>().initialise();
  return DriverStatus::success;
}

constexpr Guard has_end_option{
    [](Adapter&, const Request& request) { return request.block().option == end_option; },
    DriverStatus::not_supported};

DriverStatus end_diagnostic_mode(Adapter& adapter, Request& /*request*/) {
  auto& loopback = adapter.state<LoopbackState>();
  if (loopback.mode() == LoopbackMode::none) {
    return DriverStatus::not_permitted;
  }
  loopback.set_mode(LoopbackMode::none);
  return DriverStatus::success;
}

}  // namespace

void add_loopback_handlers(HandlerTable& table) {
  table.when(is_sli4)
      .when(has_end_option)
      .when(is_ready)
      .on<"RAVN_MGMT_DIAG_MODE_END">(end_diagnostic_mode);
  table.when(is_ready)
      .on<"RAVN_MGMT_LIP">(reinitialise_link)
      .on<"RAVN_MGMT_LOOPBACK_MODE">(set_loopback_mode)
      .on<"RAVN_MGMT_LOOPBACK_TEST">(run_loopback, {"corrupt", "drop"});
}

}  // namespace ravnsim
