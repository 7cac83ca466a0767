#include "tests/support/allocation.h"

#include <cstddef>
#include <cstring>

namespace ovk::test {

constinit thread_local Heap heap{};

namespace {

/** Whether the allocation that is being asked for gets its memory. */
bool grant_allocation() {
  if (!heap.counting) {
    return true;
  }
  const bool granted = heap.allocations++ != heap.failing;
  heap.outstanding += granted ? 1 : 0;
  return granted;
}

}  // namespace
}  // namespace ovk::test

using ovk::test::grant_allocation;
using ovk::test::heap;

extern "C" {

// The real allocator: the sanitizer's where there is one. Looking it up with dlsym would allocate.
[[gnu::weak]] void* __interceptor_malloc(size_t);
[[gnu::weak]] void* __interceptor_calloc(size_t, size_t);
[[gnu::weak]] void __interceptor_free(void*);
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void __libc_free(void*);

void* malloc(size_t size) {
  auto* const real = __interceptor_malloc != nullptr ? __interceptor_malloc : __libc_malloc;
  void* const memory = grant_allocation() ? real(size) : nullptr;
  // Or what nobody zeroes would be zero by itself, where a block is fresh.
  return memory != nullptr && heap.counting ? std::memset(memory, 0xA5, size) : memory;
}

void* calloc(size_t members, size_t size) {
  auto* const real = __interceptor_calloc != nullptr ? __interceptor_calloc : __libc_calloc;
  return grant_allocation() ? real(members, size) : nullptr;
}

void free(void* pointer) {
  auto* const real = __interceptor_free != nullptr ? __interceptor_free : __libc_free;
  heap.outstanding -= heap.counting && pointer != nullptr ? 1 : 0;
  real(pointer);
}
}
