#include "ovkctl/frame/values.h"

#include "ovkctl/frame/errors.h"

#include <charconv>
#include <fmt/format.h>
#include <sstream>

namespace ovkctl {
namespace {

constexpr std::size_t dump_line_bytes = 16;

bool printable(char c) { return c >= ' ' && c <= '~'; }

/** Takes pairs of hex digits from the front of a text, and the separators around them. */
Bytes take_bytes(std::string_view& text, std::string_view separators) {
  Bytes bytes;
  while (true) {
    text.remove_prefix(std::min(text.find_first_not_of(separators), text.size()));
    const std::string_view digits = text.substr(0, 2);
    const char* const end = digits.data() + digits.size();
    std::uint8_t byte = 0;
    if (digits.size() < 2 || std::from_chars(digits.data(), end, byte, 16).ptr != end) {
      return bytes;
    }
    bytes.push_back(byte);
    text.remove_prefix(digits.size());
  }
}

std::string dump_line(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  const std::size_t half = std::min(bytes.size(), dump_line_bytes / 2);
  const std::string hex =
      fmt::format("{:08x}  {:02x}  {:02x}", offset, fmt::join(bytes.first(half), " "),
                  fmt::join(bytes.subspan(half), " "));
  std::string ascii(bytes.begin(), bytes.end());
  std::ranges::replace_if(
      ascii, [](char c) { return !printable(c); }, '.');
  return fmt::format("{:<60}|{}|\n", hex, ascii);
}

}  // namespace

std::vector<std::string> split(const std::string& text) {
  std::istringstream rest{text};
  std::vector<std::string> parts;
  for (std::string part; std::getline(rest, part, ',');) {
    parts.push_back(part);
  }
  return parts;
}

std::uint64_t parse_number(const std::string& text, std::uint64_t most) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const char* const end = text.data() + text.size();
  std::uint64_t value = 0;
  const auto [stop, error] =
      std::from_chars(text.data() + (hex ? 2 : 0), end, value, hex ? 16 : 10);
  if (error == std::errc::invalid_argument || stop != end) {
    throw UsageError("\"{}\" is not a number (decimal, or hex after 0x).", text);
  }
  if (error != std::errc() || value > most) {
    throw UsageError("{} is too large: at most {}.", text, most);
  }
  return value;
}

void refuse_outside(const Range& range, std::uint64_t number) {
  if (number < range.least || number > range.most) {
    throw UsageError("{} is not from {} to {}.", number, range.least, range.most);
  }
}

void parse_value(const std::string& text, std::string& value) { value = text; }

void parse_value(const std::string& text, Wwn& value) {
  static constexpr std::size_t plain_length = 2 * sizeof value.bytes;
  static constexpr std::size_t colon_length = plain_length + sizeof value.bytes - 1;
  std::string_view rest = text;
  const Bytes bytes = take_bytes(rest, ":");
  if ((text.size() != plain_length && text.size() != colon_length) || !rest.empty() ||
      bytes.size() != sizeof value.bytes) {
    throw UsageError("\"{}\" is not a world-wide name such as 10:00:02:00:54:12:34:56.", text);
  }
  std::ranges::copy(bytes, value.bytes);
}

void parse_value(const std::string& text, HexBytes& value) {
  std::string_view rest = text;
  value.bytes = take_bytes(rest, ": ");
  if (!rest.empty()) {
    throw UsageError("\"{}\" does not start with two hex digits.", rest);
  }
}

std::string wwn_text(const Wwn& wwn) { return bytes_text(wwn.bytes, ":"); }

std::string bytes_text(std::span<const std::uint8_t> bytes, const char* separator) {
  return fmt::format("{:02x}", fmt::join(bytes, separator));
}

std::string hex_text(std::uint64_t value, int digits) {
  return fmt::format("0x{:0{}x}", value, digits);
}

std::string fixed_text(std::span<const char> field) {
  std::string text(field.begin(), std::find(field.begin(), field.end(), '\0'));
  std::ranges::replace_if(
      text, [](char c) { return !printable(c); }, '?');
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

std::string hexdump(std::span<const std::uint8_t> bytes, std::uint64_t first_offset) {
  std::string text;
  for (std::size_t offset = 0; offset < bytes.size(); offset += dump_line_bytes) {
    text += dump_line(first_offset + offset,
                      bytes.subspan(offset, std::min(dump_line_bytes, bytes.size() - offset)));
  }
  return text;
}

}  // namespace ovkctl
