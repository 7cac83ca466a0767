/**
 * @file
 * The driver's configuration parameters. No public source defines this layout: where a host shows
 * another, it is mended here.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace ovk {

/** When a new value comes into force. */
enum class TakesEffect : std::uint32_t {
  at_once = 0,
  at_link_up = 1,      ///< when the link comes up again
  at_driver_load = 2,  ///< when the driver is loaded again
  never_set = 3,       ///< the value cannot be changed
};

/** One entry of the answer to RAVN_MGMT_GETCFG. */
struct ParameterRecord {
  char name[32];
  std::uint32_t least;
  std::uint32_t most;
  std::uint32_t initial;
  std::uint32_t value;
  TakesEffect takes_effect;
  char description[80];
};

static_assert(sizeof(ParameterRecord) == 132);
static_assert(offsetof(ParameterRecord, least) == 32);
static_assert(offsetof(ParameterRecord, value) == 44);
static_assert(offsetof(ParameterRecord, takes_effect) == 48);
static_assert(offsetof(ParameterRecord, description) == 52);

/** The answer to RAVN_MGMT_GETCFG. */
struct ParameterTable {
  ParameterRecord entries[80];
};

static_assert(sizeof(ParameterTable) == 10560);

}  // namespace ovk
