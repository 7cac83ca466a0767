/**
 * @file
 * The request that names a port, or a node, to the driver.
 */
#pragma once

#include <ovk/types.h>

#include <cstddef>
#include <cstdint>

namespace ovk {

struct WwnRequest {
  std::uint8_t reserved0[8];
  Wwn port_wwn;
  Wwn node_wwn;
  std::uint8_t reserved24[4];
};

static_assert(sizeof(WwnRequest) == 28);
static_assert(offsetof(WwnRequest, port_wwn) == 8);
static_assert(offsetof(WwnRequest, node_wwn) == 16);

}  // namespace ovk
