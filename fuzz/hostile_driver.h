/**
 * @file
 * A driver that answers anything: whatever the fuzzer's input says.
 */
#pragma once

#include <cstdint>
#include <fuzzer/FuzzedDataProvider.h>

namespace ovk::fuzz {

/** Where the channel takes its answers from. */
extern FuzzedDataProvider* driver_answers;

/** What a board tells of itself. */
struct BoardIdentity {
  std::uint32_t sli_mode;  ///< 0: it answers that, too, with anything
  std::uint32_t adapter_type;
  std::uint8_t text;  ///< all bytes of its names and texts
};

extern BoardIdentity board_identity;

}  // namespace ovk::fuzz
