/**
 * @file
 * What happens to a board while it is in use.
 */
#pragma once

#include "simulator/topology/port_topology.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace ravnsim {

class JsonValue;

/** What the timeline of a board knows to happen. */
enum class IncidentKind { link_down, link_up, lip, rscn, port_arrives, port_leaves };

/** One entry of a board's timeline. */
struct Incident {
  IncidentKind kind = IncidentKind::rscn;
  std::optional<std::uint32_t> after_commands;  ///< of the board; else after_seconds
  std::uint32_t after_seconds = 0;
  std::uint32_t times = 1;
  PortTopology port;  ///< the port concerned; of an RSCN, only its fc_id
};

/** Reads the timeline of a board whose discovered ports were read. */
std::vector<Incident> read_timeline(const JsonValue& list,
                                    const std::vector<PortTopology>& discovered);

}  // namespace ravnsim
