#include "library/boards/driver_info.h"
#include "library/core/command.h"
#include "library/core/payload.h"

#include <ovk/core.h>
#include <ovk/mailbox.h>

#include <cstdint>

using ovk::Command;
using ovk::DriverStatus;
using ovk::HeapBuffer;
using ovk::Outcome;

namespace {

/** Moves the board into a state with SetBrdEnv; this call has numbers of its own for some states.
 */
std::uint32_t set_diagnostic_state(std::uint32_t board, std::uint32_t mode) {
  const std::uint32_t board_mode = mode == 2 ? 5 : mode;
  const std::int32_t state = SetBrdEnv(board, board_mode);
  return static_cast<std::uint32_t>(state == 4 || state == 5 ? OVK_BOARD_NOT_READY : state);
}

using DumpDescriptor = ovk::Bytes<OVK_DUMP_DESCRIPTOR_SIZE>;

}  // namespace

std::uint32_t OVK_SetDumpEnv(std::uint32_t board, std::uint32_t mode) {
  std::uint32_t sli_mode = 0;
  if (get_sli_mode(board, &sli_mode) != OVK_OK) {
    return OVK_FAILED;
  }
  if (mode == OVK_DUMP_INDUCE) {
    Command command{board};
    // Intended: here 0 is the failure.
    return command.invoke<"RAVN_MGMT_INDUCE_DUMP">().succeeded() ? OVK_DUMP_INDUCED
                                                                 : OVK_DUMP_NOTHING_DONE;
  }
  return sli_mode == OVK_SLI4 ? std::uint32_t{OVK_DUMP_NOTHING_DONE}
                              : set_diagnostic_state(board, mode);
}

std::uint32_t OVK_GetDriverDumpRegion(std::uint32_t board, std::uint32_t selector, void* dest,
                                      std::uint32_t* length) {
  const HeapBuffer<DumpDescriptor> descriptor;
  if (!descriptor) {
    return OVK_NO_MEMORY;
  }
  if (const auto refused = ovk::sli3_gate(board, OVK_DUMP_REGION_MISSING)) return *refused;
  Command command{board, {.request_size = *length, .selector = selector}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_GET_DUMPREGION">(descriptor.get());
  *length = command.block.reply_size;
  if (outcome.succeeded()) {
    descriptor.copy_out(dest, *length);
  }
  return outcome.result({{DriverStatus::no_dump_region, OVK_DUMP_REGION_MISSING},
                         {DriverStatus::transport_failed, OVK_DUMP_REGION_NOT_READ},
                         {DriverStatus::not_found, OVK_DUMP_REGION_UNKNOWN}});
}
