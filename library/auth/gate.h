/**
 * @file
 * What every authentication call asks first.
 */
#pragma once

#include "driver_abi/status.h"
#include "library/boards/driver_info.h"

#include <ovk/auth.h>

#include <cstdint>

namespace ovk {

/** OVK_OK on a board that can authenticate; else the result of the call. Nothing is logged. */
inline std::uint32_t require_authentication(std::uint32_t board) {
  return require_sli4(board, OVK_AUTH_NOT_SUPPORTED);
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
