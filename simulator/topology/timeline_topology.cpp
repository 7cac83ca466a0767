#include "simulator/topology/timeline_topology.h"

#include "simulator/topology/json_reader.h"

#include <algorithm>

namespace ravnsim {

namespace {

constexpr Word<IncidentKind> incident_kinds[] = {
    {"link_down", IncidentKind::link_down},
    {"link_up", IncidentKind::link_up},
    {"lip", IncidentKind::lip},
    {"rscn", IncidentKind::rscn},
    {"port_arrives", IncidentKind::port_arrives},
    {"port_leaves", IncidentKind::port_leaves},
};

/** The port of that name among those that the board discovers at some time. */
PortTopology port_named(const JsonValue& place, const std::vector<PortTopology>& discovered,
                        const std::vector<Incident>& before) {
  Wwn wanted;
  place.read(wanted);
  for (const Incident& incident : before) {
    if (incident.kind == IncidentKind::port_arrives && incident.port.port_wwn == wanted) {
      return incident.port;
    }
  }
  const auto found = std::ranges::find(discovered, wanted, &PortTopology::port_wwn);
  if (found == discovered.end()) {
    place.refuse("the board discovers no port with the port_wwn " + to_text(wanted));
  }
  return *found;
}

void read_time(JsonObject& in, Incident& incident) {
  if (in.at("after_seconds").present() == in.at("after_commands").present()) {
    in.place().refuse("exactly one of after_seconds and after_commands is wanted");
  }
  in.optional("after_seconds", incident.after_seconds);
  in.optional("after_commands", incident.after_commands);
}

}  // namespace

std::vector<Incident> read_timeline(const JsonValue& list,
                                    const std::vector<PortTopology>& discovered) {
  std::vector<Incident> timeline;
  for (const JsonValue& entry : list.elements()) {
    Incident incident;
    read_object(entry, [&](JsonObject& in) {
      read_time(in, incident);
      in.required("happens", incident.kind, incident_kinds);
      in.optional("times", incident.times, Range{1, 100000});
      if (incident.kind == IncidentKind::rscn) {
        in.required("fc_id", incident.port.fc_id, Range{0, largest_fc_id});
      } else if (incident.kind == IncidentKind::port_arrives) {
        in.required("port", incident.port);
      } else if (incident.kind == IncidentKind::port_leaves) {
        incident.port = port_named(in.at("port_wwn"), discovered, timeline);
      }
    });
    timeline.push_back(incident);
  }
  return timeline;
}

}  // namespace ravnsim
