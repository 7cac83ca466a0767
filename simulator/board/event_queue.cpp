#include "simulator/board/event_queue.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

namespace ravnsim {

namespace {

constexpr const char* saved_name = "events";

}  // namespace

EventQueue::EventQueue(Adapter& adapter) : adapter_{adapter} {
  if (const auto saved = adapter.load(saved_name)) {
    load(*saved);
  } else if (adapter.topology().port.state == PortState::online) {
    push(EventCode::link_up);
  }
}

void EventQueue::push(EventCode code, std::uint32_t detail) {
  if (events_.size() < adapter_.topology().event_queue_capacity) {
    events_.push_back({code, {adapter_.topology().port.fc_id, detail}});
  } else {
    ++missed_;
  }
  save();
}

std::vector<EventRecord> EventQueue::take(std::size_t most) {
  const auto end = events_.begin() + static_cast<std::ptrdiff_t>(std::min(most, events_.size()));
  std::vector<EventRecord> taken{events_.begin(), end};
  if (!taken.empty()) {
    events_.erase(events_.begin(), end);
    save();
  }
  return taken;
}

std::uint32_t EventQueue::take_missed() {
  const std::uint32_t missed = missed_;
  if (missed != 0) {
    missed_ = 0;
    save();
  }
  return missed;
}

/** Takes what was saved: the count of missed events, then the queue. Another length was not saved
    by this class. */
void EventQueue::load(const std::vector<std::uint8_t>& blob) {
  if (blob.size() < sizeof missed_ || (blob.size() - sizeof missed_) % sizeof(EventRecord) != 0) {
    return;
  }
  std::memcpy(&missed_, blob.data(), sizeof missed_);
  events_.resize((blob.size() - sizeof missed_) / sizeof(EventRecord));
  if (!events_.empty()) {
    std::memcpy(events_.data(), blob.data() + sizeof missed_, blob.size() - sizeof missed_);
  }
}

void EventQueue::save() {
  const auto missed = bytes_of(std::span{&std::as_const(missed_), 1});
  const auto events = bytes_of(std::span{std::as_const(events_)});
  std::vector<std::uint8_t> blob{missed.begin(), missed.end()};
  blob.insert(blob.end(), events.begin(), events.end());
  adapter_.save(saved_name, blob);
}

}  // namespace ravnsim
