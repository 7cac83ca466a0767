/**
 * @file
 * The references on the host's management channel, and the interface's revision.
 */
#pragma once

#include <ovk/core.h>

#include <cstdint>

namespace ovk {

/** The revision of the interface, as GetOvkRev and OVK_GetDrvInfo give it. */
inline constexpr std::uint8_t interface_major = 4;
inline constexpr std::uint8_t interface_minor = 0;

}  // namespace ovk

extern "C" {

/**
 * Takes one reference on the management channel and opens it when it is not open.
 *
 * @return 0; 1 when the host refused the channel, which leaves no reference
 */
OVK_API uint32_t ovk_mgmt_init(void);
}
