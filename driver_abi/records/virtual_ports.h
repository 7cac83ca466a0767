/**
 * @file
 * Virtual ports (NPIV), and the nodes that a port of a board is logged in with. No public source
 * defines this layout: where a host shows another, it is mended here.
 */
#pragma once

#include <ovk/types.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace ovk {

/** The answer to RAVN_MGMT_VPORT_GET_RESRC. */
struct VportResourceRecord {
  std::uint32_t port_limit;
  std::uint32_t ports;
  std::uint32_t login_limit;
  std::uint32_t logins;
};

static_assert(sizeof(VportResourceRecord) == 16);

struct VportListEntry {
  Wwn port_wwn;
  Wwn node_wwn;
  std::uint32_t fc_id;
};

static_assert(sizeof(VportListEntry) == 20);
static_assert(offsetof(VportListEntry, fc_id) == 16);

/** The answer to RAVN_MGMT_VPORT_GET_LIST. */
struct VportListRecord {
  std::uint32_t count;
  VportListEntry entries[4096];
};

static_assert(sizeof(VportListRecord) == 81924);

/** The answer to RAVN_MGMT_VPORT_GET_ATTRIB. */
struct VportRecord {
  Wwn port_wwn;
  Wwn node_wwn;
  std::uint32_t fc_id;
  std::uint32_t type;   ///< of FC-HBA
  std::uint32_t state;  ///< of FC-HBA
  std::uint32_t classes;
  std::array<std::uint8_t, 32> fc4_types_active;
  char symbolic_name[256];
  Wwn fabric_name;
  std::uint32_t max_frame_size;
  std::uint32_t reserved332[2];
};

static_assert(sizeof(VportRecord) == 340);
static_assert(offsetof(VportRecord, fc_id) == 16);
static_assert(offsetof(VportRecord, fc4_types_active) == 32);
static_assert(offsetof(VportRecord, symbolic_name) == 64);
static_assert(offsetof(VportRecord, max_frame_size) == 328);

struct VportNodeRecord {
  std::uint32_t fc_id;
  char symbolic_name[256];
  Wwn node_wwn;
  std::uint32_t type;   ///< of FC-HBA
  std::uint32_t state;  ///< of FC-HBA
  std::uint32_t classes;
  std::uint32_t speed;
  Wwn port_wwn;
  std::uint32_t max_frame_size;
  std::uint32_t supported_speeds;
  std::uint32_t reserved300;
  std::uint32_t list_tag;
};

static_assert(sizeof(VportNodeRecord) == 308);
static_assert(offsetof(VportNodeRecord, node_wwn) == 260);
static_assert(offsetof(VportNodeRecord, port_wwn) == 284);
static_assert(offsetof(VportNodeRecord, list_tag) == 304);

/** The answer to RAVN_MGMT_VPORT_GET_NODE_INFO. */
struct VportNodeList {
  std::uint32_t count;
  VportNodeRecord nodes[512];
};

static_assert(sizeof(VportNodeList) == 157700);

}  // namespace ovk
