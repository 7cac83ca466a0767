#include "library/core/command.h"
#include "library/core/heap_buffer.h"

#include <ovk/fabric.h>

using ovk::Command;
using ovk::DriverStatus;
using ovk::Outcome;

namespace {

using CtBuffer = ovk::HeapBuffer<ovk::Bytes<OVK_CT_MAX_LENGTH>>;

/** The bits of an FC address that are all ones in FFFFxx. */
constexpr std::uint32_t well_known_bits = 0xFFFF00;

constexpr std::uint32_t ct_result(OvkCtResult result) { return static_cast<std::uint32_t>(result); }

}  // namespace

// The three calls give different results for the same statuses; that is intended.

std::int32_t GetCTInfo(std::uint32_t board, std::uint32_t destination_id, const void* request,
                       std::uint32_t request_length, void* response,
                       std::uint32_t response_length) {
  if ((destination_id & well_known_bits) != well_known_bits) {
    return OVK_CT_FAILED;
  }
  if (request_length > OVK_CT_MAX_LENGTH) {
    return OVK_CT_TOO_LONG;
  }
  CtBuffer sent;
  if (!sent) {
    return OVK_CT_NO_RESOURCES;
  }
  const CtBuffer received;
  if (!received) {
    return OVK_CT_NO_RESOURCES;
  }
  sent.copy_in(request, request_length);
  Command command{
      board,
      {.request_size = request_length, .reply_size = response_length, .value = destination_id}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_SEND_CT">(sent.get(), received.get());
  if (!outcome.succeeded()) {
    return static_cast<std::int32_t>(
        outcome.result({{DriverStatus::not_permitted, 0},
                        {DriverStatus::not_ready, ct_result(OVK_CT_NOT_READY)},
                        {DriverStatus::does_not_fit, ct_result(OVK_CT_TOO_LONG)},
                        {DriverStatus::transport_failed, ct_result(OVK_CT_NO_RESOURCES)}},
                       ct_result(OVK_CT_FAILED)));
  }
  received.copy_out(response, command.block.reply_size);
  return static_cast<std::int32_t>(command.block.reply_size);
}

std::uint32_t SendMgmtCommand(std::uint32_t board, const Wwn* port_name, const void* request,
                              std::uint32_t request_length, void* response,
                              std::uint32_t* response_length_out, std::uint32_t command_word) {
  CtBuffer sent;
  const CtBuffer received;
  if (!sent || !received) {
    return OVK_MGMT_FAILED;
  }
  sent.copy_in(request, request_length);
  Command command{
      board,
      {.request_size = request_length, .reply_size = OVK_CT_MAX_LENGTH, .option = command_word}};
  const Outcome outcome =
      command.invoke<"RAVN_MGMT_HBA_SEND_MGMT_CMD">(port_name, sent.get(), received.get());
  if (outcome.succeeded() || outcome.status == DriverStatus::does_not_fit) {
    *response_length_out = command.block.reply_size;
  }
  if (outcome.succeeded()) {
    received.copy_out(response, command.block.reply_size);
  }
  return outcome.result({{DriverStatus::not_permitted, OVK_MGMT_COMMAND_REFUSED},
                         {DriverStatus::not_ready, OVK_MGMT_NOT_READY},
                         {DriverStatus::does_not_fit, OVK_MGMT_DOES_NOT_FIT}},
                        OVK_MGMT_FAILED);
}

std::uint32_t SendMgmtResponse(std::uint32_t board, const void* payload,
                               std::uint32_t payload_length, std::uint32_t context_word) {
  CtBuffer sent;
  if (!sent) {
    return OVK_MGMT_FAILED;
  }
  sent.copy_in(payload, payload_length);
  // Intended: the driver is given the buffer's size, not the payload's.
  Command command{board, {.request_size = OVK_CT_MAX_LENGTH, .value = context_word}};
  return command.invoke<"RAVN_MGMT_HBA_SEND_MGMT_RSP">(sent.get())
      .result({{DriverStatus::not_permitted, OVK_MGMT_RESPONSE_REFUSED},
               {DriverStatus::not_ready, OVK_MGMT_NOT_READY},
               {DriverStatus::does_not_fit, OVK_MGMT_DOES_NOT_FIT}},
              OVK_MGMT_FAILED);
}
