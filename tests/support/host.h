/**
 * @file
 * The host around the library, as a test wants it: files below "/scratch", the clock, sleeping,
 * the host's name and memory that runs out. The program defines the C library's functions of these
 * names, so that the library finds them there; everything else passes on to the C library.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace ovk::test {

struct Host {
  /** The folder that stands for "/"; nothing of "/scratch" is on the machine itself. */
  std::filesystem::path root;
  /** What gettimeofday gives; the machine's own time when empty. */
  std::optional<std::int32_t> time;
  /** What gethostname gives. */
  std::string name = "esx-lab-7";
  /** Every sleep and usleep, in microseconds; none of them takes time. */
  std::vector<std::uint64_t> sleeps;
};

/** The host of the running test. */
Host& host();

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
