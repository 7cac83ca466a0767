/**
 * @file
 * What every authentication call asks first.
 */
#pragma once

#include "core/driver_info.h"

#include <ovk/auth.h>

#include <cstdint>

namespace ovk {

/** OVK_OK on a board that can authenticate; else the result of the call. Nothing is logged. */
inline std::uint32_t require_authentication(std::uint32_t board) {
  return require_sli4(board, OVK_AUTH_NOT_SUPPORTED);
}

}  // namespace ovk
