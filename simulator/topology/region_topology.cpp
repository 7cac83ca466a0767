#include "simulator/topology/region_topology.h"

#include "simulator/board/regions.h"
#include "simulator/topology/json_reader.h"

#include <cctype>
#include <optional>
#include <string_view>

namespace ravnsim {

namespace {

/** A hex digit's value; nothing for another character. */
std::optional<unsigned> digit_of(char digit) {
  constexpr std::string_view digits = "0123456789abcdef";
  const auto value =
      digits.find(static_cast<char>(std::tolower(static_cast<unsigned char>(digit))));
  return value != std::string_view::npos ? std::optional{static_cast<unsigned>(value)}
                                         : std::nullopt;
}

/** Bytes as hex digits, with or without blanks between them. */
std::vector<std::uint8_t> read_bytes(const JsonValue& value, std::size_t most) {
  std::vector<std::uint8_t> bytes;
  std::optional<unsigned> upper;
  for (const char character : value.text(3 * most)) {
    if (character == ' ') {
      continue;
    }
    const auto digit = digit_of(character);
    if (!digit) {
      value.refuse("bytes are written as hex digits");
    }
    if (upper) {
      bytes.push_back(std::uint8_t(*upper << 4 | *digit));
      upper.reset();
    } else {
      upper = digit;
    }
  }
  if (upper || bytes.size() > most) {
    value.refuse("the region takes up to " + std::to_string(most) + " whole bytes");
  }
  return bytes;
}

}  // namespace

void read_members(JsonObject& in, RegionTopology& region) {
  in.required("number", region.number);
  const std::uint32_t length = ovk::region_length(region.number);
  if (length == 0) {
    in.at("number").refuse("the firmware has no such region");
  }
  in.optional("contents", region.contents,
              [&](const JsonValue& value) { return read_bytes(value, length); });
  in.optional("locked", region.locked);
}

}  // namespace ravnsim
