#include "driver_abi/records/oas.h"

#include "simulator/board/port_list.h"
#include "simulator/board/saved.h"
#include "simulator/commands/subsystem.h"
#include "simulator/topology/wwn.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace ravnsim {

namespace {

using ovk::OasAction;

struct Rule {
  Wwn local_port;
  Wwn target_port;
  std::uint64_t lun;
  std::uint8_t priority;
  bool has_priority;

  [[nodiscard]] bool names_the_same(const Rule& other) const {
    return local_port == other.local_port && target_port == other.target_port && lun == other.lun;
  }
};

struct OasState {
  explicit OasState(Adapter& adapter) : rules{adapter, "oas-rules"} {}

  SavedList<Rule> rules;
};

/** The place of the rule that names the same; behind the last one when there is none. */
std::size_t place_of(const std::vector<Rule>& rules, const Rule& rule) {
  const auto found =
      std::ranges::find_if(rules, [&](const Rule& other) { return other.names_the_same(rule); });
  return static_cast<std::size_t>(found - rules.begin());
}

/** Sets a rule, or changes its priority. */
DriverStatus set(SavedList<Rule>& saved, const Rule& rule, std::uint32_t limit) {
  const auto& rules = saved.records();
  const std::size_t place = place_of(rules, rule);
  if (place < rules.size() && rules[place].priority == rule.priority &&
      rules[place].has_priority == rule.has_priority) {
    return DriverStatus::oas_rule_already_set;
  }
  if (place == rules.size() && place >= limit) {
    return DriverStatus::oas_rule_table_full;
  }
  saved.change([&](std::vector<Rule>& changed) {
    changed.resize(std::max(changed.size(), place + 1));
    changed[place] = rule;
  });
  return DriverStatus::success;
}

DriverStatus clear(SavedList<Rule>& saved, const Rule& rule) {
  const std::size_t place = place_of(saved.records(), rule);
  if (place == saved.records().size()) {
    return DriverStatus::not_found;
  }
  saved.change([&](std::vector<Rule>& rules) {
    rules.erase(rules.begin() + static_cast<std::ptrdiff_t>(place));
  });
  return DriverStatus::success;
}

/** A rule is a kind, two port names, a LUN and, of kind 1, a priority. */
std::optional<Rule> parse_rule(std::string_view text, std::uint32_t version) {
  constexpr std::size_t without_priority = 25;
  const auto bytes = parse_hex(text);
  if (!bytes || bytes->size() < without_priority || bytes->front() > 1 ||
      bytes->size() != without_priority + bytes->front()) {
    return std::nullopt;
  }
  Rule rule{};
  auto at = bytes->begin() + 1;
  const auto take = [&](std::uint8_t& byte) { byte = *at++; };
  std::ranges::for_each(rule.local_port.bytes, take);
  std::ranges::for_each(rule.target_port.bytes, take);
  for (std::size_t i = 0; i < sizeof rule.lun; ++i) {
    rule.lun = rule.lun << 8 | *at++;
  }
  rule.has_priority = at != bytes->end();
  if (rule.has_priority) {
    take(rule.priority);
  }
  const bool valid = !rule.has_priority || (version >= 1 && rule.priority <= 127);
  return valid ? std::optional{rule} : std::nullopt;
}

std::string_view text_of(std::span<const std::uint8_t> bytes) {
  const std::string_view text{reinterpret_cast<const char*>(bytes.data()), bytes.size()};
  return text.substr(0, text.find('\0'));
}

/** The four levels of a LUN, the first one lowest, in the order in which SCSI sends them. */
std::array<std::uint8_t, 8> scsi_lun(std::uint64_t lun) {
  std::array<std::uint8_t, 8> bytes{};
  for (std::size_t level = 0; level < bytes.size() / 2; ++level) {
    bytes[2 * level] = static_cast<std::uint8_t>(lun >> (16 * level + 8));
    bytes[2 * level + 1] = static_cast<std::uint8_t>(lun >> (16 * level));
  }
  return bytes;
}

/** Whether the board has a port of that name, its own or a virtual one. */
bool has_port(const Adapter& adapter, const Wwn& port_wwn) {
  const BoardTopology& board = adapter.topology();
  return port_wwn == board.port.port_wwn ||
         (board.npiv && std::ranges::find(board.npiv->ports, port_wwn, &PortTopology::port_wwn) !=
                            board.npiv->ports.end());
}

DriverStatus get_version(Adapter& adapter, Request& request) {
  request.block().value = adapter.topology().offers.oas->version;
  return DriverStatus::success;
}

DriverStatus set_rule(Adapter& adapter, Request& request) {
  const OasTopology& oas = *adapter.topology().offers.oas;
  const auto rule = parse_rule(text_of(request.input_bytes(1)), oas.version);
  if (!rule || !has_port(adapter, rule->local_port)) {
    return DriverStatus::oas_bad_rule;
  }
  auto& rules = adapter.state<OasState>().rules;
  switch (OasAction{request.block().code}) {
    case OasAction::set:
      return set(rules, *rule, oas.limit);
    case OasAction::clear:
      return clear(rules, *rule);
    default:
      return DriverStatus::not_permitted;
  }
}

DriverStatus list_rules(Adapter& adapter, Request& request) {
  const auto& local_port = request.input<Wwn>(1);
  const auto& target_port = request.input<Wwn>(2);
  if (!has_port(adapter, local_port)) {
    return DriverStatus::oas_no_such_port;
  }
  const bool logged_in = adapter.state<PortList>().find(target_port) != nullptr;
  auto& list = request.output<ovk::OasDriverList>(3);
  std::uint32_t count = 0;
  for (const Rule& rule : adapter.state<OasState>().rules.records()) {
    if (rule.local_port != local_port || rule.target_port != target_port) {
      continue;
    }
    if (count < list.entries.size()) {
      const int flags =
          (logged_in ? ovk::oas_active : 0) | (rule.has_priority ? ovk::oas_has_priority : 0);
      list.entries[count] = {{rule.local_port, rule.target_port},
                             scsi_lun(rule.lun),
                             static_cast<std::uint8_t>(flags),
                             rule.priority};
    }
    ++count;
  }
  request.block().reply_size = count;
  return count == 0 ? DriverStatus::oas_no_lun : DriverStatus::success;
}

}  // namespace

void add_oas_handlers(HandlerTable& table) {
  table.when(offers<&FeatureTopology::oas>)
      .when(names_itself<DriverStatus::not_supported>)
      .when(is_enabled<&FeatureTopology::oas>)
      .on<"RAVN_MGMT_OAS_GET">(list_rules)
      .on<"RAVN_MGMT_OAS_SET">(set_rule)
      .on<"RAVN_MGMT_OAS_VER">(get_version);
}

}  // namespace ravnsim
