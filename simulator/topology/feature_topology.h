/**
 * @file
 * What a board offers of traffic policy, firmware log and authentication, as the topology file
 * says. A board without one of them answers its commands as not supported.
 */
#pragma once

#include "simulator/topology/wwn.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ravnsim {

class JsonObject;

/** FCP priority rules. */
struct FcpPriorityTopology {
  static constexpr std::uint32_t most = 998;

  std::uint32_t limit = most;  ///< the most rules that the driver takes
};

/** Optimized access storage. */
struct OasTopology {
  bool enabled = true;
  std::uint32_t version = 1;  ///< from 1 on, rules can have a priority
  std::uint32_t limit = 64;   ///< the most rules
};

/** A range of priorities that the fabric gives to virtual machines. */
struct QfpaRange {
  std::uint8_t low = 0;
  std::uint8_t high = 0;
  std::uint8_t qos_priority = 0;
  std::uint8_t ve_id_usage = 0;
};

/** Virtual machine identifiers. */
struct VmidTopology {
  std::vector<QfpaRange> ranges;
};

/** The firmware log. */
struct RasLogTopology {
  bool enabled = true;
  std::uint32_t buffer_units = 1;          ///< in 256 KiB
  std::uint32_t bytes_per_command = 4096;  ///< what the firmware adds between two commands
};

/** A port with which the board can authenticate. */
struct AuthPeerTopology {
  Wwn port_wwn{};
  std::string expects;       ///< the secret by which it knows the board
  std::string answers_with;  ///< the secret by which the board knows it
};

/** FC-SP authentication. */
struct AuthTopology {
  std::vector<AuthPeerTopology> peers;
};

/** All of these. */
struct FeatureTopology {
  FcpPriorityTopology fcp_priority;
  std::optional<OasTopology> oas;
  std::optional<VmidTopology> vmid;
  std::optional<RasLogTopology> ras_log;
  std::optional<AuthTopology> auth;
};

/** Reads the members of a board that describe these. */
void read_members(JsonObject& board, FeatureTopology& features);

}  // namespace ravnsim
