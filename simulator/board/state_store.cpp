#include "simulator/board/state_store.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace ravnsim {

namespace {

namespace fs = std::filesystem;

constexpr auto patience = std::chrono::seconds{2};
constexpr auto between_attempts = std::chrono::milliseconds{20};
constexpr mode_t file_mode = 0666;  // the user's umask says how private it is

[[noreturn]] void fail(const fs::path& path, const std::string& what) {
  throw StateError{path.string() + ": " + what + ": " + std::strerror(errno)};
}

FileDescriptor open_file(const fs::path& path, int flags) {
  FileDescriptor file{::open(path.c_str(), flags | O_CLOEXEC, file_mode)};
  if (!file.is_open()) {
    fail(path, "cannot be opened");
  }
  return file;
}

void make_folder(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) {
    throw StateError{folder.string() + ": cannot be made: " + error.message()};
  }
}

/** Puts a file's contents, or a folder's entries, on the disk. */
void sync(const FileDescriptor& file, const fs::path& path) {
  if (::fsync(file.get()) != 0) {
    fail(path, "cannot be written to the disk");
  }
}

void write_all(const FileDescriptor& file, std::span<const std::uint8_t> bytes,
               const fs::path& path) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file.get(), bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) {
      fail(path, "cannot be written");
    }
    bytes = bytes.subspan(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
  }
}

std::vector<std::uint8_t> read_all(const FileDescriptor& file, const fs::path& path) {
  std::vector<std::uint8_t> contents;
  constexpr std::size_t step = 65536;
  while (true) {
    const std::size_t filled = contents.size();
    contents.resize(filled + step);
    const ssize_t count = ::read(file.get(), contents.data() + filled, step);
    if (count < 0 && errno != EINTR) {
      fail(path, "cannot be read");
    }
    contents.resize(filled + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count == 0) {
      return contents;
    }
  }
}

FileDescriptor lock_folder(const fs::path& folder) {
  FileDescriptor lock = open_file(folder / ".lock", O_RDWR | O_CREAT);
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) {
      fail(folder, "cannot be locked");
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      throw StateInUse{folder.string() + ": another process uses this state folder"};
    }
    std::this_thread::sleep_for(between_attempts);
  }
  return lock;
}

}  // namespace

FileDescriptor::~FileDescriptor() {
  if (is_open()) {
    ::close(descriptor_);
  }
}

StateStore::StateStore(fs::path folder) : folder_{std::move(folder)} {
  make_folder(*folder_);
  lock_ = lock_folder(*folder_);
}

std::optional<std::vector<std::uint8_t>> StateStore::read(const std::string& key) const {
  if (!folder_) {
    const auto found = memory_.find(key);
    return found != memory_.end() ? std::optional{found->second} : std::nullopt;
  }
  const fs::path path = *folder_ / key;
  if (::access(path.c_str(), F_OK) != 0 && errno == ENOENT) {
    return std::nullopt;
  }
  return read_all(open_file(path, O_RDONLY), path);
}

void StateStore::write(const std::string& key, std::span<const std::uint8_t> blob) {
  if (!folder_) {
    memory_[key].assign(blob.begin(), blob.end());
    return;
  }
  const fs::path path = *folder_ / key;
  make_folder(path.parent_path());
  // The new blob is whole on the disk before it takes the old one's name, and that change is on
  // the disk before the caller goes on. The lock makes the temporary name ours.
  const fs::path temporary = path.string() + ".tmp";
  const FileDescriptor file = open_file(temporary, O_WRONLY | O_CREAT | O_TRUNC);
  write_all(file, blob, temporary);
  sync(file, temporary);
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    fail(path, "cannot be replaced");
  }
  sync(open_file(path.parent_path(), O_RDONLY | O_DIRECTORY), path.parent_path());
}

void StateStore::remove(const std::string& key) {
  if (!folder_) {
    memory_.erase(key);
    return;
  }
  const fs::path path = *folder_ / key;
  if (::unlink(path.c_str()) == 0) {
    sync(open_file(path.parent_path(), O_RDONLY | O_DIRECTORY), path.parent_path());
  } else if (errno != ENOENT) {
    fail(path, "cannot be removed");
  }
}

}  // namespace ravnsim
