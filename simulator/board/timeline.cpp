#include "simulator/board/timeline.h"

#include "simulator/board/link.h"
#include "simulator/board/port_list.h"

#include <algorithm>

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
  auto& link = adapter_.state<Link>();
  for (std::uint32_t i = 0; i < incident.times; ++i) {
    switch (incident.kind) {
      case IncidentKind::link_down:
        link.go_down();
        break;
      case IncidentKind::link_up:
        link.come_up();
        break;
      case IncidentKind::lip:
        link.initialise();
        break;
      case IncidentKind::rscn:
        link.hear_of_change(incident.port.fc_id);
        break;
      case IncidentKind::port_arrives:
        adapter_.state<PortList>().add(incident.port);
        link.hear_of_change(incident.port.fc_id);
        break;
      case IncidentKind::port_leaves:
        adapter_.state<PortList>().remove(incident.port.port_wwn);
        link.hear_of_change(incident.port.fc_id);
        break;
    }
  }
}

}  // namespace ravnsim
