/**
 * @file
 * Bytes as they stand on the wire, put together one after another; numbers are big-endian.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

namespace ravnsim {

using ByteVector = std::vector<std::uint8_t>;

/** A number of `size` bytes; the bytes must be there. */
inline std::uint32_t get_number(std::span<const std::uint8_t> bytes, std::size_t offset,
                                std::size_t size) {
  std::uint32_t number = 0;
  for (const std::uint8_t byte : bytes.subspan(offset, size)) {
    number = number << 8 | byte;
  }
  return number;
}

/** Appends a number of `size` bytes. */
inline void put_number(ByteVector& bytes, std::uint32_t number, std::size_t size) {
  for (std::size_t i = size; i-- > 0;) {
    bytes.push_back(static_cast<std::uint8_t>(number >> 8 * i));
  }
}

/** Writes a number over all of the bytes. */
inline void set_number(std::span<std::uint8_t> bytes, std::uint32_t number) {
  for (std::size_t i = bytes.size(); i-- > 0; number >>= 8) {
    bytes[i] = static_cast<std::uint8_t>(number);
  }
}

/** The bytes of a record that is laid out as on the wire. */
template <typename Record>
ByteVector record_bytes(const Record& record) {
  ByteVector bytes(sizeof record);
  std::memcpy(bytes.data(), &record, sizeof record);
  return bytes;
}

/** Appends bytes. */
inline void put_bytes(ByteVector& bytes, std::span<const std::uint8_t> more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

/** Appends zeros. */
inline void put_zeros(ByteVector& bytes, std::size_t count) { bytes.resize(bytes.size() + count); }

/** Appends a text in a field of `size` bytes, cut off or filled up. */
inline void put_text(ByteVector& bytes, std::string_view text, std::size_t size, char fill) {
  for (std::size_t i = 0; i < size; ++i) {
    bytes.push_back(static_cast<std::uint8_t>(i < text.size() ? text[i] : fill));
  }
}

/** Appends a text. */
inline void put_text(ByteVector& bytes, std::string_view text) {
  bytes.insert(bytes.end(), text.begin(), text.end());
}

}  // namespace ravnsim
