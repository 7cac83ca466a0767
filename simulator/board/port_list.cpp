#include "simulator/board/port_list.h"

#include <algorithm>

namespace ravnsim {

const PortTopology* PortList::find(const Wwn& port_wwn) const {
  const auto found = std::ranges::find(ports(), port_wwn, &PortTopology::port_wwn);
  return found != ports().end() ? &*found : nullptr;
}

void PortList::add(const PortTopology& port) {
  std::erase_if(ports_, [&](const PortTopology& other) { return other.port_wwn == port.port_wwn; });
  ports_.push_back(port);
  change_tag();
}

void PortList::remove(const Wwn& port_wwn) {
  const auto gone =
      std::erase_if(ports_, [&](const PortTopology& port) { return port.port_wwn == port_wwn; });
  if (gone > 0) {
    change_tag();
  }
}

void PortList::set_reachable(bool reachable) {
  reachable_ = reachable;
  change_tag();
}

void PortList::change_tag() {
  ++tag_;
  tag_ += tag_ == 0 ? 1 : 0;
}

}  // namespace ravnsim
