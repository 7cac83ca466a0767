#include "simulator/topology/hardware_topology.h"

#include "simulator/topology/board_topology.h"
#include "simulator/topology/json_reader.h"

namespace ravnsim {

namespace {

/** The longest text that a field of the vital product data holds. */
constexpr Longest field{24};

constexpr std::uint32_t largest_memory = 1U << 20;

/** The last word of a model's name, which is what parts are ordered by. */
std::string part_number_of(const std::string& model) {
  return model.substr(model.rfind(' ') + 1).substr(0, field.bytes);
}

std::uint32_t read_ports(JsonObject& in, const char* name) {
  std::uint32_t ports = 0;
  in.each(name, [&](const JsonValue& number) {
    ports |= 1U << number.number<std::uint32_t>({0, 3});
  });
  return ports;
}

}  // namespace

static void read_members(JsonObject& in, PciLocation& location) {
  in.optional("segment", location.segment, Range{0, 0xFFFF});
  in.required("bus", location.bus, Range{0, 0xFF});
  in.optional("device", location.device, Range{0, 31});
  in.optional("function", location.function, Range{0, 7});
}

static void read_members(JsonObject& in, VpdTopology& vpd) {
  in.optional("present", vpd.present);
  in.optional("part_number", vpd.part_number, field);
  in.optional("engineering_change", vpd.engineering_change, field);
  in.optional("manufacture_id", vpd.manufacture_id, field);
  in.optional("asset_tag", vpd.asset_tag, field);
}

static void read_members(JsonObject& in, TrunkTopology& trunk) {
  trunk.ports = read_ports(in, "ports");
  const JsonValue up = in.at("ports_up");
  trunk.ports_up = up.present() ? read_ports(in, "ports_up") : trunk.ports;
  if ((trunk.ports_up & ~trunk.ports) != 0) {
    up.refuse("a port that is up is one of the trunk's ports");
  }
}

void read_hardware(JsonObject& in, BoardTopology& board) {
  HardwareTopology& hardware = board.hardware;
  hardware.pci.bus = board.driver_number + 1;
  hardware.vpd.part_number = part_number_of(board.model);
  hardware.vpd.engineering_change = board.hardware_version.substr(0, field.bytes);
  in.optional("pci", hardware.pci);
  in.optional("vpd", hardware.vpd);
  if (const JsonValue trunk = in.at("trunk"); trunk.present() && board.sli_mode < sli4) {
    trunk.refuse("only boards with an SLI mode of 4 or more have trunks");
  }
  in.optional("trunk", hardware.trunk);
  in.optional("memory_size", hardware.memory_size, Range{0, largest_memory});
}

}  // namespace ravnsim
