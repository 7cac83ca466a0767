/**
 * @file
 * The persistent bindings of target ports to the host's SCSI addresses. No public source defines
 * this layout: where a host shows another, it is mended here.
 */
#pragma once

#include <ovk/types.h>

#include <cstddef>
#include <cstdint>

namespace ovk {

struct BindingEntry {
  std::uint32_t bus;
  std::uint32_t target;
  std::uint32_t fc_id;
  std::uint32_t reserved12;
  Wwn node_wwn;
  Wwn port_wwn;
};

static_assert(sizeof(BindingEntry) == 32);
static_assert(offsetof(BindingEntry, node_wwn) == 16);
static_assert(offsetof(BindingEntry, port_wwn) == 24);

/** The answer to RAVN_MGMT_LIST_BIND. */
struct BindingRecord {
  std::uint32_t count;
  BindingEntry entries[4096];
};

static_assert(sizeof(BindingRecord) == 131076);

}  // namespace ovk
