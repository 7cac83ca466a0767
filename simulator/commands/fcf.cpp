#include "simulator/commands/subsystem.h"

#include <algorithm>
#include <cstddef>

namespace ravnsim {

namespace {

/** Stands for the first FCF in a question, and for none in an answer. */
constexpr std::uint32_t list_end = 0xFFFF;

/** The answer to RAVN_MGMT_HBA_GET_FCF_LIST. */
struct FcfRecord {
  std::uint32_t reserved0;
  std::uint32_t max_receive_size;
  std::uint32_t keep_alive;
  std::uint32_t priority;
  std::uint16_t index;
  std::uint8_t available;
  std::uint8_t reserved19;
  Wwn fabric_name;
  std::uint16_t vlan_count;
  std::uint8_t port_state;
  std::uint8_t valid;
  std::uint32_t reserved32;
  std::uint8_t vlans[512];
  Wwn switch_name;
};

static_assert(sizeof(FcfRecord) == 556);
static_assert(offsetof(FcfRecord, index) == 16);
static_assert(offsetof(FcfRecord, fabric_name) == 20);
static_assert(offsetof(FcfRecord, valid) == 31);
static_assert(offsetof(FcfRecord, vlans) == 36);
static_assert(offsetof(FcfRecord, switch_name) == 548);

void describe(const FcfTopology& fcf, FcfRecord& record) {
  record.max_receive_size = fcf.max_receive_size;
  record.keep_alive = fcf.keep_alive;
  record.priority = fcf.priority;
  record.index = fcf.index;
  record.available = fcf.available ? 1 : 0;
  record.fabric_name = fcf.fabric_name;
  record.vlan_count = static_cast<std::uint16_t>(fcf.vlans.size());
  record.valid = fcf.valid ? 1 : 0;
  for (const std::uint32_t vlan : fcf.vlans) {
    record.vlans[vlan / 8] = static_cast<std::uint8_t>(record.vlans[vlan / 8] | 1U << vlan % 8);
  }
  record.switch_name = fcf.switch_name;
}

constexpr Guard is_fcoe_board{
    [](Adapter& adapter, const Request&) { return is_fcoe(adapter.topology()); },
    DriverStatus::not_supported};

DriverStatus read_fcf(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  const auto& fcfs = adapter.topology().fcfs;
  const auto fcf = block.index == list_end
                       ? fcfs.begin()
                       : std::ranges::find(fcfs, block.index, &FcfTopology::index);
  block.value = list_end;
  block.code = static_cast<std::uint32_t>(fcfs.size());
  if (fcf == fcfs.end()) {
    // An empty table is answered with an empty record.
    return block.index == list_end ? DriverStatus::success : DriverStatus::not_found;
  }
  describe(*fcf, request.output<FcfRecord>(1));
  if (const auto next = std::next(fcf); next != fcfs.end()) {
    block.value = next->index;
  }
  if (request.effect("endless")) {
    block.value = fcf->index;
  }
  return DriverStatus::success;
}

}  // namespace

void add_fcf_handlers(HandlerTable& table) {
  table.when(is_fcoe_board).when(is_ready).on<"RAVN_MGMT_HBA_GET_FCF_LIST">(read_fcf, {"endless"});
}

}  // namespace ravnsim
