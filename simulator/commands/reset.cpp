// Reset, and the dumps that come with one.

#include "driver_abi/records/hardware.h"
#include "simulator/board/adapter.h"
#include "simulator/board/board_state.h"
#include "simulator/board/link.h"
#include "simulator/board/loopback_state.h"
#include "simulator/board/saved.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"
#include "simulator/commands/guards.h"
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
  if (adapter.state<BoardState>().mode() == BoardMode::not_ready) {
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

}  // namespace

void add_reset_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_GET_DUMPREGION">(describe_dump_region);
  table.on<"RAVN_MGMT_GET_OVK_REV">(give_revision);
  table.when(can_change).on<"RAVN_MGMT_INDUCE_DUMP">(induce_dump);
  table.on<"RAVN_MGMT_RESET">(reset);
}

}  // namespace ravnsim
