/**
 * @file
 * The time during which the library is initialised.
 */
#pragma once

#include <cstdint>

namespace ovkctl {

/** Initialises the library and releases it; throws OperationFailed when there is no board. */
class Session {
 public:
  Session();
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /** The number of boards; their indices are 0 to board_count() - 1. */
  [[nodiscard]] std::uint32_t board_count() const { return board_count_; }

 private:
  std::uint32_t board_count_;
};

}  // namespace ovkctl
