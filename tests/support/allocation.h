/**
 * @file
 * The heap as a test wants it: counted, and running out of memory. The program defines malloc,
 * calloc and free, so that the library finds them there.
 */
#pragma once

namespace ovk::test {

/**
 * Counts the library's allocations while it lives, and can have one fail. What the channel
 * allocates in the meantime does not count.
 */
class AllocationWatch {
 public:
  static constexpr int none_fails = -1;

  /** @param failing  which allocation from now on has no memory, from 0 */
  explicit AllocationWatch(int failing = none_fails);
  ~AllocationWatch();
  AllocationWatch(const AllocationWatch&) = delete;
  AllocationWatch& operator=(const AllocationWatch&) = delete;

  /** Allocations so far, the failed one included. */
  [[nodiscard]] int allocations() const;
  /** Allocations that were not freed. */
  [[nodiscard]] int outstanding() const;
};

/** Suspends an AllocationWatch. */
class AllocationsUncounted {
 public:
  AllocationsUncounted();
  ~AllocationsUncounted();
  AllocationsUncounted(const AllocationsUncounted&) = delete;
  AllocationsUncounted& operator=(const AllocationsUncounted&) = delete;

 private:
  bool was_counting_;
};

}  // namespace ovk::test
