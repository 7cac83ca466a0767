#include "simulator/topology/port_topology.h"

#include "driver_abi/records/rnid.h"
#include "simulator/topology/json_reader.h"
#include "simulator/topology/port_speed.h"

#include <algorithm>
#include <arpa/inet.h>

namespace ravnsim {

namespace {

constexpr Word<PortType> port_types[] = {
    {"unknown", PortType::unknown},
    {"other", PortType::other},
    {"not_present", PortType::not_present},
    {"n_port", PortType::n_port},
    {"nl_port", PortType::nl_port},
    {"f_port", PortType::f_port},
    {"fl_port", PortType::fl_port},
    {"e_port", PortType::e_port},
    {"g_port", PortType::g_port},
    {"l_port", PortType::l_port},
    {"point_to_point", PortType::point_to_point},
};

constexpr Word<PortState> port_states[] = {
    {"unknown", PortState::unknown},
    {"online", PortState::online},
    {"offline", PortState::offline},
    {"bypassed", PortState::bypassed},
    {"diagnostics", PortState::diagnostics},
    {"link_down", PortState::link_down},
    {"error", PortState::error},
    {"loopback", PortState::loopback},
};

constexpr Word<std::uint32_t> fc4_types[] = {
    {"fcp", ovk::fc4_fcp}, {"ct", ovk::fc4_ct}, {"nvme", ovk::fc4_nvme}};

/** The FC-HBA bit of a speed in Gbit/s. */
std::uint32_t read_speed(const JsonValue& value) {
  const auto bit = speed_bit(value.number<std::uint32_t>());
  if (!bit) {
    value.refuse(
        "speeds in Gbit/s are 1, 2, 4, 8, 10, 16, 20, 25, 32, 40, 50, 64, 100, 128 and 256, and 0 "
        "for unknown");
  }
  return *bit;
}

std::uint32_t read_speeds(const JsonValue& list) {
  std::uint32_t speeds = 0;
  for (const JsonValue& speed : list.elements()) {
    speeds |= read_speed(speed);
  }
  return speeds;
}

std::uint32_t read_classes(const JsonValue& list) {
  std::uint32_t classes = 0;
  for (const JsonValue& number : list.elements()) {
    classes |= 1U << number.number<std::uint32_t>({1, 6});
  }
  return classes;
}

Fc4Types read_fc4_types(const JsonValue& list) {
  Fc4Types types{};
  for (const JsonValue& name : list.elements()) {
    const ovk::Fc4Bit bit = ovk::fc4_bit(name.word(fc4_types));
    types.at(bit.byte) |= bit.mask;
  }
  return types;
}

void read_address(const JsonValue& value, RnidTopology& rnid) {
  constexpr std::size_t longest_address = 46;
  const std::string text = value.text(longest_address);
  if (inet_pton(AF_INET, text.c_str(), &rnid.ip_address[ovk::ipv4_place]) == 1) {
    rnid.ip_version = ovk::ipv4;
  } else if (inet_pton(AF_INET6, text.c_str(), rnid.ip_address.data()) == 1) {
    rnid.ip_version = ovk::ipv6;
  } else {
    value.refuse("\"" + text + "\" is no IP address");
  }
}

}  // namespace

static void read_members(JsonObject& in, RnidTopology& rnid) {
  in.optional("answers", rnid.answers);
  in.optional("unit_type", rnid.unit_type);
  in.optional("physical_port", rnid.physical_port);
  in.optional("attached_nodes", rnid.attached_nodes);
  in.optional("udp_port", rnid.udp_port);
  in.optional("topology_flags", rnid.topology_flags);
  if (const JsonValue address = in.at("ip_address"); address.present()) {
    read_address(address, rnid);
  }
}

Unique<PortTopology, Wwn> unique_port(std::set<Wwn> taken) {
  return unique(&PortTopology::port_wwn, "the board has another port with the port_wwn {}",
                std::move(taken));
}

void read_members(JsonObject& in, PortTopology& port) {
  in.required("node_wwn", port.node_wwn);
  in.required("port_wwn", port.port_wwn);
  in.required("fc_id", port.fc_id, Range{0, largest_fc_id});
  in.optional("type", port.type, port_types);
  in.optional("state", port.state, port_states);
  in.optional("classes", port.classes, read_classes);
  in.optional("fc4_types", port.fc4_types_supported, read_fc4_types);
  port.fc4_types_active = port.fc4_types_supported;
  in.optional("fc4_types_active", port.fc4_types_active, read_fc4_types);
  in.optional("symbolic_name", port.symbolic_name, Longest{256});
  in.optional("os_device_name", port.os_device_name, Longest{114});
  in.optional("supported_speeds", port.supported_speeds, read_speeds);
  in.optional("speed", port.speed, read_speed);
  in.optional("max_frame_size", port.max_frame_size, Range{256, 9216});
  in.optional("fabric_name", port.fabric_name);
  in.optional("rnid", port.rnid);
  in.list("luns", port.luns,
          unique(&LunTopology::number, "the port has another logical unit with the lun {}"));
  std::ranges::sort(port.luns, {}, &LunTopology::number);
}

}  // namespace ravnsim
