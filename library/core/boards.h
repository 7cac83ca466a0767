/**
 * @file
 * The per-board tables, for which the library board index is never trusted.
 */
#pragma once

#include <ovk/types.h>

#include <cstdint>

namespace ovk {

/** The entry of a per-board table; null for a board that has none. */
template <typename Entry>
Entry* board_entry(Entry (&table)[OVK_MAX_BOARDS], std::uint32_t board) {
  return board < OVK_MAX_BOARDS ? &table[board] : nullptr;
}

}  // namespace ovk
