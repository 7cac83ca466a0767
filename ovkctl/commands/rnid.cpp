#include "driver_abi/records/rnid.h"

#include "driver_abi/fc.h"
#include "driver_abi/record.h"
#include "ovkctl/frame/command.h"

#include <ovk/hbaapi.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstddef>

namespace ovkctl {
namespace {

// ---- words ----------------------------------------------------------------------------------

using ovk::ipv4_place;

constexpr auto ip_versions =
    words<std::uint16_t>({{ovk::no_ip, "none"}, {ovk::ipv4, "IPv4"}, {ovk::ipv6, "IPv6"}});

/** Associated types of FC-LS. */
constexpr auto unit_types = words<std::uint32_t>({{0x01, "unknown"},
                                                  {0x02, "other"},
                                                  {0x03, "hub"},
                                                  {0x04, "switch"},
                                                  {0x05, "gateway"},
                                                  {0x09, "storage device"},
                                                  {0x0a, "host"},
                                                  {0x0b, "storage subsystem"},
                                                  {0x0e, "storage access device"},
                                                  {0x11, "NAS device"},
                                                  {0x12, "bridge"},
                                                  {0x13, "virtualization device"},
                                                  {0xff, "multi-function device"}});

using IpAddress = std::array<std::uint8_t, 16>;

/** An address of the field for IP addresses; empty when there is none. */
std::string ip_address_text(std::uint16_t version, const IpAddress& address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (version == ovk::ipv4) {
    inet_ntop(AF_INET, &address[ipv4_place], text.data(), text.size());
  } else if (version == ovk::ipv6) {
    inet_ntop(AF_INET6, address.data(), text.data(), text.size());
  }
  return text.data();
}

// ---- the general topology discovery data (FC-LS) --------------------------------------------

using Topology = ovk::RnidData;

void add_topology(Section& section, const Topology& topology) {
  section.field("unit_type", "", topology.unit_type)
      .field("unit_type_text", "Unit type", word_or_hex(unit_types, topology.unit_type, 2))
      .field("physical_port", "Physical port", topology.physical_port)
      .field("attached_nodes", "Attached nodes", topology.attached_nodes)
      .field("ip_version", "", topology.ip_version)
      .field("ip_version_text", "IP version", word_or_hex(ip_versions, topology.ip_version, 4))
      .field("ip_address", "IP address", ip_address_text(topology.ip_version, topology.ip_address))
      .field("udp_port", "UDP port", topology.udp_port)
      .field("topology_flags", "Topology flags", Hex{topology.topology_flags, 4});
}

// ---- show and set ---------------------------------------------------------------------------

Report show(const Board& board) {
  const auto info = board.read(GetRNIDMgmtInfo, "Reading the RNID management information");
  Topology topology{.unit_type = info.unittype,
                    .physical_port = info.PortId,
                    .attached_nodes = info.NumberOfAttachedNodes,
                    .ip_version = info.IPVersion,
                    .udp_port = info.UDPPort,
                    .ip_address = {},
                    .topology_flags = info.TopologyDiscoveryFlags};
  std::ranges::copy(info.IPAddress, topology.ip_address.begin());
  Report report = board.report().field("wwn", "WWN", info.wwn);
  add_topology(report, topology);
  return report;
}

constexpr Option<Wwn> wwn_option{"--wwn", "WWN", "name"};
constexpr Option<std::uint32_t> unit_type_option{"--unit-type", "NUMBER",
                                                 "FC-LS associated type, such as 10 for a host"};
constexpr Option<std::uint32_t> physical_port_option{"--physical-port", "NUMBER", "physical port"};
constexpr Option<std::uint32_t> attached_nodes_option{"--attached-nodes", "NUMBER",
                                                      "attached nodes"};
constexpr Option<std::string> ip_option{"--ip", "ADDRESS", "IPv4 or IPv6 address", "192.0.2.7"};
constexpr Option<std::uint16_t> udp_port_option{"--udp-port", "NUMBER", "UDP port", "161"};
constexpr Option<std::uint16_t> flags_option{"--flags", "NUMBER", "topology discovery flags"};

/** Writes an address and its version; throws UsageError for a text that is none. */
void put_ip_address(RnidMgmtInfo& info, const std::string& text) {
  IpAddress address{};
  if (inet_pton(AF_INET, text.c_str(), &address[ipv4_place]) == 1) {
    info.IPVersion = ovk::ipv4;
  } else if (inet_pton(AF_INET6, text.c_str(), address.data()) == 1) {
    info.IPVersion = ovk::ipv6;
  } else {
    throw UsageError("\"{}\" is no IP address.", text);
  }
  std::ranges::copy(address, info.IPAddress);
}

Report set(const Board& board, const std::optional<Wwn>& wwn,
           std::optional<std::uint32_t> unit_type, std::optional<std::uint32_t> physical_port,
           std::optional<std::uint32_t> attached_nodes, const std::optional<std::string>& ip,
           std::optional<std::uint16_t> udp_port, std::optional<std::uint16_t> flags) {
  if (!wwn && !unit_type && !physical_port && !attached_nodes && !ip && !udp_port && !flags) {
    throw UsageError("Nothing is to be changed. Give at least one of the options.");
  }
  auto info = board.read(GetRNIDMgmtInfo, "Reading the RNID management information");
  info.wwn = wwn.value_or(info.wwn);
  info.unittype = unit_type.value_or(info.unittype);
  info.PortId = physical_port.value_or(info.PortId);
  info.NumberOfAttachedNodes = attached_nodes.value_or(info.NumberOfAttachedNodes);
  info.UDPPort = udp_port.value_or(info.UDPPort);
  info.TopologyDiscoveryFlags = flags.value_or(info.TopologyDiscoveryFlags);
  if (ip) {
    put_ip_address(info, *ip);
  }
  board.ask("This changes the RNID management information of {board}.");
  board.check(SetRNIDMgmtInfo(board, &info), "Changing the RNID management information");
  return show(board);
}

// ---- send -----------------------------------------------------------------------------------

constexpr ResultText send_results[] = {
    {OVK_FAILED, "the port is not known to the board, or did not answer",
     "See with \"ovkctl nodes\" which ports the board is logged in with."},
};

Topology topology_of(const ovk::RnidTopologyOnWire& wire) {
  return {.unit_type = ntohl(wire.unit_type),
          .physical_port = ntohl(wire.physical_port),
          .attached_nodes = ntohl(wire.attached_nodes),
          .ip_version = wire.ip_version,
          .udp_port = ntohs(wire.udp_port),
          .ip_address = wire.ip_address,
          .reserved32 = 0,
          .topology_flags = ntohs(wire.topology_flags)};
}

/** Adds what the parts of a reply say whose sizes are those of the standard. */
void add_reply(Report& report, std::span<const std::uint8_t> reply) {
  const auto header = ovk::read_record<ovk::RnidAcceptHeader>(reply);
  if (!header || header->command != ovk::Els::ls_acc ||
      reply.size() < sizeof *header + header->names_size + header->data_size) {
    report.note("The reply is not an LS_ACC that is understood here.");
    return;
  }
  report.field("format", "Format", Hex{header->format, 2});
  const auto names = ovk::read_record<ovk::RnidNames>(reply, sizeof *header);
  if (names && header->names_size == sizeof *names) {
    report.field("port_wwn", "Port WWN", names->port).field("node_wwn", "Node WWN", names->node);
  }
  const auto data =
      ovk::read_record<ovk::RnidTopologyOnWire>(reply, sizeof *header + header->names_size);
  const bool is_general = header->format == ovk::rnid_general_topology;
  if (data && is_general && header->data_size == sizeof *data) {
    add_topology(report.section("topology", "General topology"), topology_of(*data));
  }
}

constexpr Word<Wwn> wwn_word{"WWN", "name of the port to ask", "10:00:02:0a:54:00:00:01"};
constexpr Flag node_flag{"--node", "WWN is a node WWN, not a port WWN"};

Report send(const Board& board, const Wwn& wwn, bool by_node) {
  Bytes reply(OVK_RNID_REPLY_SIZE);
  std::uint32_t length = OVK_RNID_REPLY_SIZE;
  board.check(SendRNID(board, &wwn, by_node ? OVK_NODE_WWN : OVK_PORT_WWN, reply.data(), &length),
              "Asking " + wwn_text(wwn), send_results);
  Report report = board.report().field("wwn", "Asked", wwn);
  reply.resize(std::min<std::size_t>(length, reply.size()));
  add_reply(report, reply);
  report.section("", "").payload("reply", "Reply", reply);
  return report;
}

}  // namespace

void add_rnid(Command root) {
  const Command rnid =
      root.noun("rnid", "Ask ports who they are, and set what a board answers (RNID)");
  rnid.command("show", "Show what a board answers when it is asked who it is").shows(show);
  rnid.command("set", "Change what a board answers when it is asked who it is")
      .takes(wwn_option, unit_type_option, physical_port_option, attached_nodes_option, ip_option,
             udp_port_option, flags_option)
      .asks_itself()
      .shows(set);
  rnid.command("send", "Ask a port of the fabric who it is")
      .takes(wwn_word, node_flag)
      .saves()
      .shows(send);
}

}  // namespace ovkctl
