/**
 * @file
 * Typed values from the words of a command line, and the texts of records as values.
 *
 * A parse_value overload makes a type usable for arguments and options; it throws UsageError.
 */
#pragma once

#include <ovk/types.h>

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ovkctl {

using Bytes = std::vector<std::uint8_t>;

/** The numbers that are allowed, both ends included. */
struct Range {
  std::uint64_t least = 0;
  std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
};

/** Bytes that the command line gives in hex: "0a0b", "0a 0b", "0a:0b". */
struct HexBytes {
  Bytes bytes;
};

/** The parts of a text between commas. */
std::vector<std::string> split(const std::string& text);

/** Reads a number, decimal or in hex after "0x"; refuses what is above most. */
std::uint64_t parse_number(const std::string& text, std::uint64_t most);

/** Refuses a number that a range does not have. */
void refuse_outside(const Range& range, std::uint64_t number);

/** Takes the text as it stands. */
void parse_value(const std::string& text, std::string& value);

/** Reads an unsigned number, decimal or in hex after "0x", that fits its type. */
template <std::unsigned_integral T>
void parse_value(const std::string& text, T& value) {
  value = static_cast<T>(parse_number(text, std::numeric_limits<T>::max()));
}

/** Reads 16 hex digits, with colons between the bytes or without. */
void parse_value(const std::string& text, Wwn& value);

/** Reads pairs of hex digits with blanks, colons or nothing between them. */
void parse_value(const std::string& text, HexBytes& value);

/** A world-wide name as colon-separated hex. */
std::string wwn_text(const Wwn& wwn);

/** Bytes as pairs of hex digits with a separator between them. */
std::string bytes_text(std::span<const std::uint8_t> bytes, const char* separator = "");

/** A number in hex after "0x" with at least that many digits. */
std::string hex_text(std::uint64_t value, int digits);

/** Numbers in hex. */
template <typename Numbers>
std::vector<std::string> hex_list(const Numbers& numbers, int digits) {
  std::vector<std::string> texts;
  for (const auto number : numbers) {
    texts.push_back(hex_text(number, digits));
  }
  return texts;
}

/** As many elements of an array as a record says that it has, but not more than it has. */
template <typename Array>
auto first_of(Array& array, std::size_t count) {
  const std::span all{array};
  return all.first(std::min(count, all.size()));
}

/**
 * The text of a fixed-size field that may lack its terminator: up to the first NUL, without
 * trailing blanks. What could disturb a terminal is shown as '?'.
 */
std::string fixed_text(std::span<const char> field);

/** Lines of offset, hex and ASCII, each with a line end. */
std::string hexdump(std::span<const std::uint8_t> bytes, std::uint64_t first_offset = 0);

}  // namespace ovkctl
