/**
 * @file
 * The driver module. No public source defines this layout: where a host shows another, it is mended
 * here.
 */
#pragma once

#include <ovk/types.h>

#include <cstddef>
#include <cstdint>

namespace ovk {

/** One board in the answer to RAVN_MGMT_MOD_INFO. */
struct ModuleBoard {
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

static_assert(sizeof(ModuleBoard) == 192);
static_assert(offsetof(ModuleBoard, model) == 16);
static_assert(offsetof(ModuleBoard, serial_number) == 80);
static_assert(offsetof(ModuleBoard, os_device_name) == 144);
static_assert(offsetof(ModuleBoard, port_wwn) == 176);

/** The answer to RAVN_MGMT_MOD_INFO. */
struct ModuleRecord {
  char name[32];
  char version[32];
  std::uint32_t interface_revision;
  std::uint32_t board_count;
  std::uint32_t logged_messages;
  std::uint32_t reserved76[14];
  ModuleBoard boards[OVK_MAX_BOARDS];
};

static_assert(sizeof(ModuleRecord) == 6276);
static_assert(offsetof(ModuleRecord, interface_revision) == 64);
static_assert(offsetof(ModuleRecord, boards) == 132);

}  // namespace ovk
