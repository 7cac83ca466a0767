/**
 * @file
 * Numbers in wire order. The host is little-endian, the wire is big-endian.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace ovk {

/** Stores a number, most significant byte first, in the `sizeof(Number)` bytes at `bytes`. */
template <typename Number>
constexpr void store_big_endian(std::uint8_t* bytes, Number number) {
  static_assert(std::is_unsigned_v<Number>);
  constexpr unsigned bits_per_byte = 8;
  for (std::size_t i = 0; i < sizeof number; ++i) {
    bytes[i] = static_cast<std::uint8_t>(number >> bits_per_byte * (sizeof number - 1 - i));
  }
}

}  // namespace ovk
