/**
 * @file
 * The destination of an ELS request. No public source defines this layout: where a host shows
 * another, it is mended here.
 */
#pragma once

#include <ovk/types.h>

#include <cstddef>
#include <cstdint>

namespace ovk {

/** Names a port by its name, or by its address with a name that is all zero. */
struct ElsDestinationRecord {
  Wwn port_wwn;
  std::uint32_t fc_id;
  std::uint32_t reserved12;
};

static_assert(sizeof(ElsDestinationRecord) == 16);
static_assert(offsetof(ElsDestinationRecord, fc_id) == 8);

}  // namespace ovk
