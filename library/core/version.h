/**
 * @file
 * The revision of the interface, which GetOvkRev and OVK_GetDrvInfo give.
 */
#pragma once

#include <cstdint>

namespace ovk {

inline constexpr std::uint8_t interface_major = 4;
inline constexpr std::uint8_t interface_minor = 0;

}  // namespace ovk
