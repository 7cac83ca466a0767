/**
 * @file
 * Node identification data (RNID, FC-LS).
 */
#pragma once

#include "driver_abi/fc.h"

#include <ovk/types.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace ovk {

/** The versions of an IP address, and where an IPv4 address stands in the field of 16 bytes. */
enum IpVersion : std::uint16_t { no_ip = 0, ipv4 = 1, ipv6 = 2 };
inline constexpr std::size_t ipv4_place = 12;

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

/** What an LS_ACC to an RNID begins with. The names follow, if it has any, and then the data. */
struct RnidAcceptHeader {
  Els command;
  std::uint8_t reserved1[3];
  std::uint8_t format;
  std::uint8_t names_size;
  std::uint8_t reserved6;
  std::uint8_t data_size;
};

static_assert(sizeof(RnidAcceptHeader) == 8);
static_assert(offsetof(RnidAcceptHeader, format) == 4);

struct RnidNames {
  Wwn port;
  Wwn node;
};

/** The general topology discovery data as they travel, in network byte order. */
struct RnidTopologyOnWire {
  std::uint8_t vendor_unique[16];
  std::uint32_t unit_type;
  std::uint32_t physical_port;
  std::uint32_t attached_nodes;
  std::uint8_t node_management;
  std::uint8_t ip_version;
  std::uint16_t udp_port;
  std::array<std::uint8_t, 16> ip_address;
  std::uint16_t reserved48;
  std::uint16_t topology_flags;
};

static_assert(sizeof(RnidTopologyOnWire) == 52);
static_assert(offsetof(RnidTopologyOnWire, ip_version) == 29);
static_assert(offsetof(RnidTopologyOnWire, topology_flags) == 50);

}  // namespace ovk
