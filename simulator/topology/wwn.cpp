#include "simulator/topology/wwn.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace ravnsim {

std::optional<std::vector<std::uint8_t>> parse_hex(std::string_view digits) {
  std::vector<std::uint8_t> bytes(digits.size() / 2);
  bool valid = digits.size() % 2 == 0;
  for (std::size_t i = 0; i < bytes.size() && valid; ++i) {
    const char* two = digits.data() + 2 * i;
    const auto [end, error] = std::from_chars(two, two + 2, bytes[i], 16);
    valid = error == std::errc{} && end == two + 2;
  }
  return valid ? std::optional{bytes} : std::nullopt;
}

std::optional<Wwn> parse_wwn(std::string_view text) {
  std::string digits;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.size() != 23 || i % 3 != 2 || text[i] != ':') {
      digits += text[i];
    }
  }
  Wwn wwn{};
  const auto bytes = parse_hex(digits);
  if (!bytes || bytes->size() != sizeof wwn) {
    return std::nullopt;
  }
  std::ranges::copy(*bytes, wwn.bytes);
  return wwn;
}

std::string to_text(const Wwn& wwn) {
  std::string text;
  for (const std::uint8_t byte : wwn.bytes) {
    std::array<char, 4> digits{};
    std::snprintf(digits.data(), digits.size(), "%s%02x", text.empty() ? "" : ":", byte);
    text += digits.data();
  }
  return text;
}

}  // namespace ravnsim
