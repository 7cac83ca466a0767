#include "driver_abi/records/hardware.h"
#include "simulator/board/loopback_state.h"
#include "simulator/board/saved.h"
#include "simulator/commands/subsystem.h"
#include "simulator/host/host.h"

#include <algorithm>

namespace ravnsim {

namespace {

/** The answer to RAVN_MGMT_GET_OVK_REV. */
struct RevisionRecord {
  std::uint32_t major;
  std::uint32_t minor;
  std::uint32_t has_reset_mode_3;
};

static_assert(sizeof(RevisionRecord) == 12);

constexpr std::uint32_t interface_major = 4;
constexpr std::uint32_t reset_mode_3 = 3;

/** The driver's own revision; which board the block names does not matter. */
DriverStatus give_revision(Host& host, Request& request) {
  request.output<RevisionRecord>(1) = {
      .major = interface_major,
      .minor = 0,
      .has_reset_mode_3 = host.topology().driver.reset_mode_3 ? 1U : 0U};
  return DriverStatus::success;
}

void reset_board(Adapter& adapter) {
  adapter.state<LoopbackState>().set_mode(LoopbackMode::none);
  adapter.state<BoardState>().reset();
  adapter.state<Link>().bounce();
}

DriverStatus reset(Adapter& adapter, Request& request) {
  const std::uint32_t mode = request.block().selector;
  const bool known =
      mode == 1 || mode == 2 || (mode == reset_mode_3 && adapter.driver().reset_mode_3);
  if (!known) {
    return DriverStatus::not_supported;
  }
  if (!adapter.state<BoardState>().can_change()) {
    return DriverStatus::not_ready;
  }
  reset_board(adapter);
  return DriverStatus::success;
}

/** The dumps that a board has made. */
struct DumpState {
  explicit DumpState(Adapter& adapter) : count{adapter, "dumps"} {}

  Saved<std::uint32_t> count;
};

/** The firmware writes its memory out and starts anew. */
DriverStatus induce_dump(Adapter& adapter, Request& /*request*/) {
  adapter.state<DumpState>().count.change([](std::uint32_t& count) { ++count; });
  reset_board(adapter);
  return DriverStatus::success;
}

DriverStatus describe_dump_region(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  block.reply_size = 0;
  if (adapter.topology().dump_region_size == 0) {
    return DriverStatus::no_dump_region;
  }
  if (block.selector != 0) {
    return DriverStatus::not_found;
  }
  if (!adapter.state<BoardState>().is_ready()) {
    return DriverStatus::transport_failed;
  }
  constexpr std::uint64_t first_address = 0x3F0000000;
  const std::uint32_t size = adapter.topology().dump_region_size;
  request.output<ovk::DumpRegionRecord>(1) = {
      .address = first_address + std::uint64_t{adapter.topology().driver_number} * size,
      .size = size,
      .dumps = adapter.state<DumpState>().count.get()};
  block.reply_size = std::min<std::uint32_t>(block.request_size, sizeof(ovk::DumpRegionRecord));
  return DriverStatus::success;
}

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

void add_reset_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_GET_DUMPREGION">(describe_dump_region);
  table.on<"RAVN_MGMT_GET_OVK_REV">(give_revision);
  table.when(can_change).on<"RAVN_MGMT_INDUCE_DUMP">(induce_dump);
  table.on<"RAVN_MGMT_RESET">(reset);
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
