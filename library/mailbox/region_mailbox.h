/**
 * @file
 * The regions of the adapter's non-volatile configuration as bytes: how long they are, and how an
 * older adapter reads and writes them.
 */
#pragma once

#include <ovk/mailbox.h>

#include <cstdint>
#include <optional>

extern "C" {

/**
 * The length of a region's image.
 *
 * @param region  region number
 * @return bytes; 0 for an unknown region, which is logged as an error
 */
OVK_API uint32_t valid_region(uint32_t region);

/**
 * Reads a whole region of an SLI-3 adapter, in steps of 128 bytes.
 *
 * @param board   library board index
 * @param dest    room for valid_region(region) bytes; written on success only
 * @param region  region number
 * @return OVK_OK, also when the adapter ended the region early; an OvkRegionResult; another mailbox
 *         status as it is; else the result of OVK_IssueMboxWithRetryEx
 */
OVK_API uint32_t LEG_IssueDumpMBox(uint32_t board, uint8_t* dest, uint32_t region);

/**
 * Writes region 22 of an SLI-3 adapter.
 *
 * @param board   library board index
 * @param data    the bytes to write; whole words of them are sent
 * @param length  their number, at most 2048
 * @return the result of OVK_IssueMboxWithRetryEx
 */
OVK_API uint32_t LegacySetRegion22(uint32_t board, const void* data, uint32_t length);

/**
 * Writes region 23 of an SLI-3 adapter.
 *
 * @param board   library board index
 * @param data    the bytes to write; whole words of them are sent
 * @param length  their number, at most 2048
 * @return the result of OVK_IssueMboxWithRetryEx
 */
OVK_API uint32_t LegacySetRegion23(uint32_t board, const void* data, uint32_t length);
}

namespace ovk {

/** The result of a region call for a mailbox status, if the status has one of its own. */
std::optional<std::uint32_t> region_result(std::uint32_t mailbox_status);

}  // namespace ovk
