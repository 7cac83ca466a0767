/**
 * @file
 * The first parameter of every command, as the driver sees it.
 */
#pragma once

#include "driver_abi/status.h"

#include <cstddef>
#include <cstdint>

namespace ravnsim {

using ovk::DriverStatus;

/**
 * Arguments in and results out, by the kind that most commands put there. A command for which a
 * word means something else says so where it reads it.
 */
struct CommandBlock {
  std::uint32_t driver_board;  ///< word 0
  std::uint32_t index;         ///< word 1: an index or an offset
  std::uint32_t request_size;  ///< word 2: what the caller gives or has room for
  std::uint32_t reply_size;    ///< word 3: what the driver gives
  std::uint32_t value;         ///< word 4
  std::uint32_t code;          ///< word 5
  std::uint32_t selector;      ///< word 6
  std::uint32_t option;        ///< word 7
  std::uint32_t reserved[3];   ///< words 8 to 10
  DriverStatus status;         ///< word 11; set from what the handler returns
};

static_assert(sizeof(CommandBlock) == 48);
static_assert(offsetof(CommandBlock, index) == 4);
static_assert(offsetof(CommandBlock, value) == 16);
static_assert(offsetof(CommandBlock, option) == 28);
static_assert(offsetof(CommandBlock, status) == 44);

}  // namespace ravnsim
