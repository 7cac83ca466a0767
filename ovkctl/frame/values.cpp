#include "ovkctl/frame/values.h"

#include "ovkctl/frame/errors.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fmt/core.h>

namespace ovkctl {
namespace {

constexpr std::size_t dump_line_bytes = 16;

bool printable(char c) { return c >= ' ' && c <= '~'; }

int hex_digit(char c) {
  int value = -1;
  std::from_chars(&c, &c + 1, value, 16);
  return value;
}

Bytes parse_bytes(std::string_view text, std::string_view separators) {
  Bytes bytes;
  while (!text.empty()) {
    if (separators.find(text[0]) != std::string_view::npos) {
      text.remove_prefix(1);
      continue;
    }
    const int high = hex_digit(text[0]);
    const int low = text.size() > 1 ? hex_digit(text[1]) : -1;
    if (high < 0 || low < 0) {
      throw UsageError("\"" + std::string(text) + "\" does not start with two hex digits.");
    }
    bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
    text.remove_prefix(2);
  }
  return bytes;
}

std::string dump_line(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  std::string line = fmt::format("{:08x} ", offset);
  std::string ascii;
  for (const std::uint8_t byte : bytes) {
    line += ascii.size() == dump_line_bytes / 2 ? "  " : " ";
    line += fmt::format("{:02x}", byte);
    ascii += printable(static_cast<char>(byte)) ? static_cast<char>(byte) : '.';
  }
  static constexpr std::size_t ascii_column = 9 + 3 * dump_line_bytes + 3;
  line.resize(ascii_column, ' ');
  return line + "|" + ascii + "|\n";
}

}  // namespace

std::uint64_t parse_number(const std::string& text, std::uint64_t most) {
  const bool hex = text.starts_with("0x") || text.starts_with("0X");
  const char* const end = text.data() + text.size();
  std::uint64_t value = 0;
  const auto [stop, error] =
      std::from_chars(text.data() + (hex ? 2 : 0), end, value, hex ? 16 : 10);
  if (error == std::errc::invalid_argument || stop != end) {
    throw UsageError("\"" + text + "\" is not a number (decimal, or hex after 0x).");
  }
  if (error != std::errc() || value > most) {
    throw UsageError(fmt::format("{} is too large: at most {}.", text, most));
  }
  return value;
}

void refuse_outside(const Range& range, std::uint64_t number) {
  if (number < range.least || number > range.most) {
    throw UsageError(fmt::format("{} is not from {} to {}.", number, range.least, range.most));
  }
}

void parse_value(const std::string& text, std::string& value) { value = text; }

void parse_value(const std::string& text, Wwn& value) {
  const std::string mistake =
      "\"" + text + "\" is not a world-wide name such as 10:00:02:00:54:12:34:56.";
  static constexpr std::size_t plain_length = 2 * sizeof value.bytes;
  static constexpr std::size_t colon_length = plain_length + sizeof value.bytes - 1;
  if (text.size() != plain_length && text.size() != colon_length) {
    throw UsageError(mistake);
  }
  try {
    const Bytes bytes = parse_bytes(text, ":");
    if (bytes.size() != sizeof value.bytes) {
      throw UsageError(mistake);
    }
    std::copy(bytes.begin(), bytes.end(), std::begin(value.bytes));
  } catch (const UsageError&) {
    throw UsageError(mistake);
  }
}

void parse_value(const std::string& text, HexBytes& value) {
  value.bytes = parse_bytes(text, ": ");
}

std::string wwn_text(const Wwn& wwn) { return bytes_text(wwn.bytes, ":"); }

std::string bytes_text(std::span<const std::uint8_t> bytes, const char* separator) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += fmt::format("{}{:02x}", text.empty() ? "" : separator, byte);
  }
  return text;
}

std::string hex_text(std::uint64_t value, int digits) {
  return fmt::format("0x{:0{}x}", value, digits);
}

std::string fixed_text(std::span<const char> field) {
  std::string text(field.begin(), std::find(field.begin(), field.end(), '\0'));
  std::replace_if(
      text.begin(), text.end(), [](char c) { return !printable(c); }, '?');
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
