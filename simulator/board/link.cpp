#include "simulator/board/link.h"

#include "simulator/board/event_queue.h"
#include "simulator/board/port_counters.h"
#include "simulator/board/port_list.h"

namespace ravnsim {

void Link::go_down() {
  if (!up_) {
    return;
  }
  up_ = false;
  auto& counters = adapter_.state<PortCounters>();
  counters.add(Counter::link_failure);
  counters.add(Counter::loss_of_sync);
  counters.add(Counter::loss_of_signal);
  counters.stop_traffic();
  adapter_.state<PortList>().set_reachable(false);
  adapter_.state<EventQueue>().push(EventCode::link_down);
}

void Link::come_up() {
  if (up_) {
    return;
  }
  up_ = true;
  adapter_.state<PortCounters>().resume_traffic();
  adapter_.state<PortList>().set_reachable(true);
  adapter_.state<EventQueue>().push(EventCode::link_up);
}

void Link::bounce() {
  if (up_) {
    go_down();
    come_up();
  }
}

void Link::initialise() {
  if (!up_) {
    return;
  }
  adapter_.state<PortCounters>().add(Counter::lip);
  adapter_.state<EventQueue>().push(EventCode::lip);
}

void Link::hear_of_change(std::uint32_t fc_id) {
  if (up_) {
    adapter_.state<EventQueue>().push(EventCode::rscn, fc_id);
  }
}

}  // namespace ravnsim
