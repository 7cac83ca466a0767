/**
 * @file
 * The order in which FCP priority rules apply.
 */
#pragma once

#include <ovk/features.h>

#include <cstdint>

extern "C" {

/**
 * Brings rules into the order in which they apply, the most specific first, as OVK_QoSSetConfig
 * describes it.
 *
 * @param list  the rules
 * @return OVK_OK; OVK_FAILED when there is no memory, and then the list is as it was
 */
OVK_API uint32_t order_fcp_priority_list(FcpPriorityList* list);
}
