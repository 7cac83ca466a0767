#include "simulator/board/adapter.h"
#include "simulator/board/board_state.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"

#include <cstddef>
#include <optional>

namespace ravnsim {

namespace {

/** The answer to RAVN_MGMT_INITBRDS. */
struct [[gnu::packed]] DiscoveryRecord {
  std::uint32_t device;
  std::uint32_t subsystem;
  std::uint32_t adapter_type;
  std::uint16_t driver_number;
  std::uint16_t reserved14;
  std::uint32_t sli_mode;
  std::uint32_t readiness;
  std::uint32_t features;
  std::uint32_t reserved28[13];
  std::uint8_t port_count;
};

static_assert(sizeof(DiscoveryRecord) == 81);
static_assert(offsetof(DiscoveryRecord, driver_number) == 12);
static_assert(offsetof(DiscoveryRecord, readiness) == 20);
static_assert(offsetof(DiscoveryRecord, port_count) == 80);

constexpr std::uint32_t readiness_not_ready = 0x80000000;

DriverStatus discover(Adapter& adapter, Request& request) {
  const BoardTopology& topology = adapter.topology();
  auto& record = request.output<DiscoveryRecord>(1);
  record.device = topology.device;
  record.subsystem = topology.subsystem;
  record.adapter_type = topology.adapter_type;
  record.driver_number = static_cast<std::uint16_t>(topology.driver_number);
  record.sli_mode = topology.sli_mode;
  record.features = topology.features;
  record.port_count = 1;
  if (adapter.state<BoardState>().mode() == BoardMode::not_ready) {
    record.readiness = readiness_not_ready;
  }
  return DriverStatus::success;
}

/** What RAVN_MGMT_SETDIAG is asked to do. */
enum class SubCommand : std::uint32_t {
  query = 16,
  enter_normal = 17,
  enter_not_ready = 18,
  enter_mode_3 = 19,
  enter_mode_5 = 20,
};

std::optional<BoardMode> mode_entered_by(SubCommand sub_command) {
  switch (sub_command) {
    case SubCommand::enter_normal:
      return BoardMode::normal;
    case SubCommand::enter_not_ready:
      return BoardMode::not_ready;
    case SubCommand::enter_mode_3:
      return BoardMode::mode_3;
    case SubCommand::enter_mode_5:
      return BoardMode::mode_5;
    default:
      return std::nullopt;
  }
}

DriverStatus set_diagnostic_mode(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  auto& state = adapter.state<BoardState>();
  const auto sub_command = static_cast<SubCommand>(block.selector);
  if (sub_command != SubCommand::query) {
    const auto mode = mode_entered_by(sub_command);
    if (!mode) {
      return DriverStatus::not_supported;
    }
    if (!state.can_change() && *mode != BoardMode::not_ready) {
      return DriverStatus::not_ready;
    }
    state.set_mode(*mode);
  }
  block.value = static_cast<std::uint32_t>(state.mode());
  return DriverStatus::success;
}

}  // namespace

void add_boards_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_INITBRDS">(discover);
  table.on<"RAVN_MGMT_SETDIAG">(set_diagnostic_mode);
}

}  // namespace ravnsim
