#include "driver_abi/wwn_request.h"
#include "library/core/command.h"
#include "library/core/in_out_count.h"
#include "library/core/payload.h"

#include <ovk/npiv.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

using ovk::Command;
using ovk::DriverStatus;
using ovk::HeapBuffer;
using ovk::Outcome;

namespace {

void copy_nodes(const NodeInformationList& reply, std::uint32_t capacity,
                NodeInformationList& nodes) {
  const std::uint32_t count = std::min<std::uint32_t>({reply.count, capacity, OVK_MAX_NODES});
  for (std::uint32_t i = 0; i < count; ++i) {
    // Intended: the last word of the caller's record stays as it was.
    std::memcpy(&nodes.nodes[i], &reply.nodes[i], offsetof(NodeInformation, word304));
  }
}

}  // namespace

std::uint32_t OVK_GetAllNodeInfoByWWN(std::uint32_t board, const Wwn* port_wwn,
                                      NodeInformationList* nodes) {
  const std::uint32_t capacity = nodes->count;
  const HeapBuffer<NodeInformationList> reply;
  if (!reply) {
    return OVK_NO_MEMORY;
  }
  reply->count = capacity;
  const ovk::WwnRequest request{.port_wwn = *port_wwn};
  Command command{board, {.request_size = capacity}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_VPORT_GET_NODE_INFO">(&request, reply.get());
  const std::uint32_t fit = ovk::report_count(nodes->count, reply->count);
  if (outcome.succeeded()) {
    copy_nodes(*reply, capacity, *nodes);
  }
  return outcome.result(
      {{DriverStatus::list_does_not_fit, fit == OVK_MORE_DATA ? OVK_MORE_DATA : OVK_FAILED},
       {DriverStatus::not_supported, OVK_NOT_SUPPORTED}});
}
