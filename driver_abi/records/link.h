/**
 * @file
 * The link of a board's port, its trunk, and its I/O counters. No public source defines this
 * layout: where a host shows another, it is mended here.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace ovk {

enum class LinkState : std::uint32_t { down = 1, up = 2 };
enum class LinkTopology : std::uint32_t { none = 0, point_to_point = 1, loop = 2 };

/** The positions on a loop (FC-AL): how many, then the AL_PA of each. */
struct LoopMap {
  std::uint8_t count;
  std::uint8_t al_pas[127];
};

/** The answer to RAVN_MGMT_LINKINFO. */
struct LinkRecord {
  LinkState state;
  LinkTopology topology;
  std::uint32_t speed_mbit;
  std::uint32_t fc_id;
  std::uint32_t on_fabric;
  std::uint8_t al_pa;
  std::uint8_t reserved21[3];
  LoopMap loop_map;
  std::uint32_t link_failures;
  std::uint32_t losses_of_sync;
  std::uint32_t losses_of_signal;
  std::uint32_t lips;
};

static_assert(sizeof(LinkRecord) == 168);
static_assert(offsetof(LinkRecord, speed_mbit) == 8);
static_assert(offsetof(LinkRecord, fc_id) == 12);
static_assert(offsetof(LinkRecord, on_fabric) == 16);
static_assert(offsetof(LinkRecord, al_pa) == 20);
static_assert(offsetof(LinkRecord, loop_map) == 24);
static_assert(offsetof(LinkRecord, link_failures) == 152);
static_assert(offsetof(LinkRecord, lips) == 164);

/** The answer to RAVN_MGMT_GET_TRUNK_INFO. */
struct TrunkRecord {
  std::uint32_t ports;     ///< bit n: port n
  std::uint32_t ports_up;  ///< bit n: port n
  std::uint32_t port_speed_mbit;
};

static_assert(sizeof(TrunkRecord) == 12);
static_assert(offsetof(TrunkRecord, port_speed_mbit) == 8);

/** The answer to RAVN_MGMT_IOINFO. Every counter wraps at 32 bits. */
struct IoRecord {
  std::uint32_t seconds;
  std::uint32_t tx_frames;
  std::uint32_t rx_frames;
  std::uint32_t tx_kib;
  std::uint32_t rx_kib;
  std::uint32_t reads;
  std::uint32_t writes;
  std::uint32_t without_data;
  std::uint32_t failed;
  std::uint32_t read_kib;
  std::uint32_t written_kib;
  std::uint32_t nodes;
  std::uint32_t error_frames;
  std::uint32_t dumped_frames;
  std::uint32_t reserved56[10];
};

static_assert(sizeof(IoRecord) == 96);
static_assert(offsetof(IoRecord, reads) == 20);
static_assert(offsetof(IoRecord, read_kib) == 36);
static_assert(offsetof(IoRecord, nodes) == 44);
static_assert(offsetof(IoRecord, dumped_frames) == 52);

}  // namespace ovk
