/**
 * @file
 * The driver information by which the library decides what a board can do, and the SLI gates.
 */
#pragma once

#include <ovk/core.h>

#include <cstdint>
#include <optional>

extern "C" {

/**
 * The SLI mode of a board's host interface; OVK_SLI4 and above are SLI-4.
 *
 * @param board    library board index
 * @param sliMode  receives the mode; untouched on failure
 * @return OVK_OK; 2 on any failure
 */
OVK_API uint32_t get_sli_mode(uint32_t board, uint32_t* sliMode);

/**
 * The adapter type of a board.
 *
 * @param board  library board index
 * @param type   receives the type; 0 on failure
 * @return OVK_OK; OVK_FAILED when the command was not delivered; else the driver's status
 */
OVK_API uint32_t get_hba_type(uint32_t board, uint32_t* type);

/**
 * Whether a board can keep its link down across resets.
 *
 * @param board      library board index
 * @param supported  receives 1 or 0; untouched on failure
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t support_persist_link_disable(uint32_t board, uint8_t* supported);
}

namespace ovk {

/**
 * The gate of a call that exists on SLI-4 host interfaces only:
 *
 *     if (const auto refused = ovk::sli4_gate(board)) return *refused;
 *
 * @param board      library board index
 * @param otherwise  the call's result below SLI-4
 * @return nothing on an SLI-4 board; else the call's result: OVK_FAILED when the SLI mode cannot be
 *         read, `otherwise` below SLI-4
 */
std::optional<std::uint32_t> sli4_gate(std::uint32_t board,
                                       std::uint32_t otherwise = OVK_NOT_SUPPORTED);

/** The gate of a call that exists below SLI-4 only; `otherwise` is its result on SLI-4 boards. */
std::optional<std::uint32_t> sli3_gate(std::uint32_t board,
                                       std::uint32_t otherwise = OVK_NOT_SUPPORTED);

}  // namespace ovk
