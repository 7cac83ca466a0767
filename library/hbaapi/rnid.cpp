#include "driver_abi/wwn_request.h"
#include "library/core/command.h"
#include "library/core/in_out_count.h"
#include "library/core/reply_buffer.h"

#include <ovk/hbaapi.h>

#include <cstdint>

using ovk::Command;
using ovk::Outcome;

namespace {

using RnidReply = ovk::Bytes<OVK_RNID_REPLY_SIZE>;

/** The request for a name of this kind; a request without a name for an unknown kind. */
ovk::WwnRequest destination(const Wwn* wwn, std::uint32_t wwn_type) {
  switch (wwn_type) {
    case OVK_NODE_WWN:
      return {.node_wwn = *wwn};
    case OVK_PORT_WWN:
      return {.port_wwn = *wwn};
    default:
      return {};
  }
}

}  // namespace

std::uint32_t SendRNID(std::uint32_t board, const Wwn* wwn, std::uint32_t wwn_type, void* reply,
                       std::uint32_t* reply_len) {
  const ovk::WwnRequest request = destination(wwn, wwn_type);
  const ovk::ReplyBuffer<RnidReply> buffer{reply, *reply_len};
  if (!buffer) {
    return OVK_NO_MEMORY;
  }
  Command command{board, {.request_size = sizeof(RnidReply), .code = wwn_type}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_RNID">(&request, buffer.get());
  if (!outcome.succeeded()) {
    return outcome.result();
  }
  if (const std::uint32_t refusal = ovk::report_count(*reply_len, command.block.reply_size);
      refusal != OVK_OK) {
    return refusal;
  }
  buffer.deliver(*reply_len);
  return OVK_OK;
}

std::uint32_t SetRNIDMgmtInfo(std::uint32_t board, const RnidMgmtInfo* info) {
  RnidMgmtInfo record = *info;
  record.reserved = 0;
  Command command{board};
  return command.invoke<"RAVN_MGMT_HBA_SETMGMTINFO">(&record).result();
}

std::uint32_t GetRNIDMgmtInfo(std::uint32_t board, RnidMgmtInfo* info) {
  RnidMgmtInfo record{};
  Command command{board};
  const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_GETMGMTINFO">(&record);
  if (outcome.succeeded()) {
    record.reserved = info->reserved;  // intended: the caller's field stays as it was
    *info = record;
  }
  return outcome.result();
}
