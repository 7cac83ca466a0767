/**
 * @file
 * The per-board tables, for which the library board index is never trusted.
 */
#pragma once

#include <ovk/types.h>

#include <cstdint>

extern "C" {

/**
 * The driver's number of a board.
 *
 * @param board  library board index
 * @return its entry of ovk_brdno; -1, as a 32-bit value, for an index beyond that table
 */
OVK_API uint32_t getDrvBrdNum(uint32_t board);
}

namespace ovk {

/** The entry of ovk_brdno for an index that has no board. */
inline constexpr std::int32_t unmapped_board = -1;

/** The entry of a per-board table; null for a board that has none. */
template <typename Entry>
Entry* board_entry(Entry (&table)[OVK_MAX_BOARDS], std::uint32_t board) {
  return board < OVK_MAX_BOARDS ? &table[board] : nullptr;
}

}  // namespace ovk
