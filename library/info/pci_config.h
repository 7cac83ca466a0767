/**
 * @file
 * The byte order of PCI configuration data.
 */
#pragma once

#include <ovk/types.h>

extern "C" {

/** Comes after every read and before every write; the driver's byte order needs no change. */
OVK_API void SwapPciData(void);
}
