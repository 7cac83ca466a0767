#include "driver_abi/records/fcp_priority.h"

#include "simulator/board/saved.h"
#include "simulator/call/report.h"
#include "simulator/commands/subsystem.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace ravnsim {

namespace {

using ovk::FcpPriorityRule;
using ovk::FcpPriorityTable;

/** The rules and whether they apply; the driver remembers both. */
struct FcpPriorityState {
  explicit FcpPriorityState(Adapter& adapter)
      : rules{adapter, "fcp-priority-rules"}, flag{adapter, "fcp-priority-flag"} {}

  SavedList<FcpPriorityRule> rules;
  Saved<std::uint32_t> flag;
};

/** The fields before a rule's first wildcard. */
std::ptrdiff_t specific_fields(const FcpPriorityRule& rule) {
  ovk::FcpPriorityField wildcard;
  wildcard.fill(0xFF);
  return std::ranges::find(rule.match, wildcard) - rule.match.begin();
}

/** The driver takes the first rule that matches, so a general one must not hide a specific one. */
bool is_ordered(const std::vector<FcpPriorityRule>& rules) {
  return std::ranges::is_sorted(rules, std::ranges::greater{}, specific_fields);
}

DriverStatus get_rules(Adapter& adapter, Request& request) {
  const auto& rules = adapter.state<FcpPriorityState>().rules.records();
  auto& table = request.output<FcpPriorityTable>(1);
  const std::size_t room = std::min<std::size_t>(request.block().request_size, table.rules.size());
  table.count = static_cast<std::uint32_t>(rules.size());
  std::copy_n(rules.begin(), std::min(room, rules.size()), table.rules.begin());
  return DriverStatus::success;
}

DriverStatus set_rules(Adapter& adapter, Request& request) {
  const auto& table = request.input<FcpPriorityTable>(1);
  if (table.count != request.block().request_size ||
      table.count > adapter.topology().offers.fcp_priority.limit) {
    return DriverStatus::does_not_fit;
  }
  const std::vector<FcpPriorityRule> rules(table.rules.begin(), table.rules.begin() + table.count);
  if (!is_ordered(rules)) {
    report("RAVN_MGMT_SET_FCP_PRIORITY: a general rule stands before a more specific one");
    return DriverStatus::not_permitted;
  }
  adapter.state<FcpPriorityState>().rules.change(
      [&](std::vector<FcpPriorityRule>& known) { known = rules; });
  return DriverStatus::success;
}

DriverStatus get_flag(Adapter& adapter, Request& request) {
  request.block().code = adapter.state<FcpPriorityState>().flag.get();
  return DriverStatus::success;
}

DriverStatus set_flag(Adapter& adapter, Request& request) {
  const std::uint32_t flag = request.block().code;
  if (flag > 1) {
    return DriverStatus::not_permitted;
  }
  adapter.state<FcpPriorityState>().flag.set(flag);
  return DriverStatus::success;
}

}  // namespace

void add_fcp_priority_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_GET_FCP_PRIORITY">(get_rules);
  table.on<"RAVN_MGMT_GET_FCP_PRIORITY_FLAG">(get_flag);
  table.on<"RAVN_MGMT_SET_FCP_PRIORITY">(set_rules);
  table.on<"RAVN_MGMT_SET_FCP_PRIORITY_FLAG">(set_flag);
}

}  // namespace ravnsim
