/**
 * @file
 * One layout of a record for another.
 */
#ifndef OVKCTL_RECORD_CAST_H
#define OVKCTL_RECORD_CAST_H

#include <cstring>
#include <type_traits>

namespace ovkctl {

/** The same bytes as another record of the same size. */
template <typename To, typename From>
To record_cast(const From& from) {
  static_assert(sizeof(To) == sizeof(From));
  static_assert(std::is_trivially_copyable_v<To> && std::is_trivially_copyable_v<From>);
  To to;
  std::memcpy(&to, &from, sizeof to);
  return to;
}

}  // namespace ovkctl

#endif
