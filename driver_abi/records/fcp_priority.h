/**
 * @file
 * The rules of FCP priority. No public source defines this layout: where a host shows another, it
 * is mended here.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ovk {

/** One field of a rule: eight bytes 0xFF match anything. */
using FcpPriorityField = std::array<std::uint8_t, 8>;

struct FcpPriorityRule {
  std::array<FcpPriorityField, 4> match;
  std::uint32_t priority;
};

/** What RAVN_MGMT_GET_FCP_PRIORITY gives and RAVN_MGMT_SET_FCP_PRIORITY takes. */
struct FcpPriorityTable {
  std::uint32_t count;
  std::array<FcpPriorityRule, 998> rules;
};

static_assert(sizeof(FcpPriorityRule) == 36);
static_assert(offsetof(FcpPriorityRule, priority) == 32);
static_assert(sizeof(FcpPriorityTable) == 35932);
static_assert(offsetof(FcpPriorityTable, rules) == 4);

}  // namespace ovk
