#include "simulator/topology/feature_topology.h"

#include "simulator/topology/json_reader.h"

#include <cstddef>

namespace ravnsim {

namespace {

constexpr Range<std::uint32_t> fcp_priority_limits{0, 998};
constexpr Range<std::uint32_t> oas_limits{0, 4096};
constexpr Range<std::uint32_t> oas_versions{0, 255};
constexpr Range<std::uint32_t> log_units{1, 64};
constexpr Range<std::uint32_t> log_growths{0, 64 * 262144};
constexpr std::size_t largest_ranges = 64;
constexpr std::size_t longest_secret = 128;

/** Hands a member to `read` when the board has it. */
template <typename Feature, typename Read>
std::optional<Feature> read_feature(const JsonValue& place, Read read) {
  if (!place.present()) {
    return std::nullopt;
  }
  Feature feature;
  read_object(place, [&](JsonObject& members) { read(feature, members); });
  return feature;
}

void read_oas(OasTopology& oas, JsonObject& members) {
  oas.enabled = members.at("enabled").flag(true);
  oas.version = static_cast<std::int32_t>(members.at("version").number(oas_versions, 1U));
  oas.limit = members.at("limit").number(oas_limits, 64U);
}

QfpaRange read_range(const JsonValue& value) {
  QfpaRange range;
  read_object(value, [&](JsonObject& members) {
    range.low = members.at("low").number<std::uint8_t>({1, 255});
    range.high = members.at("high").number<std::uint8_t>({range.low, 255});
    range.qos_priority = members.at("qos_priority").number<std::uint8_t>({0, 3}, 0);
    range.ve_id_usage = members.at("ve_id_usage").number<std::uint8_t>({0, 1}, 0);
  });
  return range;
}

void read_vmid(VmidTopology& vmid, JsonObject& members) {
  const JsonValue ranges = members.at("ranges");
  for (const JsonValue& range : ranges.elements()) {
    vmid.ranges.push_back(read_range(range));
  }
  if (vmid.ranges.size() > largest_ranges) {
    ranges.refuse("there are more than 64 ranges");
  }
}

void read_ras_log(RasLogTopology& log, JsonObject& members) {
  log.enabled = members.at("enabled").flag(true);
  log.buffer_units = members.at("buffer_units").number(log_units, 1U);
  log.bytes_per_command = members.at("bytes_per_command").number(log_growths, 4096U);
}

void read_auth(AuthTopology& auth, JsonObject& members) {
  for (const JsonValue& place : members.at("peers").elements_or_none()) {
    AuthPeerTopology peer;
    read_object(place, [&](JsonObject& peer_members) {
      peer.port_wwn = peer_members.at("port_wwn").wwn();
      peer.expects = peer_members.at("expects").text(longest_secret);
      peer.answers_with = peer_members.at("answers_with").text(longest_secret, "");
    });
    auth.peers.push_back(peer);
  }
}

}  // namespace

FeatureTopology read_feature_topology(JsonObject& board) {
  FeatureTopology features;
  features.fcp_priority.limit = fcp_priority_limits.most;
  if (const JsonValue place = board.at("fcp_priority"); place.present()) {
    read_object(place, [&](JsonObject& members) {
      features.fcp_priority.limit =
          members.at("limit").number(fcp_priority_limits, fcp_priority_limits.most);
    });
  }
  features.oas = read_feature<OasTopology>(board.at("oas"), read_oas);
  features.vmid = read_feature<VmidTopology>(board.at("vmid"), read_vmid);
  features.ras_log = read_feature<RasLogTopology>(board.at("ras_log"), read_ras_log);
  features.auth = read_feature<AuthTopology>(board.at("auth"), read_auth);
  return features;
}

}  // namespace ravnsim
