#include "library/core/command.h"
#include "library/core/payload.h"

#include <ovk/fabric.h>

#include <optional>

using ovk::Command;
using ovk::DriverStatus;
using ovk::Outcome;

namespace {

using CtPayload = ovk::Bytes<OVK_CT_MAX_LENGTH>;

/** The request and the response in one block: libc keeps one block of this size when it is freed,
    and gives two back to the kernel at every call. */
struct CtPayloads {
  CtPayload request;
  CtPayload response;
};

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
  const ovk::HeapBuffer<CtPayloads> payloads{ovk::unfilled};
  if (!payloads) {
    return OVK_CT_NO_RESOURCES;
  }
  const CtPayload* const sent = ovk::whole_input(payloads->request, request, request_length);
  ovk::clear(payloads->response);
  Command command{
      board,
      {.request_size = request_length, .reply_size = response_length, .value = destination_id}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_SEND_CT">(sent, &payloads->response);
  if (!outcome.succeeded()) {
    return static_cast<std::int32_t>(
        outcome.result({{DriverStatus::not_permitted, 0},
                        {DriverStatus::not_ready, ct_result(OVK_CT_NOT_READY)},
                        {DriverStatus::does_not_fit, ct_result(OVK_CT_TOO_LONG)},
                        {DriverStatus::transport_failed, ct_result(OVK_CT_NO_RESOURCES)}},
                       ct_result(OVK_CT_FAILED)));
  }
  ovk::copy_out(payloads->response, response, command.block.reply_size);
  return static_cast<std::int32_t>(command.block.reply_size);
}

std::uint32_t SendMgmtCommand(std::uint32_t board, const Wwn* port_name, const void* request,
                              std::uint32_t request_length, void* response,
                              std::uint32_t* response_length_out, std::uint32_t command_word) {
  const ovk::HeapBuffer<CtPayloads> payloads{ovk::unfilled};
  if (!payloads) {
    return OVK_MGMT_FAILED;
  }
  const CtPayload* const sent = ovk::whole_input(payloads->request, request, request_length);
  ovk::clear(payloads->response);
  Command command{
      board,
      {.request_size = request_length, .reply_size = OVK_CT_MAX_LENGTH, .option = command_word}};
  const Outcome outcome =
      command.invoke<"RAVN_MGMT_HBA_SEND_MGMT_CMD">(port_name, sent, &payloads->response);
  if (outcome.succeeded() || outcome.status == DriverStatus::does_not_fit) {
    *response_length_out = command.block.reply_size;
  }
  if (outcome.succeeded()) {
    ovk::copy_out(payloads->response, response, command.block.reply_size);
  }
  return outcome.result({{DriverStatus::not_permitted, OVK_MGMT_COMMAND_REFUSED},
                         {DriverStatus::not_ready, OVK_MGMT_NOT_READY},
                         {DriverStatus::does_not_fit, OVK_MGMT_DOES_NOT_FIT}},
                        OVK_MGMT_FAILED);
}

std::uint32_t SendMgmtResponse(std::uint32_t board, const void* payload,
                               std::uint32_t payload_length, std::uint32_t context_word) {
  std::optional<ovk::HeapBuffer<CtPayload>> buffer;
  const auto* sent = ovk::as_bytes<OVK_CT_MAX_LENGTH>(payload);
  if (payload_length < OVK_CT_MAX_LENGTH) {
    buffer.emplace(ovk::unfilled);
    if (!*buffer) {
      return OVK_MGMT_FAILED;
    }
    buffer->fill(payload, payload_length);
    sent = buffer->get();
  }
  // Intended: the driver is given the buffer's size, not the payload's.
  Command command{board, {.request_size = OVK_CT_MAX_LENGTH, .value = context_word}};
  return command.invoke<"RAVN_MGMT_HBA_SEND_MGMT_RSP">(sent).result(
      {{DriverStatus::not_permitted, OVK_MGMT_RESPONSE_REFUSED},
       {DriverStatus::not_ready, OVK_MGMT_NOT_READY},
       {DriverStatus::does_not_fit, OVK_MGMT_DOES_NOT_FIT}},
      OVK_MGMT_FAILED);
}
