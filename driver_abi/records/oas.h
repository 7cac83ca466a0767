/**
 * @file
 * Logical units with optimized access. No public source defines this layout: where a host shows
 * another, it is mended here.
 */
#pragma once

#include <ovk/types.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace ovk {

/** A logical unit as the driver lists it. */
struct OasDriverEntry {
  Wwn port_wwns[2];  ///< the board's port and the target's
  std::array<std::uint8_t, 8> lun;
  std::uint8_t flags;  ///< oas_active, oas_has_priority
  std::uint8_t priority;
};

/** The answer to RAVN_MGMT_OAS_GET. */
struct OasDriverList {
  std::array<OasDriverEntry, 256> entries;
};

static_assert(sizeof(OasDriverEntry) == 26);
static_assert(offsetof(OasDriverEntry, lun) == 16);
static_assert(offsetof(OasDriverEntry, flags) == 24);
static_assert(offsetof(OasDriverEntry, priority) == 25);
static_assert(sizeof(OasDriverList) == 6656);

inline constexpr std::uint8_t oas_active = 1;        ///< the target is logged in
inline constexpr std::uint8_t oas_has_priority = 2;  ///< the rule has a priority of its own

/** What RAVN_MGMT_OAS_SET does with a rule; the code of its Command block. */
enum class OasAction : std::uint32_t { none = 0, set = 1, clear = 2 };

}  // namespace ovk
