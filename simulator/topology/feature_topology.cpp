#include "simulator/topology/feature_topology.h"

#include "simulator/topology/json_reader.h"

#include <cstddef>

namespace ravnsim {

namespace {

constexpr std::size_t most_ranges = 64;
constexpr Longest secret{128};

}  // namespace

static void read_members(JsonObject& in, FcpPriorityTopology& priority) {
  in.optional("limit", priority.limit, Range{0, FcpPriorityTopology::most});
}

static void read_members(JsonObject& in, OasTopology& oas) {
  in.optional("enabled", oas.enabled);
  in.optional("version", oas.version, Range{0, 255});
  in.optional("limit", oas.limit, Range{0, 4096});
}

static void read_members(JsonObject& in, QfpaRange& range) {
  in.required("low", range.low, Range{1, 255});
  in.required("high", range.high, Range{range.low, 255});
  in.optional("qos_priority", range.qos_priority, Range{0, 3});
  in.optional("ve_id_usage", range.ve_id_usage, Range{0, 1});
}

static void read_members(JsonObject& in, VmidTopology& vmid) {
  in.required("ranges", vmid.ranges);
  if (vmid.ranges.size() > most_ranges) {
    in.at("ranges").refuse("there are more than 64 ranges");
  }
}

static void read_members(JsonObject& in, RasLogTopology& log) {
  in.optional("enabled", log.enabled);
  in.optional("buffer_units", log.buffer_units, Range{1, 64});
  in.optional("bytes_per_command", log.bytes_per_command, Range{0, 64 * 262144});
}

static void read_members(JsonObject& in, AuthPeerTopology& peer) {
  in.required("port_wwn", peer.port_wwn);
  in.required("expects", peer.expects, secret);
  in.optional("answers_with", peer.answers_with, secret);
}

static void read_members(JsonObject& in, AuthTopology& auth) { in.list("peers", auth.peers); }

void read_members(JsonObject& board, FeatureTopology& features) {
  board.optional("fcp_priority", features.fcp_priority);
  board.optional("oas", features.oas);
  board.optional("vmid", features.vmid);
  board.optional("ras_log", features.ras_log);
  board.optional("auth", features.auth);
}

}  // namespace ravnsim
