/**
 * @file
 * The heap as a test wants it: counted, and running out of memory. The program defines malloc,
 * calloc and free, so that the library finds them there.
 */
#pragma once

#include <utility>

namespace ovk::test {

/** What the program's malloc, calloc and free go by. */
struct Heap {
  bool counting;
  int failing;
  int allocations;
  int outstanding;
};

extern constinit thread_local Heap heap;

/**
 * Counts the library's allocations while it lives, and can have one fail. What the channel
 * allocates in the meantime does not count.
 */
class AllocationWatch {
 public:
  static constexpr int none_fails = -1;

  /** @param failing  which allocation from now on has no memory, from 0 */
  explicit AllocationWatch(int failing = none_fails) {
    heap = {.counting = true, .failing = failing};
  }
  ~AllocationWatch() { heap.counting = false; }

  /** Allocations so far, the failed one included. */
  [[nodiscard]] int allocations() const { return heap.allocations; }
  /** Allocations that were not freed. */
  [[nodiscard]] int outstanding() const { return heap.outstanding; }
};

/** Suspends an AllocationWatch. */
struct AllocationsUncounted {
  const bool was_counting = std::exchange(heap.counting, false);
  ~AllocationsUncounted() { heap.counting = was_counting; }
};

}  // namespace ovk::test
