#include "simulator/topology/hardware_topology.h"

#include "simulator/topology/json_reader.h"
#include "simulator/topology/topology.h"

namespace ravnsim {

namespace {

/** The longest text that a field of the vital product data holds. */
constexpr std::size_t vpd_text = 24;

constexpr std::uint32_t most_trunk_ports = 4;
constexpr std::uint32_t largest_memory = 1U << 20;
constexpr std::uint32_t default_memory = 1U << 14;

/** The last word of a model's name, which is what parts are ordered by. */
std::string part_number_of(const std::string& model) {
  const std::string last_word = model.substr(model.rfind(' ') + 1);
  return last_word.substr(0, vpd_text);
}

PciLocation read_location(const JsonValue& value, std::uint32_t driver_number) {
  PciLocation location{.bus = driver_number + 1};
  if (value.present()) {
    read_object(value, [&](JsonObject& members) {
      location.segment = members.at("segment").number<std::uint32_t>({0, 0xFFFF}, 0);
      location.bus = members.at("bus").number<std::uint32_t>({0, 0xFF});
      location.device = members.at("device").number<std::uint32_t>({0, 31}, 0);
      location.function = members.at("function").number<std::uint32_t>({0, 7}, 0);
    });
  }
  return location;
}

VpdTopology read_vpd(const JsonValue& value, const BoardTopology& board) {
  VpdTopology vpd{.part_number = part_number_of(board.model),
                  .engineering_change = board.hardware_version.substr(0, vpd_text)};
  if (value.present()) {
    read_object(value, [&](JsonObject& members) {
      vpd.present = members.at("present").flag(true);
      vpd.part_number = members.at("part_number").text(vpd_text, vpd.part_number);
      vpd.engineering_change =
          members.at("engineering_change").text(vpd_text, vpd.engineering_change);
      vpd.manufacture_id = members.at("manufacture_id").text(vpd_text, "");
      vpd.asset_tag = members.at("asset_tag").text(vpd_text, "");
    });
  }
  return vpd;
}

std::uint32_t read_trunk_ports(const JsonValue& list) {
  std::uint32_t ports = 0;
  for (const JsonValue& number : list.elements_or_none()) {
    ports |= 1U << number.number<std::uint32_t>({0, most_trunk_ports - 1});
  }
  return ports;
}

TrunkTopology read_trunk(const JsonValue& value, const BoardTopology& board) {
  TrunkTopology trunk;
  if (!value.present()) {
    return trunk;
  }
  if (board.sli_mode < sli4) {
    value.refuse("only boards with an SLI mode of 4 or more have trunks");
  }
  read_object(value, [&](JsonObject& members) {
    trunk.ports = read_trunk_ports(members.at("ports"));
    const JsonValue up = members.at("ports_up");
    trunk.ports_up = up.present() ? read_trunk_ports(up) : trunk.ports;
    if ((trunk.ports_up & ~trunk.ports) != 0) {
      up.refuse("a port that is up is one of the trunk's ports");
    }
  });
  return trunk;
}

}  // namespace

HardwareTopology read_hardware(const BoardTopology& board, JsonObject& members) {
  return {
      .pci = read_location(members.at("pci"), board.driver_number),
      .vpd = read_vpd(members.at("vpd"), board),
      .trunk = read_trunk(members.at("trunk"), board),
      .memory_size = members.at("memory_size").number({0, largest_memory}, default_memory),
  };
}

}  // namespace ravnsim
