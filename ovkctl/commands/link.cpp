#include "driver_abi/records/link.h"

#include "driver_abi/records/nodes.h"
#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/subjects/fc_words.h"

#include <ovk/info.h>

#include <algorithm>
#include <bit>
#include <optional>
#include <vector>

namespace ovkctl {
namespace {

constexpr std::uint32_t kMbitPerGbit = 1000;

std::string topology_text(ovk::LinkTopology topology) {
  switch (topology) {
    case ovk::LinkTopology::none:
      return "none";
    case ovk::LinkTopology::point_to_point:
      return "point to point";
    case ovk::LinkTopology::loop:
      return "loop";
    default:
      return "unknown";
  }
}

/** A counter; all ones where the driver does not count. */
Cell count(std::uint32_t counter) {
  constexpr std::uint32_t not_counted = 0xFFFFFFFF;
  return counter != not_counted ? Cell(counter) : Cell();
}

List loop_positions(const ovk::LinkRecord& link) {
  List positions;
  const auto& [places, al_pas] = link.loop_map;
  const std::size_t count = std::min<std::size_t>(places, sizeof al_pas);
  for (std::size_t i = 0; i < count; ++i) {
    positions.push_back(hex_text(al_pas[i], 2));
  }
  return positions;
}

/** The Gbit/s of all ports that carry the link; nothing where the board does not give it. */
std::optional<std::uint16_t> logical_speed(std::uint32_t board) {
  std::uint16_t speed = 0;
  const std::uint32_t result = OVK_GetQoSLinkSpeed(board, &speed);
  if (result != OVK_NOT_SUPPORTED) {
    check_board(result, board, "Reading the logical link speed");
  }
  const bool known = result == OVK_OK && speed != OVK_NO_LOGICAL_SPEED;
  return known ? std::optional(speed) : std::nullopt;
}

void add_link_fields(Section& section, std::uint32_t board) {
  LinkInfo info{};
  check_board(OVK_GetLinkInfo(static_cast<int>(board), &info), board, "Reading the link");
  const auto link = std::bit_cast<ovk::LinkRecord>(info);
  const bool up = link.state == ovk::LinkState::up;
  const bool loop = link.topology == ovk::LinkTopology::loop;
  const Cell nothing;
  section.field("board", "Board", board)
      .field("state", "Link", up ? "up" : "down")
      .field("topology", "Topology", topology_text(link.topology))
      .field("speed_gbit", "Speed (Gbit/s)", up ? Cell(link.speed_mbit / kMbitPerGbit) : nothing)
      .field("logical_speed_gbit", "Logical speed (Gbit/s)", logical_speed(board))
      .field("fc_id", "FC ID", up ? Cell(FcAddress{link.fc_id}) : nothing)
      .field("on_fabric", "On a fabric", link.on_fabric != 0)
      .field("al_pa", loop ? "AL_PA" : "", loop ? Cell(Hex{link.al_pa, 2}) : nothing)
      .field("loop_positions", loop ? "Loop positions" : "", loop_positions(link))
      .field("link_failures", "Link failures", count(link.link_failures))
      .field("losses_of_sync", "Losses of sync", count(link.losses_of_sync))
      .field("losses_of_signal", "Losses of signal", count(link.losses_of_signal))
      .field("lips", "LIPs", count(link.lips));
}

void add_nodes(Section& section, std::uint32_t board) {
  std::vector<NodeInfoEntry> entries(OVK_MAX_NODE_INFO_ENTRIES);
  entries.resize(GetNodeInfo(static_cast<int>(board), entries.data()));
  Table& table = section.table("nodes", "Nodes that the port is logged in with",
                               {{"handle", "HANDLE"},
                                {"state", "STATE"},
                                {"fc_id", "FC ID"},
                                {"port_wwn", "PORT WWN"},
                                {"node_wwn", "NODE WWN"},
                                {"target_id", "TARGET"}},
                               "The port is logged in with no node.");
  for (const NodeInfoEntry& entry : entries) {
    const auto node = std::bit_cast<ovk::NodeRecord>(entry);
    const bool target = node.target_id != ovk::no_target;
    table.row({node.handle, node.state == ovk::NodeState::mapped ? "mapped" : "logged in",
               FcAddress{node.fc_id}, node.port_wwn, node.node_wwn,
               target ? Cell(node.target_id) : Cell()});
  }
}

Report link_report(std::uint32_t board) {
  Report report;
  add_link_fields(report, board);
  add_nodes(report, board);
  return report;
}

}  // namespace

void add_link(Command root) {
  add_board_report(root, "link",
                   "Show the link of a board's port and the nodes it is logged in with",
                   "ovkctl link 0", link_report);
}

}  // namespace ovkctl
