/**
 * @file
 * Reading Region 23, and a board's Region 23 as the calls that are built on it use it.
 */
#pragma once

#include "library/regions/record_list.h"

#include <cstddef>
#include <cstdint>

extern "C" {

/**
 * Reads a board's Region 23. A region that is empty or is not a Region 23 reads as the default
 * one, which is not written to the adapter.
 *
 * @param board     library board index
 * @param image     receives the image, to be given to free(); null on failure
 * @param length    receives the image's bytes; 0 on failure
 * @param sli_mode  the board's SLI mode
 * @return OVK_OK; OVK_FAILED; OVK_NO_MEMORY
 */
OVK_API uint32_t GetRegion23(uint32_t board, ovk::Region23Image** image, uint32_t* length,
                             uint32_t sli_mode);
}

namespace ovk {

/** Writes Region 23 as the board's SLI mode wants it. */
std::uint32_t write_region23(std::uint32_t board, std::uint32_t sli_mode,
                             const Region23Image& image);

/** A record of an image, of which the end may be missing. */
struct FoundRecord {
  RecordHeader* header;   ///< null when the search failed
  std::size_t data_room;  ///< bytes of the image behind the header

  explicit operator bool() const { return header != nullptr; }

  /** The data that stands `offset` bytes into the record's; null where it leaves the image. */
  template <typename Data>
  Data* data(std::size_t offset = 0) const {
    if (offset + sizeof(Data) > data_room) {
      return nullptr;
    }
    void* bytes = header + 1;
    return static_cast<Data*>(static_cast<void*>(static_cast<std::uint8_t*>(bytes) + offset));
  }
};

/** A board's Region 23 in memory. */
class Region23 {
 public:
  Region23(std::uint32_t board, std::uint32_t sli_mode);
  ~Region23();
  Region23(const Region23&) = delete;
  Region23& operator=(const Region23&) = delete;

  /** The result of the read; after a failed one nothing else is to be called. */
  [[nodiscard]] std::uint32_t read_result() const { return read_result_; }

  [[nodiscard]] FoundRecord find(RecordType type) const;

  /** Writes the whole image back. */
  [[nodiscard]] std::uint32_t write() const { return write_region23(board_, sli_mode_, *image_); }

 private:
  std::uint32_t board_;
  std::uint32_t sli_mode_;
  Region23Image* image_ = nullptr;
  std::uint32_t length_ = 0;
  std::uint32_t read_result_;
};

/**
 * Finds a record in a board's Region 23 and has it used.
 *
 * @param not_found  the result when there is no such record
 * @param use        gives the result otherwise, of the region and the record
 */
template <typename Use>
std::uint32_t with_record(std::uint32_t board, std::uint32_t sli_mode, RecordType type,
                          std::uint32_t not_found, Use use) {
  const Region23 region{board, sli_mode};
  if (region.read_result() != OVK_OK) {
    return region.read_result();
  }
  const FoundRecord record = region.find(type);
  return record ? use(region, record) : not_found;
}

}  // namespace ovk
