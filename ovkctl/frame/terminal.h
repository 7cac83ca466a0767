/**
 * @file
 * How far a command is, for the person at the terminal.
 */
#pragma once

#include <cstdint>
#include <string>

namespace ovkctl {

/** A progress bar on standard error, from 0 % on, when that is a terminal; nothing otherwise. */
class Progress {
 public:
  /** @param total  how much there is to do, in any unit */
  Progress(std::string label, std::uint64_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /** Shows that so much of the total is done. */
  void update(std::uint64_t done);

 private:
  std::string label_;
  std::uint64_t total_;
  unsigned shown_percent_;
  bool visible_;
};

}  // namespace ovkctl
