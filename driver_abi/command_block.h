/**
 * @file
 * The first parameter of every command.
 */
#pragma once

#include "driver_abi/status.h"

#include <cstddef>
#include <cstdint>

namespace ovk {

/**
 * Arguments and results have their place by kind; a command for which a word means something else
 * says so where it is filled or read.
 */
struct CommandBlock {
  std::uint32_t driver_board;  ///< word 0
  std::uint32_t index;         ///< word 1: an index or an offset
  std::uint32_t request_size;  ///< word 2: what the caller gives or has room for
  std::uint32_t reply_size;    ///< word 3: what the driver gives; for a few also its room before
  std::uint32_t value;         ///< word 4
  std::uint32_t code;          ///< word 5
  std::uint32_t selector;      ///< word 6
  std::uint32_t option;        ///< word 7
  std::uint32_t reserved[3];   ///< words 8 to 10
  DriverStatus status;         ///< word 11, written by the driver
};

static_assert(sizeof(CommandBlock) == 48);
static_assert(offsetof(CommandBlock, index) == 4);
static_assert(offsetof(CommandBlock, request_size) == 8);
static_assert(offsetof(CommandBlock, reply_size) == 12);
static_assert(offsetof(CommandBlock, value) == 16);
static_assert(offsetof(CommandBlock, code) == 20);
static_assert(offsetof(CommandBlock, selector) == 24);
static_assert(offsetof(CommandBlock, option) == 28);
static_assert(offsetof(CommandBlock, status) == 44);

}  // namespace ovk
