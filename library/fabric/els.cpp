#include "library/core/command.h"
#include "library/core/heap_buffer.h"

#include <ovk/fabric.h>

using ovk::Command;
using ovk::DriverStatus;
using ovk::Outcome;

namespace {

using ElsBuffer = ovk::HeapBuffer<ovk::Bytes<OVK_ELS_MAX_LENGTH>>;

}  // namespace

std::uint32_t OVK_SendELSCmd(std::uint32_t board, const ElsDestination* destination,
                             const void* request, std::uint32_t request_length, void* reply,
                             std::uint32_t* reply_length_out) {
  ElsBuffer sent;
  const ElsBuffer received;
  if (!sent || !received) {
    return OVK_FAILED;
  }
  sent.copy_in(request, request_length);
  Command command{board, {.request_size = request_length, .reply_size = OVK_ELS_MAX_LENGTH}};
  const Outcome outcome =
      command.invoke<"RAVN_MGMT_SEND_ELS">(destination, sent.get(), received.get());
  if (outcome.succeeded() || outcome.status == DriverStatus::does_not_fit) {
    *reply_length_out = command.block.reply_size;
  }
  if (outcome.succeeded()) {
    received.copy_out(reply, command.block.reply_size);
  }
  return outcome.result({{DriverStatus::does_not_fit, OVK_MORE_DATA},
                         {DriverStatus::no_response, OVK_ELS_NO_RESPONSE}});
}
