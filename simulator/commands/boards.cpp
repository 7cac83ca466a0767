#include "simulator/commands/subsystem.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

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
  if (!adapter.state<BoardState>().is_ready()) {
    record.readiness = readiness_not_ready;
  }
  return DriverStatus::success;
}

/** A sub-command of RAVN_MGMT_SETDIAG that puts the board into a mode. */
struct ModeChange {
  std::uint32_t sub_command;
  BoardMode mode;
};

constexpr std::uint32_t query_mode = 16;
constexpr ModeChange mode_changes[] = {
    {17, BoardMode::normal},
    {18, BoardMode::not_ready},
    {19, BoardMode::mode_3},
    {20, BoardMode::mode_5},
};

DriverStatus set_diagnostic_mode(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  auto& state = adapter.state<BoardState>();
  if (block.selector != query_mode) {
    const auto* change = std::ranges::find(mode_changes, block.selector, &ModeChange::sub_command);
    if (change == std::end(mode_changes)) {
      return DriverStatus::not_supported;
    }
    if (!state.can_change() && change->mode != BoardMode::not_ready) {
      return DriverStatus::not_ready;
    }
    state.set_mode(change->mode);
  }
  block.value = static_cast<std::uint32_t>(state.mode());
  return DriverStatus::success;
}

/** The answer to RAVN_MGMT_GET_RAVNOVK_INFO. */
struct DriverInfoRecord {
  std::uint32_t device;
  std::uint32_t subsystem;
  std::uint32_t reserved8[22];
  std::uint32_t sli_mode;
  std::uint32_t reserved100;
  std::uint32_t features;
  std::uint32_t driver_number;
  std::uint32_t adapter_type;
  std::uint32_t reserved116;
};

static_assert(sizeof(DriverInfoRecord) == 120);
static_assert(offsetof(DriverInfoRecord, sli_mode) == 96);
static_assert(offsetof(DriverInfoRecord, features) == 104);
static_assert(offsetof(DriverInfoRecord, adapter_type) == 112);

DriverStatus describe_driver(Adapter& adapter, Request& request) {
  // A caller that does not say how much room it has gets the record too.
  const std::uint32_t room = request.block().request_size;
  if (room != 0 && room < sizeof(DriverInfoRecord)) {
    return DriverStatus::does_not_fit;
  }
  const BoardTopology& topology = adapter.topology();
  auto& record = request.output<DriverInfoRecord>(1);
  record.device = topology.device;
  record.subsystem = topology.subsystem;
  record.sli_mode = topology.sli_mode;
  record.features = topology.features;
  record.driver_number = topology.driver_number;
  record.adapter_type = topology.adapter_type;
  return DriverStatus::success;
}

/** Tells by its status alone whether there are extended SLI_CONFIG mailboxes. */
DriverStatus confirm(Adapter& /*adapter*/, Request& /*request*/) { return DriverStatus::success; }

}  // namespace

void add_boards_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_INITBRDS">(discover);
  table.on<"RAVN_MGMT_SETDIAG">(set_diagnostic_mode);
  table.on<"RAVN_MGMT_GET_RAVNOVK_INFO">(describe_driver);
  table.when(takes_extended_sli_config).on<"RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP">(confirm);
}

}  // namespace ravnsim
