/**
 * @file
 * Records out of bytes that may be too few.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <type_traits>

namespace ovk {

/** The record that stands at an offset; nothing where the bytes end before it does. */
template <typename Record>
[[nodiscard]] std::optional<Record> read_record(std::span<const std::uint8_t> bytes,
                                                std::size_t offset = 0) {
  static_assert(std::is_trivially_copyable_v<Record>);
  if (offset > bytes.size() || sizeof(Record) > bytes.size() - offset) {
    return std::nullopt;
  }
  Record record;
  std::memcpy(&record, bytes.data() + offset, sizeof record);
  return record;
}

}  // namespace ovk
