#include "driver_abi/records/oas.h"

#include "library/core/command.h"
#include "library/core/in_out_count.h"
#include "library/core/payload.h"

#include <ovk/features.h>
#include <ovk/npiv.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <span>

using ovk::Command;
using ovk::DriverStatus;
using ovk::HeapBuffer;
using ovk::LogPlace;
using ovk::OasAction;
using ovk::OasDriverEntry;
using ovk::OasDriverList;
using ovk::Outcome;

namespace {

/** A rule, which travels as text. */
struct OasRulePayload {
  char text[6656];
};

static_assert(sizeof(OasDriverList{}.entries) == OVK_OAS_MAX_LUNS * sizeof(OasDriverEntry));

/** Room for the nodes among which a rule's target is looked for. */
struct TargetNodes {
  static constexpr std::uint32_t room = 64;
  std::uint32_t count;
  NodeInformation nodes[room + 1];
};

static_assert(sizeof(TargetNodes) == 20024);
static_assert(offsetof(TargetNodes, count) == offsetof(NodeInformationList, count));
static_assert(offsetof(TargetNodes, nodes) == offsetof(NodeInformationList, nodes));

/** The OAS commands carry their own id in the selector word. */
template <ovk::CommandName name>
constexpr std::uint32_t id_of = name->id;

/** The names of the local and the target port as hex digits. */
using PortPairText = std::array<char, 2 * 2 * sizeof(Wwn) + 1>;

PortPairText port_pair_text(const Wwn& local, const Wwn& target) {
  PortPairText text{};
  char* next = text.data();
  for (const Wwn* wwn : {&local, &target}) {
    for (const std::uint8_t byte : wwn->bytes) {
      std::snprintf(next, 3, "%02x", byte);
      next += 2;
    }
  }
  return text;
}

void convert(const OasDriverEntry& entry, OasLun& lun) {
  constexpr std::size_t levels = 4;
  for (std::size_t level = 0; level < levels; ++level) {
    std::memcpy(&lun.lun[2 * (levels - 1 - level)], entry.lun.data() + 2 * level, 2);
  }
  std::uint64_t number = 0;
  for (const std::uint8_t byte : entry.lun) {
    number = number << 8 | byte;
  }
  lun.scsi_lun = number;
  lun.flag1 = entry.flags >> 1 & 1;
  lun.flag0 = entry.flags & 1;
  lun.priority = entry.priority;
  std::ranges::copy(entry.port_wwns, lun.port_wwns);
}

/** The driver's OAS version; nothing when the driver refuses to tell it. */
std::optional<std::int32_t> read_version(std::uint32_t board, LogPlace place) {
  Command command{board, {.selector = id_of<"RAVN_MGMT_OAS_VER">}, place};
  const Outcome outcome = command.invoke<"RAVN_MGMT_OAS_VER">();
  if (outcome.delivered() && !outcome.succeeded()) {
    return std::nullopt;
  }
  // Intended: when the probe was not delivered, the version is what the block holds.
  return static_cast<std::int32_t>(command.block.value);
}

/** The driver's word for an OvkOasOperation. */
OasAction driver_operation(std::uint8_t operation) {
  switch (operation) {
    case OVK_OAS_SET:
      return OasAction::set;
    case OVK_OAS_CLEAR:
      return OasAction::clear;
    default:
      return OasAction::none;
  }
}

std::uint32_t send_rule(std::uint32_t board, OasAction action, const OasRulePayload& rule,
                        LogPlace place) {
  Command command{
      board,
      {.code = static_cast<std::uint32_t>(action), .selector = id_of<"RAVN_MGMT_OAS_SET">},
      place};
  return command.invoke<"RAVN_MGMT_OAS_SET">(&rule).result_if_delivered(
      {{DriverStatus::oas_rule_already_set, OVK_OK},
       {DriverStatus::no_memory, OVK_OAS_NO_MEMORY},
       {DriverStatus::not_supported, OVK_OAS_NOT_SUPPORTED},
       {DriverStatus::feature_disabled, OVK_OAS_DISABLED},
       {DriverStatus::oas_bad_rule, OVK_OAS_RULE_REFUSED},
       {DriverStatus::oas_rule_table_full, OVK_OAS_RULE_REFUSED}});
}

/** Looks for the target among the ports that the local port is logged in with. */
std::uint32_t check_target(std::uint32_t board, const Wwn& local, const Wwn& target) {
  const HeapBuffer<TargetNodes> known;
  if (!known) {
    return OVK_NO_MEMORY;
  }
  known->count = TargetNodes::room;
  void* list = known.get();
  if (OVK_GetAllNodeInfoByWWN(board, &local, static_cast<NodeInformationList*>(list)) != OVK_OK) {
    return OVK_OAS_NODES_UNKNOWN;
  }
  const std::span delivered{known->nodes, std::min(known->count, TargetNodes::room)};
  for (const NodeInformation& node : delivered) {
    if (std::memcmp(&node.port_wwn, &target, sizeof target) == 0) {
      return OVK_OK;
    }
  }
  return OVK_OAS_TARGET_UNKNOWN;
}

std::uint32_t send_and_check(std::uint32_t board, const Wwn& local, const Wwn& target,
                             OasAction action, const OasRulePayload& rule, LogPlace place) {
  const std::uint32_t result = send_rule(board, action, rule, place);
  return result == OVK_OK ? check_target(board, local, target) : result;
}

}  // namespace

std::uint32_t OVK_GetOASLunList(std::uint32_t board, const Wwn* local_port, const Wwn* target_port,
                                std::uint32_t /*unused*/, OasLunList* list) {
  if (list == nullptr) {
    return OVK_MORE_DATA;
  }
  const HeapBuffer<OasDriverList> reply;
  if (!reply) {
    return OVK_NO_MEMORY;
  }
  Command command{board, {.selector = id_of<"RAVN_MGMT_OAS_GET">}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_OAS_GET">(local_port, target_port, reply.get());
  if (!outcome.delivered()) {
    return outcome.invoke_result == OVK_MORE_DATA ? OVK_MORE_DATA : OVK_FAILED;
  }
  if (!outcome.succeeded()) {
    return outcome.result({{DriverStatus::oas_no_lun, OVK_OAS_NO_LUN},
                           {DriverStatus::oas_no_such_port, OVK_OAS_NO_SUCH_PORT},
                           {DriverStatus::not_supported, OVK_OAS_NOT_SUPPORTED},
                           {DriverStatus::feature_disabled, OVK_OAS_DISABLED}});
  }
  const std::uint32_t available = command.block.reply_size;
  const std::uint32_t delivered =
      std::min<std::uint32_t>({available, list->count, OVK_OAS_MAX_LUNS});
  for (std::uint32_t i = 0; i < delivered; ++i) {
    convert(reply->entries[i], list->luns[i]);
  }
  return ovk::report_count(list->count, available);
}

std::uint32_t OVK_SetOASLun(std::uint32_t board, const Wwn* local_port, const Wwn* target_port,
                            std::uint32_t lun_low, std::uint32_t lun_high, std::uint32_t /*unused*/,
                            std::uint8_t operation) {
  const LogPlace place = ovk::here();
  const std::optional<std::int32_t> version = read_version(board, place);
  if (!version) {
    return OVK_OAS_NOT_SUPPORTED;
  }
  const HeapBuffer<OasRulePayload> rule;
  if (!rule) {
    return OVK_OAS_NO_MEMORY;
  }
  const OasAction action = driver_operation(operation);
  if (action == OasAction::none) {
    return OVK_FAILED;
  }
  // Intended: a version leads the rule only when it is negative.
  const auto lead = static_cast<std::uint32_t>(std::min(*version, 0));
  std::snprintf(rule->text, sizeof rule->text, "%02x%s%08x%08x", lead,
                port_pair_text(*local_port, *target_port).data(), lun_high, lun_low);
  return send_and_check(board, *local_port, *target_port, action, *rule, place);
}

std::uint32_t OVK_SetOASLunV2(std::uint32_t board, const Wwn* local_port, const Wwn* target_port,
                              std::uint32_t /*unused*/, const OasRule* rule) {
  constexpr unsigned lead = 1;
  const LogPlace place = ovk::here();
  const std::optional<std::int32_t> version = read_version(board, place);
  if (!version) {
    return OVK_OAS_NOT_SUPPORTED;
  }
  const HeapBuffer<OasRulePayload> payload;
  if (!payload) {
    return OVK_OAS_NO_MEMORY;
  }
  const OasAction action = driver_operation(rule->operation);
  if (action == OasAction::none || rule->priority > OVK_OAS_MAX_PRIORITY) {
    return OVK_FAILED;
  }
  if (*version < 1) {
    return OVK_OAS_VERSION_TOO_LOW;
  }
  std::snprintf(payload->text, sizeof payload->text, "%02x%s%016llx%02x", lead,
                port_pair_text(*local_port, *target_port).data(),
                static_cast<unsigned long long>(rule->lun), rule->priority);
  return send_and_check(board, *local_port, *target_port, action, *payload, place);
}
