/**
 * @file
 * The attributes of a board and of its port as the driver gives them.
 */
#pragma once

#include "driver_abi/records/port.h"
#include "library/core/command.h"

#include <ovk/hbaapi.h>

#include <cstdint>

namespace ovk {

/** Has the driver write a board's attributes into a zeroed record. Whether it did is not told. */
void read_adapter_attributes(std::uint32_t board, AdapterAttributes& attrs);

/** Has the driver write the attributes of a board's own port into a zeroed record. */
Outcome read_own_port(std::uint32_t board, PortRecord& port);

}  // namespace ovk
