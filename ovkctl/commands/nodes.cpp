#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/subjects/board_text.h"

#include <ovk/hbaapi.h>
#include <ovk/npiv.h>

#include <memory>
#include <span>

namespace ovkctl {
namespace {

constexpr ResultText kNodeResults[] = {
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

/** A node, and what its port tells; cells of a port that is not known stay empty. */
std::vector<Cell> node_row(std::uint32_t board, std::uint32_t index, const NodeInformation& node) {
  PortAttributes port{};
  const bool known = GetPortAttributesByWWN(board, &node.port_wwn, &port) == OVK_OK;
  const auto of_port = [known](Cell cell) { return known ? cell : Cell(); };
  return {index,
          node.port_wwn,
          of_port(port.NodeWWN),
          of_port(FcAddress{port.PortFcId}),
          of_port(port_state_text(port.PortState)),
          of_port(Speed{port.PortSpeed}),
          fixed_text(node.name),
          driver_words(node)};
}

std::span<const NodeInformation> read_nodes(std::uint32_t board, const Wwn& local,
                                            NodeInformationList& list) {
  list.count = OVK_MAX_NODES;
  check_board(OVK_GetAllNodeInfoByWWN(board, &local, &list), board,
              "Reading the nodes of " + wwn_text(local), kNodeResults);
  if (list.count > OVK_MAX_NODES) {
    throw OperationFailed("The driver says that it gave " + std::to_string(list.count) +
                          " nodes where " + std::to_string(OVK_MAX_NODES) + " have room.");
  }
  return {list.nodes, list.count};
}

Report nodes_report(std::uint32_t board, const Wwn& local) {
  const auto list = std::make_unique<NodeInformationList>();
  Report report;
  report.field("board", "Board", board).field("port_wwn", "Port WWN", local);
  Table& table = report.table("nodes", "Nodes",
                              {{"index", "INDEX"},
                               {"port_wwn", "PORT WWN"},
                               {"node_wwn", "NODE WWN"},
                               {"fc_id", "FC ID"},
                               {"state", "STATE"},
                               {"speed_gbit", "SPEED"},
                               {"name", "NAME"},
                               {"driver_words", ""}},
                              "The port is logged in with no other.");
  std::uint32_t index = 0;
  for (const NodeInformation& node : read_nodes(board, local, *list)) {
    table.row(node_row(board, index++, node));
  }
  return report;
}

}  // namespace

void add_nodes(Command root) {
  const Command nodes = root.subcommand(
      "nodes", "List the nodes that a board's port or virtual port is logged in with");
  nodes.example("ovkctl nodes 0");
  nodes.example("ovkctl nodes 0 10:00:02:28:54:56:32:01");
  const auto board = nodes.board();
  const auto wwn = nodes.optional_argument<Wwn>("WWN", "port WWN of a virtual port");
  nodes.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    context.print(nodes_report(index, wwn.present() ? *wwn : read_own_port(index).PortWWN));
  });
}

}  // namespace ovkctl
