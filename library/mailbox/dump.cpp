#include "library/boards/driver_info.h"
#include "library/core/command.h"
#include "library/core/heap_buffer.h"

#include <ovk/core.h>
#include <ovk/mailbox.h>

#include <cstdint>

using ovk::Command;
using ovk::DriverStatus;
using ovk::HeapBuffer;
using ovk::Outcome;

namespace {

/** The results of OVK_SetDumpEnv: board states or nothing, and OVK_FAILED without an SLI mode. */
constexpr std::uint32_t dump_induced = 4;
constexpr std::uint32_t nothing_done = 0;
constexpr std::uint32_t diagnostic_state = 2;

/** Moves the board into a state as SetBrdEnv does, under this call's numbers. */
std::uint32_t set_diagnostic_state(std::uint32_t board, std::uint32_t mode) {
  const std::uint32_t board_mode = mode == 2 ? 5 : mode;
  const std::int32_t state = SetBrdEnv(board, board_mode);
  return state == 4 || state == 5 ? diagnostic_state : static_cast<std::uint32_t>(state);
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
    return command.invoke<"RAVN_MGMT_INDUCE_DUMP">().succeeded() ? dump_induced : nothing_done;
  }
  return sli_mode == OVK_SLI4 ? nothing_done : set_diagnostic_state(board, mode);
}

std::uint32_t OVK_GetDriverDumpRegion(std::uint32_t board, std::uint32_t selector, void* dest,
                                      std::uint32_t* length) {
  const HeapBuffer<DumpDescriptor> descriptor;
  if (!descriptor) {
    return OVK_NO_MEMORY;
  }
  if (const auto refused = ovk::sli3_gate(board)) return *refused;
  Command command{board, {.request_size = *length, .selector = selector}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_GET_DUMPREGION">(descriptor.get());
  *length = command.block.reply_size;
  if (outcome.succeeded()) {
    descriptor.copy_out(dest, *length);
  }
  return outcome.result({{DriverStatus::no_dump_region, 2},
                         {DriverStatus::transport_failed, 3},
                         {DriverStatus::not_found, 4}});
}
