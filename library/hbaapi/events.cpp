#include "library/core/command.h"
#include "library/core/reply_buffer.h"

#include <ovk/hbaapi.h>

#include <cstddef>
#include <cstdint>

using ovk::Command;
using ovk::Outcome;

constinit std::uint32_t EventMissedCount = 0;

namespace {

/** The driver's answer to RAVN_MGMT_HBA_GETEVENT: the most events that it gives at a time. */
struct EventRecords {
  EventInfo events[OVK_MAX_EVENTS];
};

static_assert(sizeof(EventRecords) == 640);

/** Bytes of so many events, or of as many as a record holds. */
std::size_t size_of_events(std::uint32_t count) {
  return count < OVK_MAX_EVENTS ? count * sizeof(EventInfo) : sizeof(EventRecords);
}

}  // namespace

std::uint32_t GetEventBuffer(std::uint32_t board, EventInfo* events, std::uint32_t* count) {
  const ovk::ReplyBuffer<EventRecords> buffer{events, size_of_events(*count)};
  if (!buffer) {
    return OVK_NO_MEMORY;
  }
  Command command{board, {.request_size = *count}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_GETEVENT">(buffer.get());
  if (!outcome.succeeded()) {
    return outcome.result();
  }
  *count = command.block.reply_size;
  buffer.deliver(size_of_events(*count));
  EventMissedCount = command.block.value;
  return OVK_OK;
}
