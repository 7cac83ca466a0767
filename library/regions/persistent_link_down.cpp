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

}  // namespace

std::uint32_t OVK_GetPersistLinkDown(std::uint32_t board, std::uint16_t* link_down) {
  std::uint32_t sli_mode = 0;
  if (const std::uint32_t refusal = require_link_down_feature(board, sli_mode); refusal != OVK_OK) {
    return refusal;
  }
  const Region23 region{board, sli_mode};
  if (region.read_result() != OVK_OK) {
    return region.read_result();
  }
  const FoundRecord record = region.find(RecordType::persistent_link_down);
  if (!record) {
    return OVK_FAILED;
  }
  const LinkSlot* slot = slot_in_use(record);
  if (slot == nullptr) {
    return OVK_NOT_SUPPORTED;
  }
  *link_down = slot->link_enabled == 0 ? 1 : 0;
  return OVK_OK;
}

std::uint32_t OVK_SetPersistLinkDown(std::uint32_t board, std::uint16_t link_down) {
  std::uint32_t sli_mode = 0;
  if (const std::uint32_t refusal = require_link_down_feature(board, sli_mode); refusal != OVK_OK) {
    return refusal;
  }
  const Region23 region{board, sli_mode};
  if (region.read_result() != OVK_OK) {
    return region.read_result();
  }
  const FoundRecord record = region.find(RecordType::persistent_link_down);
  if (!record) {
    return OVK_RECORD_NOT_FOUND;
  }
  std::ranges::copy(ovk::link_down_fields, record.header->fields);
  LinkSlot* slot = slot_in_use(record);
  if (slot == nullptr) {
    return OVK_NOT_SUPPORTED;
  }
  slot->link_enabled = link_down == 0 ? 1 : 0;
  return region.write();
}
