#include "library/boards/driver_info.h"
#include "library/core/assertion.h"
#include "library/core/command.h"
#include "library/core/payload.h"

#include <ovk/mailbox.h>

#include <cstdint>
#include <optional>

using ovk::Bytes;
using ovk::Command;
using ovk::DriverStatus;
using ovk::HeapBuffer;
using ovk::here;
using ovk::LogPlace;
using ovk::Outcome;

namespace {

/** The driver's codes for the modes of the calls. */
enum LoopbackCode : std::uint32_t { code_of_mode0 = 0, code_of_mode1 = 1, code_of_mode2 = 4 };

std::optional<LoopbackCode> loopback_code(std::uint32_t mode) {
  switch (mode) {
    case 0:
      return code_of_mode0;
    case 1:
      return code_of_mode1;
    case 2:
      return code_of_mode2;
    default:
      return std::nullopt;
  }
}

std::uint32_t set_mode(std::uint32_t board, std::uint32_t value, LoopbackCode code,
                       std::uint32_t arg, LogPlace place) {
  Command command{board, {.code = code, .option = arg}, place};
  return command.invoke<"RAVN_MGMT_LOOPBACK_MODE">(&value).result(
      {{DriverStatus::not_permitted, OVK_LOOPBACK_NOT_PERMITTED}});
}

std::uint32_t reinitialise_link(std::uint32_t board) {
  Command command{board, {}, here("ovk_EndLoopback")};
  return command.invoke<"RAVN_MGMT_LIP">().result();
}

std::uint32_t end_diagnostic_mode(std::uint32_t board) {
  constexpr std::uint32_t end_option = 15;
  Command command{board, {.option = end_option}, here("ovk_EndLoopback_sli4")};
  return command.invoke<"RAVN_MGMT_DIAG_MODE_END">().result(
      {{DriverStatus::not_permitted, OVK_LOOPBACK_NOT_PERMITTED}});
}

}  // namespace

std::uint32_t OVK_ConfigLoopback(std::uint32_t board, std::uint32_t mode, std::uint32_t arg) {
  const std::optional<LoopbackCode> code = loopback_code(mode);
  if (!code || *code == code_of_mode0) {
    return OVK_LOOPBACK_NO_SUCH_MODE;
  }
  return set_mode(board, OVK_LOOPBACK_NO_VALUE, *code, arg, here());
}

std::uint32_t OVK_ConfigLoopbackV2(std::uint32_t board, std::uint32_t value, std::uint32_t mode,
                                   std::uint32_t arg) {
  if (value == OVK_LOOPBACK_NO_VALUE) {
    return OVK_ConfigLoopback(board, mode, arg);
  }
  const std::optional<LoopbackCode> code = loopback_code(mode);
  return code ? set_mode(board, value, *code, arg, here())
              : std::uint32_t{OVK_LOOPBACK_NO_SUCH_MODE};
}

std::uint32_t OVK_RunLoopbackTest(std::uint32_t board, const LoopbackRequest* req) {
  ovk::assert_that(req->bufSize <= OVK_LOOPBACK_MAX_SIZE, "pLoopback->bufSize <= 65536");
  struct Frames {
    Bytes<OVK_LOOPBACK_MAX_SIZE> transmitted;
    Bytes<OVK_LOOPBACK_MAX_SIZE> received;
  };
  const HeapBuffer<Frames> frames{ovk::unfilled};
  if (!frames) {
    return OVK_NO_MEMORY;
  }
  const auto* const transmitted =
      ovk::whole_input(frames->transmitted, req->transmit, req->bufSize);
  ovk::clear(frames->received);
  Command command{board, {.request_size = req->bufSize}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_LOOPBACK_TEST">(transmitted, &frames->received);
  if (outcome.succeeded()) {
    ovk::copy_out(frames->received, req->receive, req->bufSize);
  }
  return outcome.result({{DriverStatus::no_response, OVK_LOOPBACK_NOTHING_RECEIVED},
                         {DriverStatus::busy, OVK_LOOPBACK_PORT_BUSY}});
}

std::uint32_t OVK_EndLoopback(std::uint32_t board) {
  std::uint32_t mode = 0;
  if (get_sli_mode(board, &mode) != OVK_OK) {
    return OVK_FAILED;
  }
  return mode < OVK_SLI4 ? reinitialise_link(board) : end_diagnostic_mode(board);
}
