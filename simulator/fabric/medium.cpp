#include "simulator/fabric/medium.h"

#include "simulator/board/state_store.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <unistd.h>

namespace ravnsim {

namespace {

/** Blocks in memory; those that were never written are zero. */
class MemoryMedium : public Medium {
 public:
  bool read(std::uint64_t first_block, std::span<std::uint8_t> bytes) override {
    for (; !bytes.empty(); bytes = bytes.subspan(block_size), ++first_block) {
      const auto found = blocks_.find(first_block);
      if (found == blocks_.end()) {
        std::fill_n(bytes.begin(), block_size, std::uint8_t{0});
      } else {
        std::ranges::copy(found->second, bytes.begin());
      }
    }
    return true;
  }

  bool write(std::uint64_t first_block, std::span<const std::uint8_t> bytes) override {
    for (; !bytes.empty(); bytes = bytes.subspan(block_size), ++first_block) {
      std::copy_n(bytes.begin(), block_size, blocks_[first_block].begin());
    }
    return true;
  }

 private:
  std::map<std::uint64_t, std::array<std::uint8_t, block_size>> blocks_;
};

/** Blocks in a file of the user's. */
class FileMedium : public Medium {
 public:
  explicit FileMedium(const LunTopology& unit)
      : file_{open(unit.file.c_str(), (unit.read_only ? O_RDONLY : O_RDWR) | O_CLOEXEC)} {}

  bool read(std::uint64_t first_block, std::span<std::uint8_t> bytes) override {
    return pread64(file_.get(), bytes.data(), bytes.size(), offset_of(first_block)) ==
           static_cast<ssize_t>(bytes.size());
  }

  bool write(std::uint64_t first_block, std::span<const std::uint8_t> bytes) override {
    return pwrite64(file_.get(), bytes.data(), bytes.size(), offset_of(first_block)) ==
           static_cast<ssize_t>(bytes.size());
  }

 private:
  static off64_t offset_of(std::uint64_t block) { return static_cast<off64_t>(block * block_size); }

  FileDescriptor file_;
};

std::unique_ptr<Medium> make_medium(const LunTopology& unit) {
  if (unit.file.empty()) {
    return std::make_unique<MemoryMedium>();
  }
  return std::make_unique<FileMedium>(unit);
}

}  // namespace

Medium& Media::of(const LunTopology& unit) {
  std::unique_ptr<Medium>& medium = media_[unit.serial_number];
  if (medium == nullptr) {
    medium = make_medium(unit);
  }
  return *medium;
}

}  // namespace ravnsim
