/**
 * @file
 * The gate of the authentication calls, and the driver statuses that they hand out.
 */
#pragma once

#include "driver_abi/status.h"
#include "library/boards/driver_info.h"

#include <ovk/auth.h>

#include <cstdint>
#include <optional>

namespace ovk {

/** Nothing on a board that can authenticate; else the result of the call. */
inline std::optional<std::uint32_t> authentication_gate(std::uint32_t board) {
  return sli4_gate(board, OVK_AUTH_NOT_SUPPORTED);
}

/** Whether the interface's name for a driver status has the driver's value. */
consteval bool is(OvkAuthStatus named, DriverStatus status) {
  return static_cast<std::uint32_t>(named) == static_cast<std::uint32_t>(status);
}

static_assert(is(OVK_AUTH_STATUS_NOT_FOUND, DriverStatus::not_found));
static_assert(is(OVK_AUTH_STATUS_NO_ROOM, DriverStatus::no_memory));
static_assert(is(OVK_AUTH_STATUS_NOT_OFFERED, DriverStatus::not_supported));
static_assert(is(OVK_AUTH_STATUS_NOT_PERMITTED, DriverStatus::not_permitted));
static_assert(is(OVK_AUTH_STATUS_DISABLED, DriverStatus::feature_disabled));

}  // namespace ovk
