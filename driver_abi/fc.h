/**
 * @file
 * The words of Fibre Channel and SCSI in what crosses the channel that more than one side reads.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ovk {

/** Port types (FC-HBA). */
enum class PortType : std::uint32_t {
  unknown = 1,
  other = 2,
  not_present = 3,
  n_port = 5,
  nl_port = 6,
  fl_port = 7,
  f_port = 8,
  e_port = 9,
  g_port = 10,
  l_port = 20,
  point_to_point = 21,
};

/** Port states (FC-HBA). */
enum class PortState : std::uint32_t {
  unknown = 1,
  online = 2,
  offline = 3,
  bypassed = 4,
  diagnostics = 5,
  link_down = 6,
  error = 7,
  loopback = 8,
};

/** A port speed and its bit (FC-HBA). */
struct PortSpeed {
  std::uint32_t bit;
  std::uint32_t gbit;
};

/** In the order of the speeds; the bits grew with the standards. */
inline constexpr PortSpeed port_speeds[] = {
    {0x1, 1},    {0x2, 2},     {0x8, 4},     {0x10, 8},     {0x4, 10},
    {0x20, 16},  {0x80, 20},   {0x800, 25},  {0x40, 32},    {0x100, 40},
    {0x200, 50}, {0x1000, 64}, {0x400, 100}, {0x2000, 128}, {0x4000, 256},
};

// FC-4 types (FC-FS).
inline constexpr std::uint32_t fc4_fcp = 0x08;
inline constexpr std::uint32_t fc4_ct = 0x20;
inline constexpr std::uint32_t fc4_nvme = 0x28;

/** Where the bit of an FC-4 type stands in a map of them (FC-GS), which is of big-endian words. */
struct Fc4Bit {
  std::size_t byte;
  std::uint8_t mask;
};

constexpr Fc4Bit fc4_bit(std::uint32_t type) {
  return {type / 32 * 4 + (3 - type % 32 / 8), static_cast<std::uint8_t>(1U << type % 8)};
}

constexpr bool has_fc4_type(std::span<const std::uint8_t> map, std::uint32_t type) {
  const Fc4Bit bit = fc4_bit(type);
  return bit.byte < map.size() && (map[bit.byte] & bit.mask) != 0;
}

// Services by their GS_TYPE (FC-GS). One with an address of its own is at 0xFFFF00 plus its type.
inline constexpr std::uint32_t well_known_addresses = 0xFFFF00;
inline constexpr std::uint8_t management_service = 0xFA;
inline constexpr std::uint8_t directory_service = 0xFC;
inline constexpr std::uint8_t fabric_controller = 0xFD;

// The command codes of replies to a CT_IU (FC-GS).
inline constexpr std::uint32_t ct_rejected = 0x8001;
inline constexpr std::uint32_t ct_accepted = 0x8002;

/** Extended link services (FC-LS). */
enum class Els : std::uint8_t {
  ls_rjt = 0x01,
  ls_acc = 0x02,
  rls = 0x0F,
  echo = 0x10,
  rnid = 0x78,
};

/** The node identification data format with general topology data (FC-LS). */
inline constexpr std::uint8_t rnid_general_topology = 0xDF;

/** Operation codes (SPC, SBC). */
enum class ScsiOpcode : std::uint8_t {
  test_unit_ready = 0x00,
  request_sense = 0x03,
  inquiry = 0x12,
  read_capacity_10 = 0x25,
  read_10 = 0x28,
  write_10 = 0x2A,
  report_luns = 0xA0,
};

}  // namespace ovk
