#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"
#include "ovkctl/subjects/rnid_reply.h"

#include <ovk/hbaapi.h>

#include <algorithm>
#include <array>
#include <span>
#include <string>

namespace ovkctl {
namespace {

constexpr ResultText kSendResults[] = {
    {OVK_FAILED, "the port is not known to the board, or did not answer",
     "See with \"ovkctl nodes\" which ports the board is logged in with."},
};

std::array<std::uint8_t, 16> address_of(const RnidMgmtInfo& info) {
  std::array<std::uint8_t, 16> address;
  std::ranges::copy(info.IPAddress, address.begin());
  return address;
}

RnidMgmtInfo read_info(std::uint32_t board) {
  RnidMgmtInfo info{};
  check_board(GetRNIDMgmtInfo(board, &info), board, "Reading the RNID management information");
  return info;
}

Report info_report(std::uint32_t board, const RnidMgmtInfo& info) {
  Report report;
  report.field("board", "Board", board)
      .field("wwn", "WWN", info.wwn)
      .field("unit_type", "", info.unittype)
      .field("unit_type_text", "Unit type", unit_type_text(info.unittype))
      .field("physical_port", "Physical port", info.PortId)
      .field("attached_nodes", "Attached nodes", info.NumberOfAttachedNodes)
      .field("ip_version", "", info.IPVersion)
      .field("ip_version_text", "IP version", ip_version_text(info.IPVersion))
      .field("ip_address", "IP address", ip_address_text(info.IPVersion, address_of(info)))
      .field("udp_port", "UDP port", info.UDPPort)
      .field("topology_flags", "Topology flags", Hex{info.TopologyDiscoveryFlags, 4});
  return report;
}

/** The options of "set": each changes one member of what the board has. */
struct Changes {
  explicit Changes(const Command& set)
      : wwn(set.option<Wwn>("--wwn", "WWN", "name")),
        unit_type(set.option<std::uint32_t>("--unit-type", "NUMBER",
                                            "FC-LS associated type, such as 10 for a host")),
        physical_port(set.option<std::uint32_t>("--physical-port", "NUMBER", "physical port")),
        attached_nodes(set.option<std::uint32_t>("--attached-nodes", "NUMBER", "attached nodes")),
        ip(set.option<std::string>("--ip", "ADDRESS", "IPv4 or IPv6 address")),
        udp_port(set.option<std::uint16_t>("--udp-port", "NUMBER", "UDP port")),
        flags(set.option<std::uint16_t>("--flags", "NUMBER", "topology discovery flags")) {}

  bool any() const {
    return wwn.present() || unit_type.present() || physical_port.present() ||
           attached_nodes.present() || ip.present() || udp_port.present() || flags.present();
  }

  void apply(RnidMgmtInfo& info) const {
    info.wwn = wwn.present() ? *wwn : info.wwn;
    info.unittype = unit_type.present() ? *unit_type : info.unittype;
    info.PortId = physical_port.present() ? *physical_port : info.PortId;
    info.NumberOfAttachedNodes =
        attached_nodes.present() ? *attached_nodes : info.NumberOfAttachedNodes;
    info.UDPPort = udp_port.present() ? *udp_port : info.UDPPort;
    info.TopologyDiscoveryFlags = flags.present() ? *flags : info.TopologyDiscoveryFlags;
    if (ip.present()) {
      const auto [version, address] = parse_ip_address(*ip);
      info.IPVersion = version;
      std::ranges::copy(address, info.IPAddress);
    }
  }

  Given<Wwn> wwn;
  Given<std::uint32_t> unit_type;
  Given<std::uint32_t> physical_port;
  Given<std::uint32_t> attached_nodes;
  Given<std::string> ip;
  Given<std::uint16_t> udp_port;
  Given<std::uint16_t> flags;
};

void add_topology(Section& section, const RnidTopology& topology) {
  section.field("unit_type", "", topology.unit_type)
      .field("unit_type_text", "Unit type", unit_type_text(topology.unit_type))
      .field("physical_port", "Physical port", topology.physical_port)
      .field("attached_nodes", "Attached nodes", topology.attached_nodes)
      .field("ip_version", "", topology.ip_version)
      .field("ip_version_text", "IP version", ip_version_text(topology.ip_version))
      .field("ip_address", "IP address", ip_address_text(topology.ip_version, topology.ip_address))
      .field("udp_port", "UDP port", topology.udp_port)
      .field("topology_flags", "Topology flags", Hex{topology.flags, 4});
}

Report reply_report(std::uint32_t board, const Wwn& wwn, std::span<const std::uint8_t> bytes) {
  Report report;
  report.field("board", "Board", board).field("wwn", "Asked", wwn);
  if (const auto reply = parse_rnid_reply(bytes)) {
    report.field("format", "Format", Hex{reply->format, 2});
    if (reply->names) {
      report.field("port_wwn", "Port WWN", reply->names->port_wwn)
          .field("node_wwn", "Node WWN", reply->names->node_wwn);
    }
    if (reply->topology) {
      add_topology(report.section("topology", "General topology"), *reply->topology);
    }
  } else {
    report.note("The reply is not an LS_ACC that is understood here.");
  }
  report.section("", "").dump("reply", "Reply", {bytes.begin(), bytes.end()});
  return report;
}

Report own_report(std::uint32_t index) { return info_report(index, read_info(index)); }

void add_rnid_show(Command rnid) {
  add_board_report(rnid, "show", "Show what a board answers when it is asked who it is",
                   "ovkctl rnid show 0", own_report);
}

void add_rnid_set(Command rnid) {
  const Command set =
      rnid.subcommand("set", "Change what a board answers when it is asked who it is");
  set.example("ovkctl rnid set 0 --ip 192.0.2.7 --udp-port 161");
  const auto board = set.board();
  const Changes changes(set);
  const auto yes = set.yes();
  set.action([=](const Context& context) {
    if (!changes.any()) {
      throw UsageError("Nothing is to be changed. Give at least one of the options.");
    }
    const Session session;
    const std::uint32_t index = session.board(*board);
    RnidMgmtInfo info = read_info(index);
    changes.apply(info);
    confirm(*yes,
            "This changes the RNID management information of board " + std::to_string(index) + ".");
    check_board(SetRNIDMgmtInfo(index, &info), index, "Changing the RNID management information");
    context.print(info_report(index, read_info(index)));
  });
}

void add_rnid_send(Command rnid) {
  const Command send = rnid.subcommand("send", "Ask a port of the fabric who it is");
  send.example("ovkctl rnid send 0 10:00:02:0a:54:00:00:01");
  const auto board = send.board();
  const auto wwn = send.argument<Wwn>("WWN", "name of the port to ask");
  const auto by_node = send.flag("--node", "WWN is a node WWN, not a port WWN");
  const auto output = send.output_file();
  send.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    std::array<std::uint8_t, OVK_RNID_REPLY_SIZE> reply{};
    std::uint32_t length = reply.size();
    check_board(
        SendRNID(index, &*wwn, *by_node ? OVK_NODE_WWN : OVK_PORT_WWN, reply.data(), &length),
        index, "Asking " + wwn_text(*wwn), kSendResults);
    const auto bytes = std::span(reply).first(length);
    if (output.present()) {
      write_file(*output, bytes);
    }
    context.print(reply_report(index, *wwn, bytes));
  });
}

}  // namespace

void add_rnid(Command root) {
  const Command rnid =
      root.subcommand("rnid", "Ask ports who they are, and set what a board answers (RNID)");
  add_rnid_show(rnid);
  add_rnid_set(rnid);
  add_rnid_send(rnid);
}

}  // namespace ovkctl
