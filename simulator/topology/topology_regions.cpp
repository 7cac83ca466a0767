#include "simulator/board/regions.h"
#include "simulator/topology/json_reader.h"
#include "simulator/topology/topology_parts.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>

namespace ravnsim {

namespace {

constexpr Range<std::uint16_t> fcf_indices{0, 0xFFFE};
constexpr Range<std::uint32_t> vlan_ids{0, 4095};

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
  for (const char character : value.text(3 * most, "")) {
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

RegionTopology read_region(const JsonValue& value) {
  RegionTopology region;
  read_object(value, [&](JsonObject& members) {
    const JsonValue number = members.at("number");
    region.number = number.number<std::uint32_t>();
    const std::uint32_t length = region_length(region.number);
    if (length == 0) {
      number.refuse("the firmware has no such region");
    }
    region.contents = read_bytes(members.at("contents"), length);
    region.locked = members.at("locked").flag(false);
  });
  return region;
}

FcfTopology read_fcf(const JsonValue& value, std::uint16_t place) {
  FcfTopology fcf;
  read_object(value, [&](JsonObject& members) {
    fcf.index = members.at("index").number(fcf_indices, place);
    fcf.fabric_name = members.at("fabric_name").wwn();
    fcf.switch_name = members.at("switch_name").wwn();
    fcf.priority = members.at("priority").number<std::uint32_t>({}, 128);
    fcf.max_receive_size = members.at("max_receive_size").number<std::uint32_t>({}, 2158);
    fcf.keep_alive = members.at("keep_alive_milliseconds").number<std::uint32_t>({}, 8000);
    for (const JsonValue& vlan : members.at("vlans").elements_or_none()) {
      fcf.vlans.push_back(vlan.number(vlan_ids));
    }
    fcf.available = members.at("available").flag(true);
    fcf.valid = members.at("valid").flag(true);
  });
  return fcf;
}

}  // namespace

std::vector<RegionTopology> read_regions(const JsonValue& list) {
  std::vector<RegionTopology> regions;
  for (const JsonValue& place : list.elements_or_none()) {
    const RegionTopology region = read_region(place);
    if (std::ranges::find(regions, region.number, &RegionTopology::number) != regions.end()) {
      place.refuse("the board has this region already");
    }
    regions.push_back(region);
  }
  return regions;
}

std::vector<FcfTopology> read_fcfs(const JsonValue& list) {
  std::vector<FcfTopology> fcfs;
  for (const JsonValue& place : list.elements_or_none()) {
    const FcfTopology fcf = read_fcf(place, static_cast<std::uint16_t>(fcfs.size()));
    if (std::ranges::find(fcfs, fcf.index, &FcfTopology::index) != fcfs.end()) {
      place.refuse("the board has another FCF of this index");
    }
    fcfs.push_back(fcf);
  }
  return fcfs;
}

}  // namespace ravnsim
