#include "simulator/topology/topology_parts.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <string_view>

namespace ravnsim {

namespace {

constexpr std::size_t longest_address = 46;
constexpr std::size_t ipv4_place = 12;  // an IPv4 address stands in the last bytes of its field
constexpr std::uint16_t ipv4 = 1;
constexpr std::uint16_t ipv6 = 2;

constexpr std::uint32_t largest_fc_id = 0xFFFFFF;
constexpr std::uint32_t most_virtual_ports = 4096;
constexpr std::uint32_t usual_port_limit = 255;
constexpr std::uint32_t usual_login_limit = 4096;

struct NamedCounter {
  std::string_view name;
  CounterTopology usual;
};

/** In the order of Counter. A board that nobody uses sees some traffic of its fabric. */
constexpr std::array<NamedCounter, counter_count> counters{{
    {"seconds", {.per_second = 1}},
    {"tx_frames", {.per_second = 12}},
    {"tx_words", {.per_second = 420}},
    {"rx_frames", {.per_second = 16}},
    {"rx_words", {.per_second = 560}},
    {"lip", {}},
    {"nos", {}},
    {"error_frames", {}},
    {"dumped_frames", {}},
    {"link_failure", {}},
    {"loss_of_sync", {}},
    {"loss_of_signal", {}},
    {"primitive_seq_error", {}},
    {"invalid_tx_word", {}},
    {"invalid_crc", {}},
}};

CounterTopology read_counter(const JsonValue& value, const CounterTopology& usual) {
  CounterTopology counter = usual;
  if (value.is_text()) {
    counter.counted = value.word<bool>({{"not_counted", false}});
  } else if (value.present()) {
    read_object(value, [&](JsonObject& members) {
      counter.start = members.at("start").number<std::uint64_t>({}, usual.start);
      counter.per_second =
          members.at("per_second").number<std::uint64_t>({0, 0xFFFFFFFF}, usual.per_second);
    });
  }
  return counter;
}

void read_address(RnidTopology& rnid, const JsonValue& value) {
  if (!value.present()) {
    return;
  }
  const std::string text = value.text(longest_address);
  if (inet_pton(AF_INET, text.c_str(), &rnid.ip_address[ipv4_place]) == 1) {
    rnid.ip_version = ipv4;
  } else if (inet_pton(AF_INET6, text.c_str(), rnid.ip_address.data()) == 1) {
    rnid.ip_version = ipv6;
  } else {
    value.refuse("\"" + text + "\" is no IP address");
  }
}

/** The port of that name among those that the board discovers at some time. */
PortTopology port_named(const JsonValue& place, const BoardTopology& board,
                        const std::vector<Incident>& before) {
  const Wwn wanted = place.wwn();
  for (const Incident& incident : before) {
    if (incident.kind == IncidentKind::port_arrives && incident.port.port_wwn == wanted) {
      return incident.port;
    }
  }
  const auto found = std::ranges::find(board.discovered_ports, wanted, &PortTopology::port_wwn);
  if (found == board.discovered_ports.end()) {
    place.refuse("the board discovers no port with the port_wwn " + to_text(wanted));
  }
  return *found;
}

void read_time(Incident& incident, JsonObject& members) {
  const JsonValue seconds = members.at("after_seconds");
  const JsonValue commands = members.at("after_commands");
  if (seconds.present() == commands.present()) {
    members.place().refuse("exactly one of after_seconds and after_commands is wanted");
  }
  if (commands.present()) {
    incident.after_commands = commands.number<std::uint32_t>();
  } else {
    incident.after_seconds = seconds.number<std::uint32_t>();
  }
}

IncidentKind read_incident_kind(const JsonValue& value) {
  using enum IncidentKind;
  return value.word<IncidentKind>({{"link_down", link_down},
                                   {"link_up", link_up},
                                   {"lip", lip},
                                   {"rscn", rscn},
                                   {"port_arrives", port_arrives},
                                   {"port_leaves", port_leaves}});
}

}  // namespace

RnidTopology read_rnid(const JsonValue& value, std::uint32_t unit_type) {
  RnidTopology rnid{.unit_type = unit_type};
  if (!value.present()) {
    return rnid;
  }
  read_object(value, [&](JsonObject& members) {
    rnid.answers = members.at("answers").flag(true);
    rnid.unit_type = members.at("unit_type").number<std::uint32_t>({}, unit_type);
    rnid.physical_port = members.at("physical_port").number<std::uint32_t>({}, 0);
    rnid.attached_nodes = members.at("attached_nodes").number<std::uint32_t>({}, 0);
    rnid.udp_port = members.at("udp_port").number<std::uint16_t>({}, 0);
    rnid.topology_flags = members.at("topology_flags").number<std::uint16_t>({}, 0);
    read_address(rnid, members.at("ip_address"));
  });
  return rnid;
}

std::array<CounterTopology, counter_count> read_statistics(const JsonValue& value) {
  std::array<CounterTopology, counter_count> statistics;
  std::ranges::transform(counters, statistics.begin(), &NamedCounter::usual);
  if (value.present()) {
    read_object(value, [&](JsonObject& members) {
      for (std::size_t i = 0; i < counter_count; ++i) {
        statistics[i] = read_counter(members.at(std::string{counters[i].name}), statistics[i]);
      }
    });
  }
  return statistics;
}

std::vector<Incident> read_timeline(const JsonValue& list, const BoardTopology& board) {
  std::vector<Incident> timeline;
  for (const JsonValue& entry : list.elements_or_none()) {
    Incident incident;
    read_object(entry, [&](JsonObject& members) {
      read_time(incident, members);
      incident.kind = read_incident_kind(members.at("happens"));
      incident.times = members.at("times").number<std::uint32_t>({1, 100000}, 1);
      if (incident.kind == IncidentKind::rscn) {
        incident.port.fc_id = members.at("fc_id").number<std::uint32_t>({0, largest_fc_id});
      } else if (incident.kind == IncidentKind::port_arrives) {
        incident.port = read_port(members.at("port"), storage_device_type);
      } else if (incident.kind == IncidentKind::port_leaves) {
        incident.port = port_named(members.at("port_wwn"), board, timeline);
      }
    });
    timeline.push_back(incident);
  }
  return timeline;
}

std::optional<NpivTopology> read_npiv(const JsonValue& value, const BoardTopology& board) {
  if (!value.present()) {
    return std::nullopt;
  }
  NpivTopology npiv;
  read_object(value, [&](JsonObject& members) {
    npiv.ready = members.at("ready").flag(true);
    npiv.port_limit =
        members.at("port_limit").number<std::uint32_t>({0, most_virtual_ports}, usual_port_limit);
    npiv.login_limit = members.at("login_limit").number<std::uint32_t>({}, usual_login_limit);
    for (const JsonValue& place : members.at("virtual_ports").elements_or_none()) {
      const PortTopology port = read_port(place, host_type);
      if (port.port_wwn == board.port.port_wwn ||
          std::ranges::find(npiv.ports, port.port_wwn, &PortTopology::port_wwn) !=
              npiv.ports.end()) {
        place.refuse("the board has another port with the port_wwn " + to_text(port.port_wwn));
      }
      npiv.ports.push_back(port);
    }
    if (npiv.ports.size() > npiv.port_limit) {
      members.place().refuse("there are more virtual_ports than the port_limit admits");
    }
  });
  return npiv;
}

}  // namespace ravnsim
