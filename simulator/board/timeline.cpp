#include "simulator/board/timeline.h"

#include "simulator/board/link.h"
#include "simulator/board/port_list.h"

namespace ravnsim {

void Timeline::advance(Clock::time_point now) {
  ++commands_;
  if (pending_.empty()) {
    return;
  }
  const auto later =
      std::stable_partition(pending_.begin(), pending_.end(),
                            [&](const Incident& incident) { return is_due(incident, now); });
  const std::vector<Incident> due{pending_.begin(), later};
  pending_.erase(pending_.begin(), later);
  for (const Incident& incident : due) {
    happen(incident);
  }
}

bool Timeline::is_due(const Incident& incident, Clock::time_point now) const {
  if (incident.after_commands) {
    return commands_ > *incident.after_commands;
  }
  return now - started_ >= std::chrono::seconds{incident.after_seconds};
}

void Timeline::happen(const Incident& incident) {
  auto& ports = adapter_.state<PortList>();
  for (std::uint32_t i = 0; i < incident.times; ++i) {
    if (incident.kind == IncidentKind::port_arrives) {
      ports.add(incident.port);
    } else if (incident.kind == IncidentKind::port_leaves) {
      ports.remove(incident.port.port_wwn);
    }
    tell_link(incident);
  }
}

/** What the link has of an incident; of a change of ports, the fabric's report. */
void Timeline::tell_link(const Incident& incident) {
  auto& link = adapter_.state<Link>();
  switch (incident.kind) {
    case IncidentKind::link_down:
      return link.go_down();
    case IncidentKind::link_up:
      return link.come_up();
    case IncidentKind::lip:
      return link.initialise();
    default:
      return link.hear_of_change(incident.port.fc_id);
  }
}

}  // namespace ravnsim
