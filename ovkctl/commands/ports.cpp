#include "ovkctl/frame/command.h"
#include "ovkctl/subjects/board_text.h"
#include "ovkctl/subjects/long_list.h"
#include "ovkctl/subjects/scsi_access.h"

#include <ovk/hbaapi.h>
#include <ovk/npiv.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

namespace ovkctl {
namespace {

// ---- ports ----------------------------------------------------------------------------------

/** How often a walk starts over before a fabric that keeps changing fails it. */
constexpr std::uint32_t most_restarts = 8;

struct Walk {
  PortAttributes own{};
  std::vector<PortAttributes> discovered;
  std::uint32_t restarts = 0;
};

/** Reads the discovered ports of one snapshot, up to the first that it does not give. */
std::uint32_t read_discovered(const Board& board, Walk& walk) {
  walk.discovered.clear();
  for (std::uint32_t i = 0; i < walk.own.NumberofDiscoveredPorts; ++i) {
    PortAttributes port{};
    const std::uint32_t result = GetDiscoveredPortAttributes(board, 0, i, &port);
    if (result != OVK_OK) {
      return result;
    }
    walk.discovered.push_back(port);
  }
  return OVK_OK;
}

Walk walk_fabric(const Board& board) {
  Walk walk;
  while (true) {
    board.check(RefreshInformation(board), "Refreshing the fabric snapshot");
    walk.own = read_own_port(board);
    const std::uint32_t result = read_discovered(board, walk);
    // An index that is gone means as much as stale data: the list became shorter meanwhile.
    const bool moved = result == OVK_STALE_DATA || result == OVK_ILLEGAL_INDEX;
    if (!moved || walk.restarts == most_restarts) {
      board.check(result, "Reading the discovered ports");
      return walk;
    }
    ++walk.restarts;
  }
}

constexpr Column<PortAttributes> port_columns[] = {
    {"index", "INDEX", row_number},
    {"port_wwn", "PORT WWN", field<&PortAttributes::PortWWN>},
    {"node_wwn", "NODE WWN", field<&PortAttributes::NodeWWN>},
    {"fc_id", "FC ID", as<FcAddress, &PortAttributes::PortFcId>},
    {"type", "TYPE", field<&PortAttributes::PortType, port_type_text>},
    {"state", "STATE", field<&PortAttributes::PortState, port_state_text>},
    {"speed_gbit", "SPEED", as<Speed, &PortAttributes::PortSpeed>},
    {"fc4_types_active", "FC-4 TYPES", field<&PortAttributes::PortFc4TypesActive, fc4_type_list>},
    {"symbolic_name", "SYMBOLIC NAME", field<&PortAttributes::PortSymbolicName>},
};

Report show_ports(const Board& board) {
  const Walk walk = walk_fabric(board);
  Report report = board.report();
  report.field("restarts", walk.restarts == 0 ? "" : "Restarts of the walk", walk.restarts);
  add_port_fields(report.section("own_port", "Own port"), walk.own);
  report.section("", "").table("discovered_ports", "Discovered ports", port_columns,
                               walk.discovered, "The board sees no other port.");
  return report;
}

// ---- nodes ----------------------------------------------------------------------------------

constexpr ResultText node_results[] = {
    {OVK_FAILED, "the command was not delivered, or no port of the board has this name",
     "See with \"ovkctl vports list\" which virtual ports the board has."},
    {OVK_NOT_SUPPORTED, "the driver has no node information", "Use \"ovkctl ports\" instead."},
};

/** What the driver's record has besides the names, as it stands there. */
List driver_words(const NodeInformation& node) {
  List words{hex_text(node.word0, 8)};
  std::ranges::move(hex_list(node.words260, 8), std::back_inserter(words));
  std::ranges::move(hex_list(node.words292, 8), std::back_inserter(words));
  return words;
}

/** A node, and the attributes of its port where they are known. */
struct NodeRow {
  NodeInformation node;
  std::optional<PortAttributes> port;
};

constexpr Column<NodeRow> node_columns[] = {
    {"index", "INDEX", row_number},
    {"port_wwn", "PORT WWN", field<&NodeRow::node, &NodeInformation::port_wwn>},
    {"node_wwn", "NODE WWN", field<&NodeRow::port, &PortAttributes::NodeWWN>},
    {"fc_id", "FC ID", field<&NodeRow::port, as<FcAddress, &PortAttributes::PortFcId>>},
    {"state", "STATE", field<&NodeRow::port, &PortAttributes::PortState, port_state_text>},
    {"speed_gbit", "SPEED", field<&NodeRow::port, as<Speed, &PortAttributes::PortSpeed>>},
    {"name", "NAME", field<&NodeRow::node, &NodeInformation::name>},
    {"driver_words", "", field<&NodeRow::node, driver_words>},
};

std::vector<NodeRow> read_nodes(const Board& board, const Wwn& local) {
  const auto list = std::make_unique<NodeInformationList>();
  list->count = OVK_MAX_NODES;
  board.check(OVK_GetAllNodeInfoByWWN(board, &local, list.get()),
              "Reading the nodes of " + wwn_text(local), node_results);
  check_room(list->count, OVK_MAX_NODES, "nodes");
  std::vector<NodeRow> rows;
  for (const NodeInformation& node : first_of(list->nodes, list->count)) {
    NodeRow& row = rows.emplace_back(NodeRow{.node = node, .port = {}});
    PortAttributes port{};
    if (GetPortAttributesByWWN(board, &node.port_wwn, &port) == OVK_OK) {
      row.port = port;
    }
  }
  return rows;
}

constexpr OptionalWord<Wwn> port_word{"WWN", "port WWN of a virtual port"};

Report show_nodes(const Board& board, const std::optional<Wwn>& port) {
  const Wwn local = port ? *port : read_own_port(board).PortWWN;
  return board.report()
      .field("port_wwn", "Port WWN", local)
      .table("nodes", "Nodes", node_columns, read_nodes(board, local),
             "The port is logged in with no other.");
}

// ---- targets --------------------------------------------------------------------------------

Bytes lun_bytes(const FcpScsiEntryV2& unit) {
  Bytes lun(sizeof unit.entry.FcpLun);
  std::memcpy(lun.data(), &unit.entry.FcpLun, lun.size());
  return lun;
}

/** A part of the unit's identifier; nothing for a unit without one. */
template <std::string Designator::*part>
constexpr auto of_identifier = [](const FcpScsiEntryV2& unit) {
  return unit.identifier[0] != 0 ? Cell{decode_designator(unit.identifier).*part} : Cell{};
};

using Unit = FcpScsiEntryV2;
constexpr Column<Unit> target_columns[] = {
    {"bus", "BUS", field<&Unit::entry, &FcpScsiEntry::ScsiBusNumber>},
    {"target", "TARGET", field<&Unit::entry, &FcpScsiEntry::ScsiTargetNumber>},
    {"os_lun", "LUN", field<&Unit::entry, &FcpScsiEntry::ScsiOSLun>},
    {"os_device_name", "DEVICE", field<&Unit::entry, &FcpScsiEntry::OSDeviceName>},
    {"port_wwn", "PORT WWN", field<&Unit::entry, &FcpScsiEntry::PortWWN>},
    {"node_wwn", "", field<&Unit::entry, &FcpScsiEntry::NodeWWN>},
    {"fc_id", "FC ID", field<&Unit::entry, as<FcAddress, &FcpScsiEntry::FcId>>},
    {"fcp_lun", "FCP LUN", field<lun_bytes>},
    {"identifier_type", "ID TYPE", of_identifier<&Designator::type>},
    {"identifier", "IDENTIFIER", of_identifier<&Designator::value>},
};

Report show_targets(const Board& board) {
  static constexpr std::uint32_t first_room = 64;
  const Wwn port = read_own_port(board).PortWWN;
  LongList<FcpTargetMappingV2, &FcpTargetMappingV2::NumberOfEntries, &FcpTargetMappingV2::entry>
      map;
  board.check(map.read(first_room, OVK_MAX_TARGET_MAPPINGS,
                       [&](auto* list) { return OVK_GetFcpTargetMappingV2(board, &port, list); }),
              "Reading the target mapping");
  return board.listing().table("targets", "", target_columns, map.entries(),
                               "The host sees no logical unit behind this board.");
}

// ---- bindings -------------------------------------------------------------------------------

constexpr Column<FcpBinding> binding_columns[] = {
    {"index", "INDEX", row_number},
    {"bytes", "DRIVER'S RECORD", field<&FcpBinding::bytes>},
};

Report show_bindings(const Board& board) {
  LongList<FcpBindList, &FcpBindList::count, &FcpBindList::entry> bindings;
  board.check(bindings.read(OVK_MAX_BINDINGS, OVK_MAX_BINDINGS,
                            [&](auto* list) { return GetFcpBindList(board, list); }),
              "Reading the bindings");
  return board.listing().table("bindings", "", binding_columns, bindings.entries(),
                               "The board has no persistent bindings.");
}

}  // namespace

void add_ports(Command root) {
  root.command("ports", "Show a board's own port and the ports that it discovered")
      .shows(show_ports);
  root.command("nodes", "List the nodes that a board's port or virtual port is logged in with")
      .takes(port_word)
      .example("0 10:00:02:28:54:56:32:01")
      .shows(show_nodes);
  root.command("targets", "Show the logical units that the host sees behind a board")
      .shows(show_targets);
  root.command("bindings", "Show a board's persistent bindings as the driver keeps them")
      .shows(show_bindings);
}

}  // namespace ovkctl
