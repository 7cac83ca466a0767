/**
 * @file
 * The host around the library, as a test wants it: files below "/scratch", the clock, sleeping,
 * and the host's name. The program defines the C library's functions of these
 * names, so that the library finds them there; everything else passes on to the C library.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace ovk::test {

struct Host {
  /** The folder that stands for "/"; nothing of "/scratch" is on the machine itself. */
  std::filesystem::path root;
  /** What gettimeofday gives, in seconds. */
  std::int32_t time = 1735732800;
  /** What gethostname gives. */
  std::string name = "esx-lab-7";
  /** Every sleep and usleep, in microseconds; none of them takes time. */
  std::vector<std::uint64_t> sleeps;
};

/** The host of the running test. */
inline Host& host() {
  static Host host;
  return host;
}

}  // namespace ovk::test
