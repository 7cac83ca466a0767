#include "ovkctl/frame/command.h"
#include "ovkctl/subjects/board_text.h"
#include "ovkctl/subjects/scsi_access.h"

#include <ovk/hbaapi.h>
#include <ovk/npiv.h>

#include <algorithm>
#include <cstring>
#include <fmt/core.h>
#include <memory>
#include <optional>
#include <span>
#include <vector>

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
  for (const std::uint32_t word : node.words260) {
    words.push_back(hex_text(word, 8));
  }
  for (const std::uint32_t word : node.words292) {
    words.push_back(hex_text(word, 8));
  }
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
  if (list->count > OVK_MAX_NODES) {
    throw OperationFailed(fmt::format("The driver says that it gave {} nodes where {} have room.",
                                      list->count, std::uint32_t{OVK_MAX_NODES}));
  }
  std::vector<NodeRow> rows;
  for (std::uint32_t i = 0; i < list->count; ++i) {
    NodeRow& row = rows.emplace_back(NodeRow{.node = list->nodes[i], .port = {}});
    PortAttributes port{};
    if (GetPortAttributesByWWN(board, &row.node.port_wwn, &port) == OVK_OK) {
      row.port = port;
    }
  }
  return rows;
}

constexpr OptionalWord<Wwn> port_word{"WWN", "port WWN of a virtual port"};

Report show_nodes(const Board& board, const std::optional<Wwn>& port) {
  const Wwn local = port ? *port : read_own_port(board).PortWWN;
  Report report = board.report();
  report.field("port_wwn", "Port WWN", local);
  report.table("nodes", "Nodes", node_columns, read_nodes(board, local),
               "The port is logged in with no other.");
  return report;
}

// ---- targets --------------------------------------------------------------------------------

constexpr std::uint32_t first_room = 64;

/** A target mapping in memory of its own. */
class Mapping {
 public:
  explicit Mapping(std::uint32_t entries)
      : memory_(offsetof(FcpTargetMappingV2, entry) + entries * sizeof(FcpScsiEntryV2)) {
    map()->NumberOfEntries = entries;
  }

  FcpTargetMappingV2* map() {
    void* memory = memory_.data();
    return static_cast<FcpTargetMappingV2*>(memory);
  }

  [[nodiscard]] std::vector<FcpScsiEntryV2> entries() {
    std::vector<FcpScsiEntryV2> entries(map()->NumberOfEntries);
    if (!entries.empty()) {
      std::memcpy(entries.data(), memory_.data() + offsetof(FcpTargetMappingV2, entry),
                  entries.size() * sizeof entries[0]);
    }
    return entries;
  }

 private:
  Bytes memory_;
};

/** Reads the mapping with as much room as it turns out to need. */
Mapping read_mapping(const Board& board) {
  const Wwn port = read_own_port(board).PortWWN;
  Mapping mapping{first_room};
  std::uint32_t result = OVK_GetFcpTargetMappingV2(board, &port, mapping.map());
  if (result == OVK_MORE_DATA) {
    mapping =
        Mapping{std::min<std::uint32_t>(mapping.map()->NumberOfEntries, OVK_MAX_TARGET_MAPPINGS)};
    result = OVK_GetFcpTargetMappingV2(board, &port, mapping.map());
  }
  board.check(result, "Reading the target mapping");
  return mapping;
}

std::string lun_digits(const FcpScsiEntryV2& unit) {
  std::uint8_t lun[sizeof unit.entry.FcpLun];
  std::memcpy(lun, &unit.entry.FcpLun, sizeof lun);
  return bytes_text(lun);
}

/** A part of the unit's identifier; nothing for a unit without one. */
template <std::string Designator::*part>
constexpr auto of_identifier = [](const FcpScsiEntryV2& unit) {
  return unit.identifier[0] != 0 ? Cell{decode_designator(unit.identifier).*part} : Cell{};
};

constexpr Column<FcpScsiEntryV2> target_columns[] = {
    {"bus", "BUS", [](const FcpScsiEntryV2& unit) { return unit.entry.ScsiBusNumber; }},
    {"target", "TARGET", [](const FcpScsiEntryV2& unit) { return unit.entry.ScsiTargetNumber; }},
    {"os_lun", "LUN", [](const FcpScsiEntryV2& unit) { return unit.entry.ScsiOSLun; }},
    {"os_device_name", "DEVICE",
     [](const FcpScsiEntryV2& unit) { return fixed_text(unit.entry.OSDeviceName); }},
    {"port_wwn", "PORT WWN", [](const FcpScsiEntryV2& unit) { return unit.entry.PortWWN; }},
    {"node_wwn", "", [](const FcpScsiEntryV2& unit) { return unit.entry.NodeWWN; }},
    {"fc_id", "FC ID", [](const FcpScsiEntryV2& unit) { return FcAddress{unit.entry.FcId}; }},
    {"fcp_lun", "FCP LUN", field<lun_digits>},
    {"identifier_type", "ID TYPE", of_identifier<&Designator::type>},
    {"identifier", "IDENTIFIER", of_identifier<&Designator::value>},
};

Report show_targets(const Board& board) {
  Report report = board.listing();
  report.table("targets", "", target_columns, read_mapping(board).entries(),
               "The host sees no logical unit behind this board.");
  return report;
}

// ---- bindings -------------------------------------------------------------------------------

/** The driver's bindings, with room for the most that there can be. */
struct Bindings {
  std::uint32_t count;
  FcpBinding entries[OVK_MAX_BINDINGS];
};

static_assert(offsetof(Bindings, entries) == offsetof(FcpBindList, entry));

constexpr Column<FcpBinding> binding_columns[] = {
    {"index", "INDEX", row_number},
    {"bytes", "DRIVER'S RECORD", field<&FcpBinding::bytes>},
};

Report show_bindings(const Board& board) {
  const auto bindings = std::make_unique<Bindings>();
  bindings->count = OVK_MAX_BINDINGS;
  void* const list = bindings.get();
  board.check(GetFcpBindList(board, static_cast<FcpBindList*>(list)), "Reading the bindings");
  const std::size_t count = std::min<std::size_t>(bindings->count, OVK_MAX_BINDINGS);
  Report report = board.listing();
  report.table("bindings", "", binding_columns, std::span{bindings->entries}.first(count),
               "The board has no persistent bindings.");
  return report;
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
