#include "library/regions/region_update.h"

#include "driver_abi/regions.h"
#include "library/boards/driver_info.h"

#include <ovk/mailbox.h>
#include <ovk/regions.h>

#include <algorithm>

namespace {

/** Updates a region by the region command. Intended: only the firmware's status tells of a failure;
    a failure of the command itself passes as success. */
std::uint32_t update_region(std::uint32_t board, ovk::RegionNumber region, const void* image,
                            std::uint32_t length) {
  std::uint32_t mailbox_status = 0;
  OVK_IssueUpdateCfgMBox(board, OVK_REGION_REQUEST_TYPE, region, image, length, &mailbox_status);
  return mailbox_status;
}

/** Updates a region of a board whose adapter type has region commands. */
std::uint32_t update_region_by_type(std::uint32_t board, ovk::RegionNumber region,
                                    const void* image, std::uint32_t length) {
  std::uint32_t type = 0;
  if (const std::uint32_t result = get_hba_type(board, &type); result != OVK_OK) {
    return result;
  }
  return ovk::has_region_commands(type) ? update_region(board, region, image, length)
                                        : std::uint32_t{OVK_NOT_SUPPORTED};
}

}  // namespace

std::uint32_t OVK_SetRegion14(std::uint32_t board, const void* image) {
  return update_region_by_type(board, ovk::region14, image, OVK_REGION14_SIZE);
}

std::uint32_t fcoeSetRegion22(std::uint32_t board, const void* image, std::uint32_t length) {
  return update_region_by_type(board, ovk::region22, image,
                               std::min<std::uint32_t>(length, sizeof(ovk::Region22Image)));
}

std::uint32_t fcoeSetRegion23(std::uint32_t board, const void* image, std::uint32_t length) {
  return update_region(board, ovk::region23, image,
                       std::min<std::uint32_t>(length, sizeof(ovk::Region23Image)));
}
