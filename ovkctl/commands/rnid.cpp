#include "driver_abi/records/rnid.h"

#include "driver_abi/fc.h"
#include "ovkctl/frame/command.h"

#include <ovk/hbaapi.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstddef>
#include <fmt/core.h>
#include <iterator>
#include <optional>
#include <span>
#include <string>

namespace ovkctl {
namespace {

// ---- words ----------------------------------------------------------------------------------

enum IpVersion : std::uint16_t { no_ip = 0, ipv4 = 1, ipv6 = 2 };

constexpr auto ip_versions =
    words<std::uint16_t>({{no_ip, "none"}, {ipv4, "IPv4"}, {ipv6, "IPv6"}});

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

constexpr std::size_t ipv4_place = 12;  // an IPv4 address stands in the last bytes of its field

/** An address of the field for IP addresses; empty when there is none. */
std::string ip_address_text(std::uint16_t version, const IpAddress& address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (version == ipv4) {
    inet_ntop(AF_INET, &address[ipv4_place], text.data(), text.size());
  } else if (version == ipv6) {
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
  Report report = board.report();
  report.field("wwn", "WWN", info.wwn);
  add_topology(report, topology);
  return report;
}

/** What the options of "set" change of what the board has. */
struct Changes {
  std::optional<Wwn> wwn;
  std::optional<std::uint32_t> unit_type;
  std::optional<std::uint32_t> physical_port;
  std::optional<std::uint32_t> attached_nodes;
  std::optional<std::string> ip;
  std::optional<std::uint16_t> udp_port;
  std::optional<std::uint16_t> flags;

  [[nodiscard]] bool any() const {
    return wwn || unit_type || physical_port || attached_nodes || ip || udp_port || flags;
  }
};

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
    info.IPVersion = ipv4;
  } else if (inet_pton(AF_INET6, text.c_str(), address.data()) == 1) {
    info.IPVersion = ipv6;
  } else {
    throw UsageError(fmt::format("\"{}\" is no IP address.", text));
  }
  std::ranges::copy(address, info.IPAddress);
}

Report set(const Board& board, const Changes& changes) {
  if (!changes.any()) {
    throw UsageError("Nothing is to be changed. Give at least one of the options.");
  }
  auto info = board.read(GetRNIDMgmtInfo, "Reading the RNID management information");
  info.wwn = changes.wwn.value_or(info.wwn);
  info.unittype = changes.unit_type.value_or(info.unittype);
  info.PortId = changes.physical_port.value_or(info.PortId);
  info.NumberOfAttachedNodes = changes.attached_nodes.value_or(info.NumberOfAttachedNodes);
  info.UDPPort = changes.udp_port.value_or(info.UDPPort);
  info.TopologyDiscoveryFlags = changes.flags.value_or(info.TopologyDiscoveryFlags);
  if (changes.ip) {
    put_ip_address(info, *changes.ip);
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

/** An LS_ACC (FC-LS), with the parts that it carries. */
struct Reply {
  struct Names {
    Wwn port_wwn;
    Wwn node_wwn;
  };

  std::uint8_t format;
  std::optional<Names> names;
  std::optional<Topology> topology;
};

/** Takes numbers and bytes in wire order out of bytes of which there are enough. */
class Cursor {
 public:
  explicit Cursor(std::span<const std::uint8_t> bytes) : bytes_{bytes} {}

  template <typename Number>
  Number number() {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : take(sizeof(Number))) {
      value = value << 8 | byte;
    }
    return static_cast<Number>(value);
  }

  template <typename Bytes>
  Bytes bytes() {
    Bytes copy;
    std::ranges::copy(take(std::size(copy)), std::begin(copy));
    return copy;
  }

  Wwn wwn() {
    Wwn name;
    std::ranges::copy(take(sizeof name), name.bytes);
    return name;
  }

  [[nodiscard]] std::size_t left() const { return bytes_.size(); }
  void skip(std::size_t count) { take(count); }

 private:
  std::span<const std::uint8_t> take(std::size_t count) {
    const auto taken = bytes_.first(count);
    bytes_ = bytes_.subspan(count);
    return taken;
  }

  std::span<const std::uint8_t> bytes_;
};

Topology parse_topology(Cursor& cursor) {
  constexpr std::size_t vendor_unique_size = 16;
  cursor.skip(vendor_unique_size);
  Topology topology{};
  topology.unit_type = cursor.number<std::uint32_t>();
  topology.physical_port = cursor.number<std::uint32_t>();
  topology.attached_nodes = cursor.number<std::uint32_t>();
  cursor.skip(1);  // node management
  topology.ip_version = cursor.number<std::uint8_t>();
  topology.udp_port = cursor.number<std::uint16_t>();
  topology.ip_address = cursor.bytes<IpAddress>();
  cursor.skip(2);
  topology.topology_flags = cursor.number<std::uint16_t>();
  return topology;
}

/** Reads an LS_ACC; nothing when the bytes are none, or end too early. */
std::optional<Reply> parse_reply(std::span<const std::uint8_t> bytes) {
  constexpr auto ls_acc = static_cast<std::uint8_t>(ovk::Els::ls_acc);
  constexpr std::size_t topology_size = 52;
  constexpr std::size_t header_size = 8;
  if (bytes.size() < header_size || bytes[0] != ls_acc) {
    return std::nullopt;
  }
  Cursor cursor{bytes};
  cursor.skip(4);  // the command
  Reply reply{.format = cursor.number<std::uint8_t>(), .names = {}, .topology = {}};
  const std::size_t names_size = cursor.number<std::uint8_t>();
  cursor.skip(1);
  const std::size_t specific_size = cursor.number<std::uint8_t>();
  if (cursor.left() < names_size + specific_size) {
    return std::nullopt;
  }
  if (names_size == sizeof(Reply::Names)) {
    reply.names = Reply::Names{cursor.wwn(), cursor.wwn()};
  } else {
    cursor.skip(names_size);
  }
  if (reply.format == ovk::rnid_general_topology && specific_size == topology_size) {
    reply.topology = parse_topology(cursor);
  }
  return reply;
}

constexpr Word<Wwn> wwn_word{"WWN", "name of the port to ask", "10:00:02:0a:54:00:00:01"};
constexpr Flag node_flag{"--node", "WWN is a node WWN, not a port WWN"};

Report send(const Board& board, const Wwn& wwn, bool by_node) {
  std::array<std::uint8_t, OVK_RNID_REPLY_SIZE> buffer{};
  std::uint32_t length = buffer.size();
  board.check(SendRNID(board, &wwn, by_node ? OVK_NODE_WWN : OVK_PORT_WWN, buffer.data(), &length),
              "Asking " + wwn_text(wwn), send_results);
  const auto bytes = std::span{buffer}.first(std::min<std::size_t>(length, buffer.size()));
  Report report = board.report();
  report.field("wwn", "Asked", wwn);
  if (const auto reply = parse_reply(bytes)) {
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
  report.section("", "").payload("reply", "Reply", {bytes.begin(), bytes.end()});
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
