/**
 * @file
 * Passwords: read without being shown, and wiped after use.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace ovkctl {

/** A password. It stands in this object alone, which wipes itself. */
class Secret {
 public:
  static constexpr std::size_t longest = 128;

  Secret() = default;
  ~Secret();
  Secret(const Secret&) = delete;
  Secret& operator=(const Secret&) = delete;

  /** Reads the first line that a file descriptor gives; throws OperationFailed when it is longer
      than longest, cannot be read, or when a signal waits at the descriptor of signals. */
  void read_from(int descriptor, int signals = -1);

  /** Asks for it at the terminal, twice and without echo; throws UsageError when there is no
      terminal, OperationFailed when the two differ. */
  void ask(const std::string& what);

  const std::array<char, longest>& bytes() const { return bytes_; }
  std::uint8_t length() const { return length_; }

  friend bool operator==(const Secret& one, const Secret& other) {
    return one.length_ == other.length_ && one.bytes_ == other.bytes_;
  }

 private:
  void wipe();

  std::array<char, longest> bytes_{};
  std::uint8_t length_ = 0;
};

}  // namespace ovkctl
