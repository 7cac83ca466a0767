#include "library/regions/region23.h"

#include "library/boards/driver_info.h"
#include "library/core/payload.h"
#include "library/mailbox/region_mailbox.h"
#include "library/regions/region_update.h"

#include <ovk/core.h>
#include <ovk/mailbox.h>
#include <ovk/regions.h>

#include <cstdlib>
#include <cstring>

using ovk::HeapBuffer;
using ovk::RecordCursor;
using ovk::RecordType;
using ovk::region23;
using ovk::Region23Image;

namespace {

/** The records of which a region must have the known types to be taken for a Region 23. */
constexpr int checked_records = 4;

bool is_known(RecordType type) {
  return type == RecordType::fcoe_parameters || type == RecordType::fcf_connections ||
         type == RecordType::persistent_link_down || type == RecordType::end_of_list;
}

bool is_region23(Region23Image& image) {
  if (ovk::check_region23(&image) != ovk::record_found) {
    return false;
  }
  // Intended: the end of the list is stepped over like any record.
  RecordCursor cursor{ovk::image_bytes(image), sizeof image};
  for (int i = 0; i < checked_records; ++i, cursor.advance()) {
    if (!cursor.at_record() || !is_known(cursor.type())) {
      return false;
    }
  }
  return true;
}

/** Intended: what was read beyond the end of the default list stays. */
void make_default(Region23Image& image) {
  std::memcpy(&image, &ovk::default_region23, sizeof ovk::default_region23);
}

bool means_empty(std::uint32_t read_result) {
  return read_result == OVK_REGION_STATUS_FFFD || read_result == OVK_REGION_STATUS_FFF7 ||
         read_result == OVK_REGION_STATUS_FFF6;
}

std::uint32_t load(std::uint32_t board, std::uint32_t sli_mode, Region23Image& image) {
  std::uint32_t size = sizeof image;
  const std::uint32_t result = sli_mode < OVK_SLI4
                                   ? LEG_IssueDumpMBox(board, ovk::image_bytes(image), region23)
                                   : OVK_IssueDumpMBox(board, OVK_REGION_REQUEST_TYPE, 0, region23,
                                                       0, ovk::image_bytes(image), &size);
  if (result != OVK_OK && !means_empty(result)) {
    return OVK_FAILED;
  }
  if (result != OVK_OK || size != sizeof image || !is_region23(image)) {
    make_default(image);
  }
  return OVK_OK;
}

}  // namespace

namespace ovk {

std::uint32_t write_region23(std::uint32_t board, std::uint32_t sli_mode,
                             const Region23Image& image) {
  return sli_mode < OVK_SLI4 ? LegacySetRegion23(board, &image, sizeof image)
                             : fcoeSetRegion23(board, &image, sizeof image);
}

Region23::Region23(std::uint32_t board, std::uint32_t sli_mode)
    : board_{board},
      sli_mode_{sli_mode},
      read_result_{GetRegion23(board, &image_, &length_, sli_mode)} {}

Region23::~Region23() { std::free(image_); }

FoundRecord Region23::find(RecordType type) const {
  std::uint8_t code = record_found;
  RecordHeader* header = searchRegion23(image_, length_, static_cast<std::uint8_t>(type), &code);
  if (header == nullptr) {
    return {};
  }
  const auto data = static_cast<std::size_t>(image_bytes(header[1]) - image_bytes(*image_));
  return {header, data < length_ ? length_ - data : 0};
}

}  // namespace ovk

std::uint32_t GetRegion23(std::uint32_t board, Region23Image** image, std::uint32_t* length,
                          std::uint32_t sli_mode) {
  *image = nullptr;
  *length = 0;
  HeapBuffer<Region23Image> buffer;
  if (!buffer) {
    return OVK_NO_MEMORY;
  }
  const std::uint32_t result = load(board, sli_mode, *buffer);
  if (result == OVK_OK) {
    *image = buffer.release();
    *length = sizeof(Region23Image);
  }
  return result;
}

std::uint32_t OVK_InitR23(std::uint32_t board) {
  std::uint32_t sli_mode = 0;
  if (get_sli_mode(board, &sli_mode) != OVK_OK) {
    return OVK_FAILED;
  }
  HeapBuffer<Region23Image> image{ovk::unfilled};
  if (!image) {
    return OVK_NO_MEMORY;
  }
  image.fill(&ovk::default_region23, sizeof ovk::default_region23);
  return ovk::write_region23(board, sli_mode, *image);
}
