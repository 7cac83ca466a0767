/**
 * @file
 * The virtual ports of a board.
 */
#pragma once

#include "simulator/topology/port_topology.h"

#include <cstdint>
#include <vector>

namespace ravnsim {

class JsonValue;

/** What a board that virtualises N_Port IDs has. */
struct NpivTopology {
  bool ready = true;
  std::uint32_t port_limit = 255;
  std::uint32_t login_limit = 4096;  ///< of all its ports with remote ports
  std::vector<PortTopology> ports;
};

/** Reads the virtual ports of a board whose own port has this name. */
NpivTopology read_npiv(const JsonValue& value, const Wwn& own_port);

}  // namespace ravnsim
