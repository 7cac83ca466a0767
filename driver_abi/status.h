/**
 * @file
 * The status words with which the ravn driver answers a command. Both sides of the channel, the
 * library and the simulator, take them from here.
 */
#pragma once

#include <cstdint>

namespace ovk {

/**
 * What the driver writes into the last word of the Command block. A value that is not listed is a
 * failure without a meaning of its own. One status can lead to different results in different
 * calls; each call says so where it maps them.
 */
enum class DriverStatus : std::uint32_t {
  success = 0,
  not_found = 0x0BAD0003,
  mailbox_failed = 0x0BAD0004,
  no_memory = 0x0BAD0006,
  no_dump_region = 0x0BAD0007,
  no_response = 0x0BAD000A,
  ras_already_active = 0x0BAD000D,
  ras_bad_level = 0x0BAD000E,
  oas_no_lun = 0x0BAD000F,
  oas_no_such_port = 0x0BAD0010,
  transport_failed = 0x0BAD0014,
  not_supported = 0x0BAD0020,
  not_permitted = 0x0BAD0021,
  oas_bad_rule = 0x0BAD002B,
  oas_rule_table_full = 0x0BAD002C,
  feature_disabled = 0x0BAD0030,
  busy = 0x0BAD0039,
  not_ready = 0x0BAD005A,
  does_not_fit = 0x0BAD005D,
  no_vpd = 0x0BAD0084,
  ras_not_active = 0x0BAD009B,
  list_does_not_fit = 0x0BAD00B4,
  oas_rule_already_set = 0x0BAD0100,
  ras_no_memory = 0x0BAD0119,
};

}  // namespace ovk
