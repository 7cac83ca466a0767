#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/subjects/board_text.h"

#include <ovk/hbaapi.h>

#include <vector>

namespace ovkctl {
namespace {

/** How often a walk starts over before a fabric that keeps changing fails it. */
constexpr std::uint32_t kMostRestarts = 8;

struct Walk {
  PortAttributes own{};
  std::vector<PortAttributes> discovered;
  std::uint32_t restarts = 0;
};

/** Reads the discovered ports of one snapshot, up to the first that it does not give. */
std::uint32_t read_discovered(std::uint32_t board, Walk& walk) {
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

Walk walk_fabric(std::uint32_t board) {
  Walk walk;
  while (true) {
    check_board(RefreshInformation(board), board, "Refreshing the fabric snapshot");
    walk.own = read_own_port(board);
    const std::uint32_t result = read_discovered(board, walk);
    // An index that is gone means as much as stale data: the list became shorter meanwhile.
    const bool moved = result == OVK_STALE_DATA || result == OVK_ILLEGAL_INDEX;
    if (!moved || walk.restarts == kMostRestarts) {
      check_board(result, board, "Reading the discovered ports");
      return walk;
    }
    ++walk.restarts;
  }
}

void add_discovered(Section& section, const std::vector<PortAttributes>& ports) {
  Table& table = section.table("discovered_ports", "Discovered ports",
                               {{"index", "INDEX"},
                                {"port_wwn", "PORT WWN"},
                                {"node_wwn", "NODE WWN"},
                                {"fc_id", "FC ID"},
                                {"type", "TYPE"},
                                {"state", "STATE"},
                                {"speed_gbit", "SPEED"},
                                {"fc4_types_active", "FC-4 TYPES"},
                                {"symbolic_name", "SYMBOLIC NAME"}},
                               "The board sees no other port.");
  for (std::uint32_t i = 0; i < ports.size(); ++i) {
    const PortAttributes& port = ports[i];
    table.row({i, port.PortWWN, port.NodeWWN, FcAddress{port.PortFcId},
               port_type_text(port.PortType), port_state_text(port.PortState),
               Speed{port.PortSpeed}, fc4_type_list(port.PortFc4TypesActive),
               fixed_text(port.PortSymbolicName)});
  }
}

Report ports_report(std::uint32_t board) {
  const Walk walk = walk_fabric(board);
  Report report;
  report.field("board", "Board", board)
      .field("restarts", walk.restarts == 0 ? "" : "Restarts of the walk", walk.restarts);
  add_port_fields(report.section("own_port", "Own port"), walk.own);
  add_discovered(report.section("", ""), walk.discovered);
  return report;
}

}  // namespace

void add_ports(Command root) {
  add_board_report(root, "ports", "Show a board's own port and the ports that it discovered",
                   "ovkctl ports 0", ports_report);
}

}  // namespace ovkctl
