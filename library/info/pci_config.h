/**
 * @file
 * The byte order of PCI configuration data.
 */
#pragma once

#include <ovk/types.h>

extern "C" {

/** Swaps the data after a read and before a write: nothing to do in the driver's byte order. */
OVK_API void SwapPciData(void);
}
