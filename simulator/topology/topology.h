/**
 * @file
 * The simulated host as its topology file describes it. Nothing here changes while the host runs;
 * what changes is the state that an Adapter holds.
 *
 * Each section of the file has a header of its own. A subsystem that needs more adds a member with
 * its default to a structure there, and the line that reads it to the structure's `read_members`.
 */
#pragma once

#include "simulator/topology/board_topology.h"

#include <string>
#include <string_view>
#include <vector>

namespace ravnsim {

class JsonDocument;

/** The driver that serves the boards. */
struct DriverTopology {
  std::string name;
  std::string version;
  bool reset_mode_3 = true;  ///< whether it has the third mode of a reset
};

/** A simulated host. */
struct Topology {
  DriverTopology driver;
  std::vector<BoardTopology> boards;
};

/** The built-in host, in the form of a topology file. */
extern const std::string_view default_topology;

/** Reads a topology; throws a ConfigurationError that says what is wrong in it and where. */
Topology read_topology(const JsonDocument& document);

}  // namespace ravnsim
