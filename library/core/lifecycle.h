/**
 * @file
 * The references on the host's management channel.
 */
#pragma once

#include <ovk/core.h>

#include <cstdint>

extern "C" {

/**
 * Takes one reference on the management channel and opens it when it is not open.
 *
 * @return 0; 1 when the host refused the channel, which leaves no reference
 */
OVK_API uint32_t ovk_mgmt_init(void);
}
