#include "driver_abi/records/link.h"

#include "driver_abi/records/nodes.h"
#include "driver_abi/records/parameters.h"
#include "ovkctl/frame/command.h"

#include <ovk/features.h>
#include <ovk/info.h>

#include <algorithm>
#include <bit>

namespace ovkctl {
namespace {

// ---- link -----------------------------------------------------------------------------------

constexpr std::uint32_t mbit_per_gbit = 1000;

constexpr auto topology_words =
    words<ovk::LinkTopology>({{ovk::LinkTopology::none, "none"},
                              {ovk::LinkTopology::point_to_point, "point to point"},
                              {ovk::LinkTopology::loop, "loop"}});

/** A counter; all ones where the driver does not count. */
Cell count(std::uint32_t counter) {
  constexpr std::uint32_t not_counted = 0xFFFFFFFF;
  return counter != not_counted ? Cell{counter} : Cell{};
}

/** The Gbit/s of all ports that carry the link; nothing where the board does not give it. */
std::optional<std::uint16_t> logical_speed(const Board& board) {
  std::uint16_t speed = 0;
  const std::uint32_t result = OVK_GetQoSLinkSpeed(board, &speed);
  if (result != OVK_NOT_SUPPORTED) {
    board.check(result, "Reading the logical link speed");
  }
  const bool known = result == OVK_OK && speed != OVK_NO_LOGICAL_SPEED;
  return known ? std::optional{speed} : std::nullopt;
}

constexpr Column<ovk::NodeRecord> node_columns[] = {
    {"handle", "HANDLE", field<&ovk::NodeRecord::handle>},
    {"state", "STATE",
     [](const ovk::NodeRecord& node) {
       return node.state == ovk::NodeState::mapped ? "mapped" : "logged in";
     }},
    {"fc_id", "FC ID", as<FcAddress, &ovk::NodeRecord::fc_id>},
    {"port_wwn", "PORT WWN", field<&ovk::NodeRecord::port_wwn>},
    {"node_wwn", "NODE WWN", field<&ovk::NodeRecord::node_wwn>},
    {"target_id", "TARGET",
     [](const ovk::NodeRecord& node) {
       return node.target_id != ovk::no_target ? Cell{node.target_id} : Cell{};
     }},
};

std::vector<ovk::NodeRecord> read_nodes(const Board& board) {
  std::vector<NodeInfoEntry> entries(OVK_MAX_NODE_INFO_ENTRIES);
  entries.resize(GetNodeInfo(static_cast<int>(board), entries.data()));
  std::vector<ovk::NodeRecord> nodes;
  for (const NodeInfoEntry& entry : entries) {
    nodes.push_back(std::bit_cast<ovk::NodeRecord>(entry));
  }
  return nodes;
}

Report show_link(const Board& board) {
  const auto link = std::bit_cast<ovk::LinkRecord>(board.read(OVK_GetLinkInfo, "Reading the link"));
  const bool up = link.state == ovk::LinkState::up;
  const bool loop = link.topology == ovk::LinkTopology::loop;
  const Cell nothing;
  return board.report()
      .field("state", "Link", up ? "up" : "down")
      .field("topology", "Topology", word_or(topology_words, link.topology, "unknown"))
      .field("speed_gbit", "Speed (Gbit/s)", up ? Cell{link.speed_mbit / mbit_per_gbit} : nothing)
      .field("logical_speed_gbit", "Logical speed (Gbit/s)", logical_speed(board))
      .field("fc_id", "FC ID", up ? Cell{FcAddress{link.fc_id}} : nothing)
      .field("on_fabric", "On a fabric", link.on_fabric != 0)
      .field("al_pa", loop ? "AL_PA" : "", loop ? Cell{Hex{link.al_pa, 2}} : nothing)
      .field("loop_positions", loop ? "Loop positions" : "",
             hex_list(first_of(link.loop_map.al_pas, link.loop_map.count), 2))
      .field("link_failures", "Link failures", count(link.link_failures))
      .field("losses_of_sync", "Losses of sync", count(link.losses_of_sync))
      .field("losses_of_signal", "Losses of signal", count(link.losses_of_signal))
      .field("lips", "LIPs", count(link.lips))
      .table("nodes", "Nodes that the port is logged in with", node_columns, read_nodes(board),
             "The port is logged in with no node.");
}

// ---- io -------------------------------------------------------------------------------------

LargeSize kib(std::uint32_t count) { return {std::uint64_t{count} * 1024}; }

Report show_io(const Board& board) {
  const auto io = std::bit_cast<ovk::IoRecord>(board.read(GetIOinfo, "Reading the I/O counters"));
  Report report = board.report();
  report.field("seconds", "Seconds counted", io.seconds).field("nodes", "Nodes", io.nodes);
  report.section("commands", "SCSI commands")
      .field("reads", "Reads", io.reads)
      .field("writes", "Writes", io.writes)
      .field("without_data", "Without data", io.without_data)
      .field("failed", "Failed", io.failed)
      .field("bytes_read", "Read", kib(io.read_kib))
      .field("bytes_written", "Written", kib(io.written_kib));
  report.section("frames", "Frames")
      .field("transmitted", "Transmitted", io.tx_frames)
      .field("received", "Received", io.rx_frames)
      .field("bytes_transmitted", "Data transmitted", kib(io.tx_kib))
      .field("bytes_received", "Data received", kib(io.rx_kib))
      .field("errors", "Errors", io.error_frames)
      .field("dumped", "Dumped", io.dumped_frames);
  return report;
}

// ---- params ---------------------------------------------------------------------------------

constexpr auto effect_words =
    words<ovk::TakesEffect>({{ovk::TakesEffect::at_once, "at once"},
                             {ovk::TakesEffect::at_link_up, "at link up"},
                             {ovk::TakesEffect::at_driver_load, "at driver load"},
                             {ovk::TakesEffect::never_set, "read-only"}});

std::string effect_text(const ovk::ParameterRecord& parameter) {
  return word_or(effect_words, parameter.takes_effect, "unknown");
}

std::string name_text(const ovk::ParameterRecord& parameter) { return fixed_text(parameter.name); }

constexpr Column<ovk::ParameterRecord> parameter_columns[] = {
    {"index", "INDEX", row_number},
    {"name", "NAME", field<&ovk::ParameterRecord::name>},
    {"value", "VALUE", field<&ovk::ParameterRecord::value>},
    {"default", "DEFAULT", field<&ovk::ParameterRecord::initial>},
    {"least", "LEAST", field<&ovk::ParameterRecord::least>},
    {"most", "MOST", field<&ovk::ParameterRecord::most>},
    {"takes_effect", "TAKES EFFECT", field<effect_text>},
    {"description", "DESCRIPTION", field<&ovk::ParameterRecord::description>},
};

std::vector<ovk::ParameterRecord> read_parameters(const Board& board) {
  std::vector<CfgParam> table(OVK_MAX_CFG_PARAMS);
  const std::uint32_t reported = GetCfgParam(board, table.data());
  if (reported == 0) {
    throw OperationFailed(fmt::format("Board {} gave no parameters.", std::uint32_t{board}),
                          see_driver_log);
  }
  table.resize(std::min<std::size_t>(reported, table.size()));
  std::vector<ovk::ParameterRecord> parameters;
  for (const CfgParam& entry : table) {
    parameters.push_back(std::bit_cast<ovk::ParameterRecord>(entry));
  }
  return parameters;
}

Report list_parameters(const Board& board) {
  return board.report().table("parameters", "", parameter_columns, read_parameters(board),
                              "The driver has no parameters.");
}

/** What the parameter admits, for the one who just found out that it does not admit everything. */
std::string limits_text(const ovk::ParameterRecord& parameter) {
  return parameter.takes_effect == ovk::TakesEffect::never_set
             ? "This parameter cannot be set."
             : fmt::format("It takes {} to {}.", parameter.least, parameter.most);
}

constexpr Word<std::string> name_word{"NAME", "name of the parameter", "lun_queue_depth"};
constexpr Word<std::uint32_t> value_word{"VALUE", "its new value", "32"};

Report set_parameter(const Board& board, const std::string& name, std::uint32_t value) {
  const std::vector<ovk::ParameterRecord> before = read_parameters(board);
  const auto found = std::ranges::find(before, name, name_text);
  if (found == before.end()) {
    throw UsageError("There is no parameter \"{}\"; \"ovkctl params list\" shows which there are.",
                     name);
  }
  const auto index = static_cast<std::uint32_t>(found - before.begin());
  const std::string limits = limits_text(*found);
  const ResultText results[] = {
      {OVK_FAILED, "the command was not delivered or the driver refused the value", limits.c_str()},
  };
  board.check(SetCfgParam(board, index, value), "Setting " + name, results);
  const ovk::ParameterRecord now = read_parameters(board).at(index);
  return board.report()
      .field("name", "Parameter", name)
      .field("before", "Before", found->value)
      .field("value", "Now", now.value)
      .field("takes_effect", "Takes effect", effect_text(now));
}

}  // namespace

void add_link(Command root) {
  root.command("link", "Show the link of a board's port and the nodes it is logged in with")
      .shows(show_link);
  root.command("io", "Show the I/O counters of a board's port").shows(show_io);

  const Command params = root.noun("params", "Show and set the driver's parameters");
  params.command("list", "List the driver's parameters for a board").shows(list_parameters);
  params.command("set", "Set one of the driver's parameters for a board")
      .takes(name_word, value_word)
      .asks("This changes how the driver treats {board}.")
      .shows(set_parameter);
}

}  // namespace ovkctl
