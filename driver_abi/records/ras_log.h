/**
 * @file
 * What RAVN_MGMT_GET_RAS_LOG exchanges beside the log's bytes. No public source defines this
 * layout: where a host shows another, it is mended here.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace ovk {

/** The extent of the firmware log, which is a ring. */
struct RasLogExtent {
  std::uint32_t available;  ///< bytes of the log that can be read
  std::uint32_t oldest;     ///< where among them the oldest one stands
};

struct RasLogExchange {
  RasLogExtent extent;  ///< out
  std::uint32_t offset;
  std::uint32_t size;
};

static_assert(sizeof(RasLogExchange) == 16);
static_assert(offsetof(RasLogExchange, offset) == 8);
static_assert(offsetof(RasLogExchange, size) == 12);

}  // namespace ovk
