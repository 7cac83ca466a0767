#include "simulator/topology/region_topology.h"

#include "driver_abi/regions.h"
#include "simulator/topology/json_reader.h"
#include "simulator/topology/wwn.h"

#include <string>

namespace ravnsim {

namespace {

/** Bytes as hex digits, with or without blanks between them. */
std::vector<std::uint8_t> read_bytes(const JsonValue& value, std::size_t most) {
  std::string digits = value.text(3 * most);
  std::erase(digits, ' ');
  if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
    value.refuse("bytes are written as hex digits");
  }
  const auto bytes = parse_hex(digits);
  if (!bytes || bytes->size() > most) {
    value.refuse("the region takes up to " + std::to_string(most) + " whole bytes");
  }
  return *bytes;
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
