/**
 * @file
 * Node identification data (RNID, FC-LS).
 */
#pragma once

#include <ovk/types.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace ovk {

/** The general topology discovery data of a port, as numbers of the host. */
struct RnidData {
  std::uint32_t unit_type;  ///< an associated type of FC-LS
  std::uint32_t physical_port;
  std::uint32_t attached_nodes;
  std::uint16_t ip_version;
  std::uint16_t udp_port;
  std::array<std::uint8_t, 16> ip_address;
  std::uint16_t reserved32;
  std::uint16_t topology_flags;
};

static_assert(sizeof(RnidData) == 36);
static_assert(offsetof(RnidData, ip_address) == 16);
static_assert(offsetof(RnidData, topology_flags) == 34);

/** What RAVN_MGMT_HBA_GETMGMTINFO gives and RAVN_MGMT_HBA_SETMGMTINFO takes. */
struct RnidManagementRecord {
  Wwn wwn;
  RnidData data;
};

static_assert(sizeof(RnidManagementRecord) == 44);
static_assert(offsetof(RnidManagementRecord, data) == 8);

}  // namespace ovk
