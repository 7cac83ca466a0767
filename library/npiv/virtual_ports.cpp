#include "driver_abi/wwn_request.h"
#include "library/core/command.h"
#include "library/core/payload.h"

#include <ovk/npiv.h>

#include <algorithm>
#include <cstdint>

using ovk::Command;
using ovk::DriverStatus;
using ovk::HeapBuffer;
using ovk::Outcome;

std::uint32_t OVK_NPIVReadyTest(std::uint32_t board, std::uint32_t* ready) {
  Command command{board};
  const Outcome outcome = command.invoke<"RAVN_MGMT_NPIV_READY">();
  if (outcome.succeeded()) {
    *ready = command.block.value;
  }
  return outcome.result();
}

std::uint32_t OVK_VPGetResource(std::uint32_t board, VportResources* res) {
  Command command{board};
  return command.invoke<"RAVN_MGMT_VPORT_GET_RESRC">(res).result();
}

std::uint32_t OVK_VPGetList(std::uint32_t board, VportList* list) {
  const HeapBuffer<VportList> reply;
  if (!reply) {
    return OVK_NO_MEMORY;
  }
  Command command{board, {.request_size = list->count}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_VPORT_GET_LIST">(reply.get());
  const std::uint32_t result = outcome.result({{DriverStatus::list_does_not_fit, OVK_MORE_DATA}});
  if (result == OVK_OK || result == OVK_MORE_DATA) {
    list->count = reply->count;
  }
  if (result == OVK_OK) {
    std::copy_n(reply->vports, std::min<std::uint32_t>(reply->count, OVK_MAX_VPORTS), list->vports);
  }
  return result;
}

std::uint32_t OVK_VPGetAttrib(std::uint32_t board, const Wwn* vport_wwn, VportAttributes* attrs) {
  const ovk::WwnRequest request{.port_wwn = *vport_wwn};
  Command command{board};
  const Outcome outcome = command.invoke<"RAVN_MGMT_VPORT_GET_ATTRIB">(&request, attrs);
  // The driver tells a failure of another kind from an unknown name by word 3.
  return outcome.result({}, command.block.reply_size == 0 ? OVK_ILLEGAL_WWN : OVK_FAILED);
}

std::uint32_t OVK_VPCreate(std::uint32_t /*board*/, const Wwn* /*vport_wwn*/,
                           const Wwn* /*vnode_wwn*/) {
  return OVK_NOT_SUPPORTED;
}

std::uint32_t OVK_VPDelete(std::uint32_t /*board*/, const Wwn* /*vport_wwn*/,
                           const Wwn* /*vnode_wwn*/) {
  return OVK_NOT_SUPPORTED;
}

std::uint32_t OVK_VPDeleteV2(std::uint32_t /*board*/, const Wwn* /*vport_wwn*/,
                             const Wwn* /*vnode_wwn*/) {
  return OVK_NOT_SUPPORTED;
}
