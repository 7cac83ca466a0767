#include "library/mailbox/region_mailbox.h"

#include "driver_abi/regions.h"
#include "library/boards/driver_info.h"
#include "library/core/assertion.h"
#include "library/core/command.h"
#include "library/core/payload.h"

#include <algorithm>

using ovk::Bytes;
using ovk::Command;
using ovk::HeapBuffer;
using ovk::max_region_length;
using ovk::Outcome;

namespace {

/** The results of this topic that have no name for the whole library. */
constexpr std::uint32_t unknown_region = 3;
constexpr std::uint32_t no_destination = 4;
constexpr std::uint32_t no_room = 7;

using RegionBuffer = HeapBuffer<Bytes<max_region_length>>;

/** Delivers what lies behind `offset` of the `available` bytes, and says how much that is. */
void deliver(const RegionBuffer& image, std::uint32_t available, std::uint32_t offset,
             std::uint8_t* dest, std::uint32_t& size) {
  available = std::min(available, max_region_length);
  size = offset < available ? std::min(size, available - offset) : 0;
  std::copy_n(image->bytes + std::min(offset, available), size, dest);
}

}  // namespace

std::uint32_t valid_region(std::uint32_t region) {
  if (const std::uint32_t length = ovk::region_length(region); length != 0) {
    return length;
  }
  if (ovk::log_enabled(OVK_LOG_ERROR)) {
    ovk::write_log_line(ovk::here(), "ERROR: Invalid region %d\n\n", region);
  }
  return 0;
}

namespace ovk {

std::optional<std::uint32_t> region_result(std::uint32_t mailbox_status) {
  switch (mailbox_status) {
    case static_cast<std::uint32_t>(RegionStatus::empty):
      return OVK_REGION_STATUS_FFFD;
    case static_cast<std::uint32_t>(RegionStatus::locked):
      return OVK_REGION_STATUS_FFF7;
    case static_cast<std::uint32_t>(RegionStatus::unknown):
      return OVK_REGION_STATUS_FFF6;
    default:
      return std::nullopt;
  }
}

}  // namespace ovk

std::uint32_t OVK_IssueDumpMBox(std::uint32_t board, std::uint32_t type, std::uint32_t arg,
                                std::uint32_t region, std::uint32_t offset, std::uint8_t* dest,
                                std::uint32_t* size) {
  if (const auto refused = ovk::sli4_gate(board)) return *refused;
  if (type < 1 || type > 4) {
    return OVK_NOT_SUPPORTED;
  }
  if (*size == 0) {
    return no_room;
  }
  if (dest == nullptr) {
    return no_destination;
  }
  const std::uint32_t region_length = valid_region(region);
  if (region_length == 0) {
    return unknown_region;
  }
  ovk::assert_that(region_length <= max_region_length, "region_length <= 4096");

  const RegionBuffer image;
  if (!image) {
    return OVK_NO_MEMORY;
  }
  const ovk::RegionReadRequest request{.type = type, .region = region, .argument = arg};
  std::uint32_t mailbox_status = 0;
  Command command{board, {.index = offset, .request_size = region_length}};
  const Outcome outcome =
      command.invoke<"RAVN_MGMT_HBA_ISSUE_DMP_MBX">(&request, image.get(), &mailbox_status);
  if (mailbox_status != 0) {
    *size = 0;
    // Intended: a firmware failure without a code of its own passes as the delivery's success.
    return ovk::region_result(mailbox_status)
        .value_or(static_cast<std::uint32_t>(outcome.invoke_result));
  }
  // Intended: what came is delivered also when the command failed.
  deliver(image, command.block.reply_size, offset, dest, *size);
  return outcome.result();
}

std::int32_t OVK_IssueUpdateCfgMBox(std::uint32_t board, std::uint8_t type, std::uint32_t region,
                                    const void* data, std::uint32_t length,
                                    std::uint32_t* mbxStatus) {
  if (type != OVK_REGION_REQUEST_TYPE) {
    return OVK_NOT_SUPPORTED;
  }
  if (const auto refused = ovk::sli4_gate(board)) return static_cast<std::int32_t>(*refused);
  const std::uint32_t region_length = valid_region(region);
  if (region_length == 0) {
    return unknown_region;
  }
  if (length > region_length) {
    return no_room;
  }
  const RegionBuffer image{ovk::unfilled};
  if (!image) {
    return OVK_NO_MEMORY;
  }
  const auto* const written = ovk::whole_input(*image, data, length);
  std::uint32_t mailbox_status = 0;
  Command command{board, {.request_size = region_length, .value = region}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_ISSUE_UPD_MBX">(written, &mailbox_status);
  if (outcome.succeeded()) {
    *mbxStatus = mailbox_status;
  }
  return static_cast<std::int32_t>(outcome.result());
}
