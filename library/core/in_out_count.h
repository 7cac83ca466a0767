/**
 * @file
 * The count by which a caller tells its room and learns how much there is.
 */
#pragma once

#include <ovk/types.h>

#include <concepts>
#include <cstdint>
#include <type_traits>

namespace ovk {

/**
 * Tells the caller how much there is, in the count that told its room until now.
 *
 * @retval OVK_OK         the caller has room for all of it
 * @retval OVK_MORE_DATA  it has not; the count is the room that is needed
 */
template <std::unsigned_integral Count>
[[nodiscard]] std::uint32_t report_count(Count& count, std::type_identity_t<Count> available) {
  const Count room = count;
  count = available;
  return available > room ? OVK_MORE_DATA : OVK_OK;
}

}  // namespace ovk
