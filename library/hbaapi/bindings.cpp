#include "library/core/command.h"
#include "library/core/reply_buffer.h"

#include <ovk/hbaapi.h>

#include <algorithm>
#include <cstddef>

using ovk::Command;
using ovk::Outcome;

namespace {

/** The driver's answer to RAVN_MGMT_LIST_BIND. */
struct BindListReply {
  std::uint32_t count;
  FcpBinding bindings[OVK_MAX_BINDINGS];
};

static_assert(sizeof(BindListReply) == 131076);

/** Bytes of a list of so many bindings, or of as many as a reply holds. */
std::size_t size_of_list(std::uint32_t count) {
  return offsetof(BindListReply, bindings) +
         std::min<std::size_t>(count, OVK_MAX_BINDINGS) * sizeof(FcpBinding);
}

}  // namespace

std::uint32_t GetFcpBindList(std::uint32_t board, FcpBindList* list) {
  const ovk::ReplyBuffer<BindListReply> buffer{list, size_of_list(list->count)};
  if (!buffer) {
    return OVK_NO_MEMORY;
  }
  // The driver is told the bytes of its own reply, but the entries of the caller's list.
  Command command{board, {.request_size = sizeof(BindListReply), .value = list->count}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_LIST_BIND">(buffer.get());
  if (outcome.succeeded()) {
    buffer.deliver(size_of_list(buffer.get()->count));
  } else if (outcome.delivered()) {
    list->count = command.block.index;  // what the driver needs
  }
  return outcome.result();
}

std::uint32_t GetFcpPersistentBinding(std::uint32_t /*board*/, FcpPersistentBinding* binding) {
  binding->NumberOfEntries = 0;
  return OVK_OK;
}

std::uint32_t AddBind(std::uint32_t /*board*/, const FcpBinding* /*binding*/) {
  return OVK_NOT_SUPPORTED;
}

std::uint32_t DelBind(std::uint32_t /*board*/, const FcpBinding* /*binding*/) {
  return OVK_NOT_SUPPORTED;
}
