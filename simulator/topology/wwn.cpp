#include "simulator/topology/wwn.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace ravnsim {

std::optional<Wwn> parse_wwn(std::string_view text) {
  const bool with_colons = text.find(':') != std::string_view::npos;
  const std::size_t stride = with_colons ? 3 : 2;
  Wwn wwn{};
  if (text.size() != sizeof wwn.bytes * stride - (with_colons ? 1 : 0)) {
    return std::nullopt;
  }
  for (std::size_t i = 0; i < sizeof wwn.bytes; ++i) {
    const char* digits = text.data() + i * stride;
    const auto [end, error] = std::from_chars(digits, digits + 2, wwn.bytes[i], 16);
    const bool separated = !with_colons || i == 0 || digits[-1] == ':';
    if (error != std::errc{} || end != digits + 2 || !separated) {
      return std::nullopt;
    }
  }
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
