/**
 * @file
 * The driver's layouts of the link, hardware, parameter and module records, which the library hands
 * through: those that docs/simulator.md describes.
 */
#ifndef OVKCTL_INFORMATION_RECORDS_H
#define OVKCTL_INFORMATION_RECORDS_H

#include "ovkctl/subjects/record_cast.h"

#include <ovk/types.h>

#include <cstdint>

namespace ovkctl {

struct LinkRecord {
  enum State : std::uint32_t { kDown = 1, kUp = 2 };
  enum Topology : std::uint32_t { kNone = 0, kPointToPoint = 1, kLoop = 2 };

  std::uint32_t state;
  std::uint32_t topology;
  std::uint32_t speed_mbit;
  std::uint32_t fc_id;
  std::uint32_t on_fabric;
  std::uint8_t al_pa;
  std::uint8_t reserved21[3];
  std::uint8_t loop_positions;
  std::uint8_t loop_al_pas[127];
  std::uint32_t link_failures;
  std::uint32_t losses_of_sync;
  std::uint32_t losses_of_signal;
  std::uint32_t lips;
};

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

struct NodeRecord {
  enum State : std::uint16_t { kLoggedIn = 1, kMapped = 2 };
  static constexpr std::uint32_t kNoTarget = 0xFFFFFFFF;

  std::uint16_t handle;
  std::uint16_t state;
  std::uint32_t fc_id;
  Wwn port_wwn;
  Wwn node_wwn;
  std::uint32_t target_id;
};

struct VpdRecord {
  std::uint32_t version;
  std::uint8_t read_only[256];
  char product[80];
  std::uint8_t read_write[256];
  std::uint32_t read_only_size;
  std::uint32_t read_write_size;
  std::uint32_t reserved604[3];
};

struct ParameterRecord {
  enum TakesEffect : std::uint32_t { kAtOnce = 0, kAtLinkUp = 1, kAtDriverLoad = 2, kNeverSet = 3 };

  char name[32];
  std::uint32_t least;
  std::uint32_t most;
  std::uint32_t initial;
  std::uint32_t value;
  std::uint32_t takes_effect;
  char description[80];
};

struct TrunkRecord {
  std::uint32_t ports;     ///< bit n: port n
  std::uint32_t ports_up;  ///< bit n: port n
  std::uint32_t port_speed_mbit;
};

struct PciLocationRecord {
  std::uint32_t segment;
  std::uint32_t bus;
  std::uint32_t device;
  std::uint32_t function;
  std::uint32_t reserved16[2];
};

struct ModuleRecord {
  struct Board {
    std::uint32_t driver_number;
    std::uint32_t device;
    std::uint32_t subsystem;
    std::uint32_t sli_mode;
    char model[64];
    char serial_number[32];
    char firmware_version[32];
    char os_device_name[32];
    Wwn port_wwn;
    std::uint32_t reserved184[2];
  };

  char name[32];
  char version[32];
  std::uint32_t interface_revision;
  std::uint32_t board_count;
  std::uint32_t logged_messages;
  std::uint32_t reserved76[14];
  Board boards[OVK_MAX_BOARDS];
};

}  // namespace ovkctl

#endif
