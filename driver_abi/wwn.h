/**
 * @file
 * How world-wide names compare: as their bytes, most significant first.
 */
#pragma once

#include <ovk/types.h>

#include <algorithm>
#include <compare>

constexpr std::strong_ordering operator<=>(const Wwn& one, const Wwn& other) {
  return std::lexicographical_compare_three_way(one.bytes, one.bytes + sizeof one.bytes,
                                                other.bytes, other.bytes + sizeof other.bytes);
}

constexpr bool operator==(const Wwn& one, const Wwn& other) {
  return std::ranges::equal(one.bytes, other.bytes);
}
