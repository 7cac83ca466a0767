#include "library/boards/driver_info.h"
#include "library/core/payload.h"
#include "library/mailbox/region_mailbox.h"
#include "library/regions/record_list.h"
#include "library/regions/region_update.h"

#include <ovk/mailbox.h>
#include <ovk/regions.h>

#include <algorithm>
#include <bit>
#include <cstring>

using ovk::HeapBuffer;
using ovk::region22;
using ovk::Region22Image;

namespace {

static_assert(sizeof(Region22Image{}.entries) == OVK_REGION22_ENTRIES * sizeof(Region22Entry));

/** A board whose Region 22 is read and written by the calls of its adapter type. */
struct Region22Access {
  std::uint32_t board;
  std::uint32_t adapter_type;

  [[nodiscard]] std::uint32_t read(Region22Image& image, std::uint32_t& size) const {
    size = sizeof image;
    return ovk::has_region_commands(adapter_type)
               ? OVK_IssueDumpMBox(board, OVK_REGION_REQUEST_TYPE, 0, region22, 0,
                                   ovk::image_bytes(image), &size)
               : LEG_IssueDumpMBox(board, ovk::image_bytes(image), region22);
  }

  [[nodiscard]] std::uint32_t write(const Region22Image& image) const {
    return ovk::has_region_commands(adapter_type) ? fcoeSetRegion22(board, &image, sizeof image)
                                                  : LegacySetRegion22(board, &image, sizeof image);
  }
};

bool is_region22(const Region22Image& image, std::uint32_t size) {
  return size == sizeof image && image.signature == ovk::region22_signature;
}

/** Intended: these are other results than those that mean an empty Region 23. */
bool means_empty(std::uint32_t read_result) {
  constexpr std::uint32_t results[] = {OVK_REGION_STATUS_FFFD, 0xFFF6, 0xFFF7, 0xFFFC, 0xFFFE};
  return std::ranges::find(results, read_result) != std::ranges::end(results);
}

/** Reads a valid Region 22, if need be after writing an empty one. */
std::uint32_t read_or_repair(const Region22Access& access, Region22Image& image) {
  std::uint32_t size = 0;
  const std::uint32_t result = access.read(image, size);
  if (result == OVK_OK && is_region22(image, size)) {
    return OVK_OK;
  }
  if (result != OVK_OK && !means_empty(result)) {
    return OVK_FAILED;
  }
  image = ovk::default_region22;
  return access.write(image);
}

}  // namespace

std::uint32_t OVK_InitR22(std::uint32_t board) {
  Region22Access access{.board = board};
  if (const std::uint32_t result = get_hba_type(board, &access.adapter_type); result != OVK_OK) {
    return result;
  }
  HeapBuffer<Region22Image> image{ovk::unfilled};
  if (!image) {
    return OVK_NO_MEMORY;
  }
  *image = ovk::default_region22;
  return access.write(*image);
}

std::uint32_t OVK_GetRegion22(std::uint32_t board, Region22Entry* entries, std::uint32_t* count) {
  Region22Access access{.board = board};
  if (const std::uint32_t result = get_hba_type(board, &access.adapter_type); result != OVK_OK) {
    return result;
  }
  HeapBuffer<Region22Image> image;
  if (!image) {
    return OVK_NO_MEMORY;
  }
  std::uint32_t size = 0;
  if (const std::uint32_t result = access.read(*image, size); result != OVK_OK) {
    return result;
  }
  if (!is_region22(*image, size)) {
    return OVK_INVALID_REGION;
  }
  // Intended: one entry more than the image holds; there is no more of it than its tail.
  std::ranges::transform(image->entries, entries, [](const ovk::Region22Slot& slot) {
    return std::bit_cast<Region22Entry>(slot);
  });
  Region22Entry last{};
  std::memcpy(&last, image->tail, sizeof image->tail);
  entries[OVK_REGION22_ENTRIES] = last;
  *count = OVK_REGION22_DELIVERED;
  return OVK_OK;
}

std::uint32_t OVK_SetRegion22(std::uint32_t board, const Region22Entry* entries,
                              std::uint32_t count) {
  Region22Access access{.board = board};
  if (const std::uint32_t result = get_hba_type(board, &access.adapter_type); result != OVK_OK) {
    return result;
  }
  HeapBuffer<Region22Image> image;
  if (!image) {
    return OVK_NO_MEMORY;
  }
  if (const std::uint32_t result = read_or_repair(access, *image); result != OVK_OK) {
    return result;
  }
  std::transform(
      entries, entries + std::min<std::uint32_t>(count, OVK_REGION22_ENTRIES), image->entries,
      [](const Region22Entry& entry) { return std::bit_cast<ovk::Region22Slot>(entry); });
  return access.write(*image);
}
