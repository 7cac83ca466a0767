#include "ovkctl/subjects/board_text.h"

#include "ovkctl/frame/words.h"

#include <ovk/core.h>

#include <fmt/core.h>

namespace ovkctl {
namespace {

constexpr auto board_states = words<std::int32_t>({
    {OVK_BOARD_NORMAL, "normal"},
    {OVK_BOARD_NOT_READY, "not ready"},
});

}  // namespace

std::string board_state_text(std::uint32_t board) {
  const std::int32_t state = ovk_state[board];
  return word_or(board_states, state, fmt::format("state {}", state));
}

PortAttributes read_own_port(const Board& board) {
  // Zeroed, because the library leaves the end of the device name as it is.
  PortAttributes port{};
  board.check(GetAdapterPortAttributes(board, 0, &port), "Reading the port attributes");
  return port;
}

ovk::PortPair ports_of(const Board& board, const Wwn& remote, const std::optional<Wwn>& local) {
  return {local ? *local : read_own_port(board).PortWWN, remote};
}

void add_port_fields(Section& section, const PortAttributes& port) {
  section.field("port_wwn", "Port WWN", port.PortWWN)
      .field("node_wwn", "Node WWN", port.NodeWWN)
      .field("fabric_name", "Fabric name", port.FabricName)
      .field("fc_id", "FC ID", FcAddress{port.PortFcId})
      .field("type", "Type", port_type_text(port.PortType))
      .field("state", "State", port_state_text(port.PortState))
      .field("speed_gbit", "Speed", Speed{port.PortSpeed})
      .field("supported_speeds_gbit", "Supported speeds", Speeds{port.PortSupportedSpeed})
      .field("service_classes", "Classes of service",
             service_class_list(port.PortSupportedClassofService))
      .field("fc4_types_supported", "FC-4 types supported",
             fc4_type_list(port.PortFc4TypesSupported))
      .field("fc4_types_active", "FC-4 types active", fc4_type_list(port.PortFc4TypesActive))
      .field("max_frame_size", "Maximum frame size", Size{port.PortMaxFrameSize})
      .field("symbolic_name", "Symbolic name", port.PortSymbolicName)
      .field("device_name", "Device name", port.OSDeviceName)
      .field("discovered_ports", "Discovered ports", port.NumberofDiscoveredPorts);
}

}  // namespace ovkctl
