#include "library/core/payload.h"

namespace ovk {

void* zeroed_memory(std::size_t size) {
  // calloc takes a longer way to a small block than malloc does, and zeroes one that was used
  // before by slower code than memset. A list as long as its caller says is better left to it:
  // fresh pages come zeroed, and most are never touched.
  constexpr std::size_t largest_payload = 1U << 19;
  if (size > largest_payload) {
    return std::calloc(1, size);
  }
  void* const memory = std::malloc(size);
  if (memory != nullptr) {
    std::memset(memory, 0, size);
  }
  return memory;
}

}  // namespace ovk
