/**
 * @file
 * What the driver's records of a port have in common.
 */
#pragma once

#include "simulator/board/text_field.h"
#include "simulator/topology/port_topology.h"

#include <cstdint>

namespace ravnsim {

/** Fills the members that all records of a port have, and of the others those that this one has. */
template <typename Record>
void describe_port(const PortTopology& port, Record& record) {
  record.node_wwn = port.node_wwn;
  record.port_wwn = port.port_wwn;
  record.fc_id = port.fc_id;
  record.type = static_cast<std::uint32_t>(port.type);
  record.state = static_cast<std::uint32_t>(port.state);
  put_text(record.symbolic_name, port.symbolic_name);
  record.max_frame_size = port.max_frame_size;
  if constexpr (requires { record.speed; }) {
    record.supported_speeds = port.supported_speeds;
    record.speed = port.speed;
  }
  if constexpr (requires { record.fabric_name; }) {
    record.fc4_types_active = port.fc4_types_active;
    record.fabric_name = port.fabric_name;
  }
}

}  // namespace ravnsim
