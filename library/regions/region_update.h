/**
 * @file
 * Writing a region by the region command, and which boards have that command.
 */
#pragma once

#include <ovk/types.h>

#include <cstdint>

extern "C" {

/**
 * Writes Region 22 of a board whose adapter type has region commands.
 *
 * @param board   library board index
 * @param image   the bytes to write
 * @param length  their number; those beyond the region are ignored
 * @return the firmware's mailbox status; OVK_OK also when it gave none; OVK_NOT_SUPPORTED for other
 *         adapter types; OVK_FAILED or the driver's status when the type cannot be read
 */
OVK_API uint32_t fcoeSetRegion22(uint32_t board, const void* image, uint32_t length);

/**
 * Writes Region 23 of an SLI-4 board.
 *
 * @param board   library board index
 * @param image   the bytes to write
 * @param length  their number; those beyond the region are ignored
 * @return the firmware's mailbox status; OVK_OK also when it gave none
 */
OVK_API uint32_t fcoeSetRegion23(uint32_t board, const void* image, uint32_t length);
}

namespace ovk {

/** Whether boards of an adapter type have Region 14, and read and write 22 by region commands. */
constexpr bool has_region_commands(std::uint32_t adapter_type) {
  return adapter_type == 0x704 || adapter_type == 0x714;
}

}  // namespace ovk
