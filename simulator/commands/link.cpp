#include "driver_abi/records/link.h"

#include "driver_abi/records/nodes.h"
#include "simulator/board/io_counters.h"
#include "simulator/board/port_counters.h"
#include "simulator/board/port_list.h"
#include "simulator/commands/subsystem.h"
#include "simulator/topology/port_speed.h"

#include <algorithm>

namespace ravnsim {

namespace {

using ovk::LinkRecord;
using ovk::LinkState;
using ovk::LinkTopology;
using ovk::LoopMap;
using ovk::no_target;
using ovk::NodeRecord;
using ovk::NodeState;

constexpr std::uint32_t megabit = 1000;  // per gigabit
constexpr std::uint64_t bytes_per_kib = 1024;
constexpr std::uint64_t bytes_per_word = 4;

std::uint8_t al_pa_of(const PortTopology& port) { return static_cast<std::uint8_t>(port.fc_id); }

void describe_loop(Adapter& adapter, LinkRecord& record) {
  record.al_pa = al_pa_of(adapter.topology().port);
  LoopMap& map = record.loop_map;
  map.al_pas[map.count++] = record.al_pa;
  for (const PortTopology& port : adapter.state<PortList>().ports()) {
    if (port.type == PortType::nl_port && map.count < sizeof map.al_pas) {
      map.al_pas[map.count++] = al_pa_of(port);
    }
  }
}

/** A counter as the 32 bits that wrap, or all ones where it is not counted. */
std::uint32_t word_of(const CounterValues& counters, Counter counter) {
  return static_cast<std::uint32_t>(counters.at(index_of(counter)));
}

DriverStatus describe_link(Adapter& adapter, Request& request) {
  const PortTopology& port = adapter.topology().port;
  auto& record = request.output<LinkRecord>(1);
  record.state = LinkState::down;
  if (adapter.state<Link>().is_up()) {
    const bool loop = port.type == PortType::nl_port || port.type == PortType::l_port;
    record.state = LinkState::up;
    record.topology = loop ? LinkTopology::loop : LinkTopology::point_to_point;
    record.speed_mbit = gbit_of(port.speed) * megabit;
    record.fc_id = port.fc_id;
    record.on_fabric = port.fabric_name != Wwn{} ? 1 : 0;
    if (loop) {
      describe_loop(adapter, record);
    }
  }
  const CounterValues counters = adapter.state<PortCounters>().read();
  record.link_failures = word_of(counters, Counter::link_failure);
  record.losses_of_sync = word_of(counters, Counter::loss_of_sync);
  record.losses_of_signal = word_of(counters, Counter::loss_of_signal);
  record.lips = word_of(counters, Counter::lip);
  return DriverStatus::success;
}

std::uint32_t kib_of_words(const CounterValues& counters, Counter words) {
  return static_cast<std::uint32_t>(counters.at(index_of(words)) * bytes_per_word / bytes_per_kib);
}

DriverStatus count_io(Adapter& adapter, Request& request) {
  const CounterValues counters = adapter.state<PortCounters>().read();
  const IoCounters::Values& io = adapter.state<IoCounters>().values();
  request.output<ovk::IoRecord>(1) = {
      .seconds = word_of(counters, Counter::seconds),
      .tx_frames = word_of(counters, Counter::tx_frames),
      .rx_frames = word_of(counters, Counter::rx_frames),
      .tx_kib = kib_of_words(counters, Counter::tx_words),
      .rx_kib = kib_of_words(counters, Counter::rx_words),
      .reads = static_cast<std::uint32_t>(io.reads),
      .writes = static_cast<std::uint32_t>(io.writes),
      .without_data = static_cast<std::uint32_t>(io.without_data),
      .failed = static_cast<std::uint32_t>(io.failed),
      .read_kib = static_cast<std::uint32_t>(io.bytes_read / bytes_per_kib),
      .written_kib = static_cast<std::uint32_t>(io.bytes_written / bytes_per_kib),
      .nodes = static_cast<std::uint32_t>(adapter.state<PortList>().ports().size()),
      .error_frames = word_of(counters, Counter::error_frames),
      .dumped_frames = word_of(counters, Counter::dumped_frames),
  };
  return DriverStatus::success;
}

DriverStatus list_nodes(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  auto& table = request.output<ovk::NodeTable>(1);
  const auto& ports = adapter.state<PortList>().ports();
  const std::size_t room = std::min<std::size_t>(block.request_size, sizeof table);
  const std::size_t count = std::min(room / sizeof(NodeRecord), ports.size());
  std::uint32_t targets = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const bool target = ovk::has_fc4_type(ports[i].fc4_types_active, ovk::fc4_fcp);
    table.entries[i] = {
        .handle = static_cast<std::uint16_t>(i + 1),
        .state = target ? NodeState::mapped : NodeState::logged_in,
        .fc_id = ports[i].fc_id,
        .port_wwn = ports[i].port_wwn,
        .node_wwn = ports[i].node_wwn,
        .target_id = target ? targets++ : no_target,
    };
  }
  block.reply_size = static_cast<std::uint32_t>(count * sizeof(NodeRecord));
  return DriverStatus::success;
}

/** The ports that carry the link: those of the trunk, or the one that there is. */
std::uint32_t ports_up(Adapter& adapter) {
  const TrunkTopology& trunk = adapter.topology().hardware.trunk;
  if (!adapter.state<Link>().is_up()) {
    return 0;
  }
  return trunk.ports == 0 ? 1 : static_cast<std::uint32_t>(std::popcount(trunk.ports_up));
}

DriverStatus give_logical_speed(Adapter& adapter, Request& request) {
  constexpr std::uint32_t tenths = 10;
  const std::uint32_t gbit = gbit_of(adapter.topology().port.speed) * ports_up(adapter);
  request.block().value = gbit * tenths;
  return DriverStatus::success;
}

DriverStatus describe_trunk(Adapter& adapter, Request& request) {
  const TrunkTopology& trunk = adapter.topology().hardware.trunk;
  const bool up = adapter.state<Link>().is_up();
  request.output<ovk::TrunkRecord>(1) = {
      .ports = trunk.ports,
      .ports_up = up ? trunk.ports_up : 0,
      .port_speed_mbit = gbit_of(adapter.topology().port.speed) * megabit,
  };
  return DriverStatus::success;
}

static_assert(sizeof(CounterValues) == 120);

DriverStatus read_statistics(Adapter& adapter, Request& request) {
  const auto& counters = adapter.state<PortCounters>();
  request.output<CounterValues>(1) =
      request.effect("driver_reloaded") ? counters.read_at_load() : counters.read();
  return DriverStatus::success;
}

}  // namespace

void add_link_handlers(HandlerTable& table) {
  table.when(is_sli4).on<"RAVN_MGMT_GET_LOGICAL_LINK_SPEED">(give_logical_speed);
  table.when(names_itself<DriverStatus::not_permitted>)
      .when(is_sli4)
      .on<"RAVN_MGMT_GET_TRUNK_INFO">(describe_trunk);
  table.on<"RAVN_MGMT_IOINFO">(count_io);
  table.on<"RAVN_MGMT_LINKINFO">(describe_link);
  table.on<"RAVN_MGMT_NODEINFO">(list_nodes);
  table.on<"RAVN_MGMT_HBA_PORTSTATISTICS">(read_statistics, {"driver_reloaded"});
}

}  // namespace ravnsim
