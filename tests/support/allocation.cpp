#include "tests/support/allocation.h"

#include <cstddef>

namespace ovk::test {

namespace {

struct AllocationCount {
  bool counting;
  int failing;
  int allocations;
  int outstanding;
};

constinit thread_local AllocationCount count{};

/** Whether the allocation that is being asked for gets its memory. */
bool grant_allocation() {
  if (!count.counting) {
    return true;
  }
  if (count.allocations++ == count.failing) {
    return false;
  }
  ++count.outstanding;
  return true;
}

}  // namespace

AllocationWatch::AllocationWatch(int failing) { count = {.counting = true, .failing = failing}; }
AllocationWatch::~AllocationWatch() { count.counting = false; }
int AllocationWatch::allocations() const { return count.allocations; }
int AllocationWatch::outstanding() const { return count.outstanding; }

AllocationsUncounted::AllocationsUncounted() : was_counting_{count.counting} {
  count.counting = false;
}
AllocationsUncounted::~AllocationsUncounted() { count.counting = was_counting_; }

}  // namespace ovk::test

using ovk::test::count;
using ovk::test::grant_allocation;

extern "C" {

// The real allocator: the sanitizer's where there is one. Looking it up with dlsym would allocate.
[[gnu::weak]] void* __interceptor_malloc(size_t);
[[gnu::weak]] void* __interceptor_calloc(size_t, size_t);
[[gnu::weak]] void __interceptor_free(void*);
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void __libc_free(void*);

void* malloc(size_t size) {
  if (!grant_allocation()) {
    return nullptr;
  }
  return __interceptor_malloc != nullptr ? __interceptor_malloc(size) : __libc_malloc(size);
}

void* calloc(size_t members, size_t size) {
  if (!grant_allocation()) {
    return nullptr;
  }
  return __interceptor_calloc != nullptr ? __interceptor_calloc(members, size)
                                         : __libc_calloc(members, size);
}

void free(void* pointer) {
  if (count.counting && pointer != nullptr) {
    --count.outstanding;
  }
  if (__interceptor_free != nullptr) {
    __interceptor_free(pointer);
  } else {
    __libc_free(pointer);
  }
}
}
