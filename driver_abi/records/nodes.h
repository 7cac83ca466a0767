/**
 * @file
 * The nodes that a board's port is logged in with. No public source defines this layout: where a
 * host shows another, it is mended here.
 */
#pragma once

#include <ovk/types.h>

#include <cstddef>
#include <cstdint>

namespace ovk {

enum class NodeState : std::uint16_t { logged_in = 1, mapped = 2 };

/** The target id of a node that is no target. */
inline constexpr std::uint32_t no_target = 0xFFFFFFFF;

/** One entry of the answer to RAVN_MGMT_NODEINFO. */
struct NodeRecord {
  std::uint16_t handle;
  NodeState state;
  std::uint32_t fc_id;
  Wwn port_wwn;
  Wwn node_wwn;
  std::uint32_t target_id;
};

static_assert(sizeof(NodeRecord) == 28);
static_assert(offsetof(NodeRecord, fc_id) == 4);
static_assert(offsetof(NodeRecord, port_wwn) == 8);
static_assert(offsetof(NodeRecord, node_wwn) == 16);
static_assert(offsetof(NodeRecord, target_id) == 24);

/** The answer to RAVN_MGMT_NODEINFO. */
struct NodeTable {
  NodeRecord entries[512];
};

static_assert(sizeof(NodeTable) == 14336);

}  // namespace ovk
