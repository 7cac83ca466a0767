/**
 * @file
 * What the simulator says to the person who runs it.
 */
#pragma once

#include <string>

namespace ravnsim {

/** Writes a line to standard error. */
inline void report(const std::string& message) {
  const std::string line = "ravnsim: " + message + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace ravnsim
