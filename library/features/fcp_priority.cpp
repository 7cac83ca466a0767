#include "library/features/fcp_priority.h"

#include "driver_abi/records/fcp_priority.h"
#include "library/core/command.h"
#include "library/core/in_out_count.h"
#include "library/core/payload.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <numeric>
#include <span>

using ovk::Command;
using ovk::FcpPriorityTable;
using ovk::HeapBuffer;
using ovk::Outcome;

namespace {

constexpr std::size_t match_fields = std::size(FcpPriorityEntry{}.match);

// The table as it travels begins as the caller's does. The driver copies a whole one; what a longer
// table has stands behind it.
static_assert(offsetof(FcpPriorityTable, rules) == offsetof(FcpPriorityList, entries));
static_assert(sizeof(ovk::FcpPriorityRule) == sizeof(FcpPriorityEntry));

constexpr std::size_t list_size(std::uint32_t count) {
  return offsetof(FcpPriorityList, entries) + count * sizeof(FcpPriorityEntry);
}

/** The size of a payload that holds a table of this many rules, if a table can have as many. */
std::size_t payload_size(std::uint32_t count) {
  return count > OVK_FCP_PRIORITY_MAX_ENTRIES ? sizeof(FcpPriorityTable) : list_size(count);
}

bool is_wildcard(const FcpPriorityMatch& field) {
  constexpr std::uint64_t all_ones = ~std::uint64_t{0};
  return std::memcmp(field.bytes, &all_ones, sizeof all_ones) == 0;
}

/** The fields before a rule's first wildcard: what makes one rule more specific than another. */
std::size_t specific_fields(const FcpPriorityEntry& entry) {
  return static_cast<std::size_t>(
      std::distance(std::begin(entry.match), std::ranges::find_if(entry.match, is_wildcard)));
}

}  // namespace

std::uint32_t order_fcp_priority_list(FcpPriorityList* list) {
  const std::uint32_t count = list->count;
  if (count == 0) {
    return OVK_OK;
  }
  if (count > OVK_FCP_PRIORITY_MAX_ENTRIES) {
    return OVK_FAILED;
  }
  HeapBuffer<FcpPriorityEntry> copy{ovk::unfilled, count * sizeof(FcpPriorityEntry)};
  if (!copy) {
    return OVK_FAILED;
  }
  copy.fill(list->entries, count * sizeof(FcpPriorityEntry));
  const std::span<const FcpPriorityEntry> rules{copy.get(), count};

  // The place where the rules of each kind end; the most specific kind stands first.
  std::array<std::uint32_t, match_fields + 1> end{};
  for (const FcpPriorityEntry& rule : rules) {
    ++end[specific_fields(rule)];
  }
  std::partial_sum(end.rbegin(), end.rend(), end.rbegin());

  // Intended: rules of one kind come out in the reverse of their order.
  for (const FcpPriorityEntry& rule : rules) {
    list->entries[--end[specific_fields(rule)]] = rule;
  }
  return OVK_OK;
}

std::uint32_t OVK_QoSGetGlobalFlag(std::uint32_t board, std::uint32_t* flag) {
  Command command{board};
  const Outcome outcome = command.invoke<"RAVN_MGMT_GET_FCP_PRIORITY_FLAG">();
  if (outcome.succeeded()) {
    *flag = command.block.code;
  }
  return outcome.result();
}

std::uint32_t OVK_QoSSetGlobalFlag(std::uint32_t board, std::uint32_t flag) {
  Command command{board, {.code = flag}};
  return command.invoke<"RAVN_MGMT_SET_FCP_PRIORITY_FLAG">().result();
}

std::uint32_t OVK_QoSGetConfig(std::uint32_t board, FcpPriorityList* list) {
  const std::uint32_t capacity = list->count;
  const HeapBuffer<FcpPriorityTable> payload{payload_size(capacity)};
  if (!payload) {
    return OVK_NO_MEMORY;
  }
  if (capacity > OVK_FCP_PRIORITY_MAX_ENTRIES) {
    return OVK_FAILED;
  }
  Command command{board, {.request_size = capacity}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_GET_FCP_PRIORITY">(payload.get());
  if (!outcome.succeeded()) {
    return outcome.result();
  }
  const std::uint32_t result = ovk::report_count(list->count, payload->count);
  payload.copy_out(list, list_size(capacity));
  return result;
}

std::uint32_t OVK_QoSSetConfig(std::uint32_t board, FcpPriorityList* list) {
  HeapBuffer<FcpPriorityTable> payload{ovk::unfilled, payload_size(list->count)};
  if (!payload) {
    return OVK_NO_MEMORY;
  }
  if (list->count > OVK_FCP_PRIORITY_MAX_ENTRIES) {
    return OVK_FAILED;
  }
  if (const std::uint32_t result = order_fcp_priority_list(list); result != OVK_OK) {
    return result;
  }
  payload.fill(list, list_size(list->count));
  Command command{board, {.request_size = list->count}};
  return command.invoke<"RAVN_MGMT_SET_FCP_PRIORITY">(payload.get()).result();
}
