/**
 * @file
 * The record list of a Region 23 image. All that is known about where a record lies comes from the
 * adapter, so nothing but the cursor follows it.
 */
#pragma once

#include "driver_abi/regions.h"

#include <cstddef>
#include <cstdint>

extern "C" {

/**
 * Finds the first record of a type in a Region 23 image. The record's data may end beyond the
 * image.
 *
 * @param image   at least the 8 bytes of its header
 * @param length  the image's bytes
 * @param type    the record's type
 * @param code    receives 0 or an ovk::SearchCode
 * @return the record's header; null when there is none
 */
OVK_API ovk::RecordHeader* searchRegion23(void* image, uint32_t length, uint8_t type,
                                          uint8_t* code);
}

namespace ovk {

/** An image as the bytes that are read into it. */
template <typename Image>
std::uint8_t* image_bytes(Image& image) {
  return static_cast<std::uint8_t*>(static_cast<void*>(&image));
}

/** The reasons why searchRegion23 found nothing. */
enum SearchCode : std::uint8_t {
  record_found = 0,
  list_runs_out = 252,  ///< the image ends before the list does
  end_of_list_found = 253,
  wrong_version = 254,
  wrong_signature = 255,
};

/** Steps through the records of an image and never leaves it. */
class RecordCursor {
 public:
  /** Stands at the first record. */
  RecordCursor(std::uint8_t* image, std::size_t length)
      : image_{image}, length_{length}, position_{sizeof(Region23Header)} {}

  /** Whether a record stands here; false where the image ends. */
  [[nodiscard]] bool at_record() const { return position_ < length_; }

  /** The record here. */
  [[nodiscard]] RecordType type() const { return RecordType{image_[position_]}; }
  [[nodiscard]] RecordHeader* header() const {
    return static_cast<RecordHeader*>(static_cast<void*>(image_ + position_));
  }

  /** Goes behind the record here. */
  void advance() {
    const std::size_t room = length_ - position_;
    const std::size_t size = room >= sizeof(RecordHeader)
                                 ? sizeof(RecordHeader) + header()->words * sizeof(std::uint32_t)
                                 : room;
    position_ = size < room ? position_ + size : length_;
  }

 private:
  std::uint8_t* image_;
  std::size_t length_;
  std::size_t position_;
};

/** Whether an image is a Region 23 at all: 0, wrong_signature or wrong_version. */
SearchCode check_region23(const void* image);

}  // namespace ovk
