/**
 * @file
 * What adapters keep without power.
 */
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ravnsim {

/** The state folder cannot be used. */
class StateError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/** Another process has the state folder open. */
class StateInUse : public StateError {
 public:
  using StateError::StateError;
};

/** A file descriptor that closes itself. */
class FileDescriptor {
 public:
  explicit FileDescriptor(int descriptor = -1) : descriptor_{descriptor} {}
  FileDescriptor(FileDescriptor&& other) noexcept
      : descriptor_{std::exchange(other.descriptor_, -1)} {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~FileDescriptor();

  [[nodiscard]] int get() const { return descriptor_; }
  [[nodiscard]] bool is_open() const { return descriptor_ >= 0; }

 private:
  int descriptor_;
};

/**
 * Blobs by key. A key is a relative path of one or more words, such as "board-4/region-23".
 *
 * With a folder, each blob is a file of its own, and a crash at any moment leaves the blob as it
 * was or as it was to become. The folder is locked against other processes while the store lives.
 */
class StateStore {
 public:
  /** Keeps the blobs in memory. */
  StateStore() = default;

  /** Keeps them in a folder, which is made when there is none. Waits a little for another process
      to leave it; throws StateInUse when that one stays. */
  explicit StateStore(std::filesystem::path folder);

  /** A blob, or nothing when it was never written. */
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> read(const std::string& key) const;

  /** Writes a blob; it is on the disk when the function returns. */
  void write(const std::string& key, std::span<const std::uint8_t> blob);

  /** Forgets a blob. */
  void remove(const std::string& key);

 private:
  std::optional<std::filesystem::path> folder_;
  FileDescriptor lock_;
  std::map<std::string, std::vector<std::uint8_t>> memory_;
};

}  // namespace ravnsim
