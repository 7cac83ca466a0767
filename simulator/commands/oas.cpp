#include "driver_abi/records/oas.h"

#include "simulator/board/adapter.h"
#include "simulator/board/port_list.h"
#include "simulator/board/saved.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"
#include "simulator/commands/guards.h"

#include <algorithm>
#include <array>
#include <charconv>
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

class OasState {
 public:
  explicit OasState(Adapter& adapter) : rules_{adapter, "oas-rules"} {}

  [[nodiscard]] const std::vector<Rule>& rules() const { return rules_.records(); }

  /** Sets a rule, or changes its priority. */
  DriverStatus set(const Rule& rule, std::uint32_t limit) {
    const auto known = find(rule);
    if (known != rules().end() && known->priority == rule.priority &&
        known->has_priority == rule.has_priority) {
      return DriverStatus::oas_rule_already_set;
    }
    if (known == rules().end() && rules().size() >= limit) {
      return DriverStatus::oas_rule_table_full;
    }
    const auto place = known - rules().begin();
    rules_.change([&](std::vector<Rule>& rules) {
      rules.resize(std::max(rules.size(), static_cast<std::size_t>(place + 1)));
      rules.at(static_cast<std::size_t>(place)) = rule;
    });
    return DriverStatus::success;
  }

  DriverStatus clear(const Rule& rule) {
    const auto known = find(rule);
    if (known == rules().end()) {
      return DriverStatus::not_found;
    }
    rules_.change([&](std::vector<Rule>& rules) { rules.erase(known); });
    return DriverStatus::success;
  }

 private:
  [[nodiscard]] std::vector<Rule>::const_iterator find(const Rule& rule) const {
    return std::ranges::find_if(rules(),
                                [&](const Rule& other) { return other.names_the_same(rule); });
  }

  SavedList<Rule> rules_;
};

/** Takes hex numbers of a fixed length off a text. */
class HexReader {
 public:
  explicit HexReader(std::string_view text) : text_{text} {}

  template <typename Number>
  bool take(Number& number) {
    const std::string_view digits = text_.substr(0, 2 * sizeof(Number));
    text_.remove_prefix(digits.size());
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    return error == std::errc{} && digits.size() == 2 * sizeof(Number) &&
           end == digits.data() + digits.size();
  }

  bool take(Wwn& wwn) {
    return std::ranges::all_of(wwn.bytes, [this](std::uint8_t& byte) { return take(byte); });
  }

  [[nodiscard]] bool at_end() const { return text_.empty(); }

 private:
  std::string_view text_;
};

/** A rule is a kind, two port names, a LUN and, of kind 1, a priority. */
std::optional<Rule> parse_rule(std::string_view text, std::uint32_t version) {
  HexReader reader{text};
  Rule rule{};
  std::uint8_t kind = 0;
  if (!reader.take(kind) || kind > 1 || !reader.take(rule.local_port) ||
      !reader.take(rule.target_port) || !reader.take(rule.lun)) {
    return std::nullopt;
  }
  rule.has_priority = kind == 1;
  if (rule.has_priority && (version < 1 || !reader.take(rule.priority) || rule.priority > 127)) {
    return std::nullopt;
  }
  return reader.at_end() ? std::optional{rule} : std::nullopt;
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

constexpr Guard offers_oas{
    [](Adapter& adapter, const Request&) { return adapter.topology().offers.oas.has_value(); },
    DriverStatus::not_supported};

constexpr Guard names_itself{repeats_its_id, DriverStatus::not_supported};

constexpr Guard is_enabled{
    [](Adapter& adapter, const Request&) { return adapter.topology().offers.oas->enabled; },
    DriverStatus::feature_disabled};

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
  auto& state = adapter.state<OasState>();
  switch (OasAction{request.block().code}) {
    case OasAction::set:
      return state.set(*rule, oas.limit);
    case OasAction::clear:
      return state.clear(*rule);
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
  for (const Rule& rule : adapter.state<OasState>().rules()) {
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
  table.when(offers_oas)
      .when(names_itself)
      .when(is_enabled)
      .on<"RAVN_MGMT_OAS_GET">(list_rules)
      .on<"RAVN_MGMT_OAS_SET">(set_rule)
      .on<"RAVN_MGMT_OAS_VER">(get_version);
}

}  // namespace ravnsim
