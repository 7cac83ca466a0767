#include "library/boards/driver_info.h"
#include "library/regions/region23.h"

#include <ovk/regions.h>

#include <algorithm>

using ovk::FoundRecord;
using ovk::LinkSlot;
using ovk::RecordType;
using ovk::Region23;

namespace {

constexpr std::uint8_t slot_valid = 1;

/** The SLI mode of a board that can keep its link down. */
std::uint32_t require_link_down_feature(std::uint32_t board, std::uint32_t& sli_mode) {
  std::uint8_t supported = 0;
  if (support_persist_link_disable(board, &supported) != OVK_OK) {
    return OVK_FAILED;
  }
  if (supported == 0) {
    return OVK_NOT_SUPPORTED;
  }
  return get_sli_mode(board, &sli_mode) == OVK_OK ? OVK_OK : OVK_FAILED;
}

/** The slot in use; null when none is. */
LinkSlot* slot_in_use(const FoundRecord& record) {
  for (const std::size_t offset : {std::size_t{0}, sizeof(LinkSlot)}) {
    auto* slot = record.data<LinkSlot>(offset);
    if (slot != nullptr && slot->valid == slot_valid) {
      return slot;
    }
  }
  return nullptr;
}

/** Finds the setting in Region 23 of a board that can keep its link down, and has it used. */
template <typename Use>
std::uint32_t with_setting(std::uint32_t board, std::uint32_t not_found, Use use) {
  std::uint32_t sli_mode = 0;
  if (const std::uint32_t refusal = require_link_down_feature(board, sli_mode); refusal != OVK_OK) {
    return refusal;
  }
  return ovk::with_record(board, sli_mode, RecordType::persistent_link_down, not_found, use);
}

}  // namespace

std::uint32_t OVK_GetPersistLinkDown(std::uint32_t board, std::uint16_t* link_down) {
  const auto read = [link_down](const Region23& /*region*/,
                                const FoundRecord& record) -> std::uint32_t {
    const LinkSlot* slot = slot_in_use(record);
    if (slot == nullptr) {
      return OVK_NOT_SUPPORTED;
    }
    *link_down = slot->link_enabled == 0 ? 1 : 0;
    return OVK_OK;
  };
  return with_setting(board, OVK_FAILED, read);
}

std::uint32_t OVK_SetPersistLinkDown(std::uint32_t board, std::uint16_t link_down) {
  const auto change = [link_down](const Region23& region,
                                  const FoundRecord& record) -> std::uint32_t {
    std::ranges::copy(ovk::link_down_fields, record.header->fields);
    LinkSlot* slot = slot_in_use(record);
    if (slot == nullptr) {
      return OVK_NOT_SUPPORTED;
    }
    slot->link_enabled = link_down == 0 ? 1 : 0;
    return region.write();
  };
  return with_setting(board, OVK_RECORD_NOT_FOUND, change);
}
