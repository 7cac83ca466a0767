#include "library/core/command.h"
#include "library/core/payload.h"

#include <ovk/fabric.h>

using ovk::Command;
using ovk::DriverStatus;
using ovk::Outcome;

namespace {

using ElsPayload = ovk::Bytes<OVK_ELS_MAX_LENGTH>;

}  // namespace

std::uint32_t OVK_SendELSCmd(std::uint32_t board, const ElsDestination* destination,
                             const void* request, std::uint32_t request_length, void* reply,
                             std::uint32_t* reply_length_out) {
  ElsPayload buffer;
  const ElsPayload* const sent = ovk::whole_input(buffer, request, request_length);
  ElsPayload received{};
  Command command{board, {.request_size = request_length, .reply_size = OVK_ELS_MAX_LENGTH}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_SEND_ELS">(destination, sent, &received);
  if (outcome.succeeded() || outcome.status == DriverStatus::does_not_fit) {
    *reply_length_out = command.block.reply_size;
  }
  if (outcome.succeeded()) {
    ovk::copy_out(received, reply, command.block.reply_size);
  }
  return outcome.result({{DriverStatus::does_not_fit, OVK_MORE_DATA},
                         {DriverStatus::no_response, OVK_ELS_NO_RESPONSE}});
}
