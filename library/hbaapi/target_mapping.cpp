#include "library/core/command.h"
#include "library/core/in_out_count.h"
#include "library/core/payload.h"

#include <ovk/fabric.h>
#include <ovk/hbaapi.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

using ovk::Command;
using ovk::DriverStatus;
using ovk::Outcome;

namespace {

/** The driver's answer to RAVN_MGMT_HBA_FCPTARGETMAPPING. */
struct MappingReply {
  std::uint32_t count;
  FcpScsiEntry entries[OVK_MAX_TARGET_MAPPINGS];
};

static_assert(sizeof(MappingReply) == 303108);
static_assert(offsetof(MappingReply, entries) == 4);

/** An entry's share of a work buffer; it leaves room for the count before the entries. */
constexpr std::size_t work_bytes_per_entry = sizeof(FcpTargetMapping);
static_assert(work_bytes_per_entry == 300);

/** The response to INQUIRY for the device identification page (SPC), as far as it is read. */
struct IdentificationPage {
  std::uint8_t header[4];
  struct Descriptor {
    std::uint8_t code_set;
    std::uint8_t association_and_type;
    std::uint8_t reserved2;
    std::uint8_t length;
    std::uint8_t designator[248];
  } first;
};

static_assert(sizeof(IdentificationPage) == 256);
static_assert(offsetof(IdentificationPage, first.association_and_type) == 5);
static_assert(offsetof(IdentificationPage, first.length) == 7);
static_assert(offsetof(IdentificationPage, first.designator) == 8);

constexpr std::uint8_t identification_page_code = 0x83;
constexpr std::uint32_t identification_page_room = 255;
/** The inquiry takes a room for sense data but does not send it, and the driver may fill more. */
constexpr std::uint32_t stated_sense_room = 64;
constexpr std::uint8_t association_mask = 0x30;
constexpr std::uint8_t type_mask = 0x0F;
constexpr std::uint8_t naa_type = 3;
/** A longer designator has a length that is negative as a signed byte. */
constexpr std::uint8_t longest_designator = 127;

/** Reads the page; false when the logical unit did not give it. */
bool read_identification_page(std::uint32_t board, const FcpScsiEntry& entry,
                              IdentificationPage& page) {
  std::uint8_t sense[OVK_SENSE_MAX_LENGTH]{};
  std::uint32_t page_length = identification_page_room;
  std::uint32_t sense_length = stated_sense_room;
  const auto lun_word0 = static_cast<std::uint32_t>(entry.FcpLun);
  const auto lun_word1 = static_cast<std::uint32_t>(entry.FcpLun >> 32);
  const std::uint32_t result =
      SendScsiInquiry(board, &entry.PortWWN, lun_word0, lun_word1, 1, identification_page_code,
                      &page, &page_length, sense, &sense_length);
  return result == OVK_OK && page_length != 0 && sense_length == 0;
}

/** Whether a descriptor identifies the logical unit in a way that FC-HBA knows. */
bool identifies_the_unit(const IdentificationPage::Descriptor& descriptor) {
  return (descriptor.association_and_type & association_mask) == 0 &&
         (descriptor.association_and_type & type_mask) <= naa_type &&
         descriptor.length <= longest_designator;
}

void identify(std::uint32_t board, FcpScsiEntryV2& mapping) {
  IdentificationPage page{};
  if (read_identification_page(board, mapping.entry, page) && identifies_the_unit(page.first)) {
    std::memcpy(mapping.identifier, &page.first,
                offsetof(IdentificationPage::Descriptor, designator) + page.first.length);
  }
}

}  // namespace

std::uint32_t GetFcpTargetMapping(std::uint32_t board, FcpTargetMapping* map) {
  // Intended: a missing buffer is passed on, and the channel refuses the command.
  const ovk::HeapBuffer<MappingReply> reply;
  Command command{
      board,
      {.request_size = std::min<std::uint32_t>(map->NumberOfEntries, OVK_MAX_TARGET_MAPPINGS)}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_FCPTARGETMAPPING">(reply.get());
  const std::uint32_t count = command.block.reply_size;
  // Intended: the count is the driver's whether the command succeeded or not.
  if (const std::uint32_t refusal = ovk::report_count(map->NumberOfEntries, count);
      refusal != OVK_OK) {
    return refusal;
  }
  if (outcome.succeeded() && reply) {
    std::memcpy(map->entry, reply->entries,
                std::min<std::size_t>(count, OVK_MAX_TARGET_MAPPINGS) * sizeof(FcpScsiEntry));
  }
  return outcome.result({{DriverStatus::does_not_fit, OVK_MORE_DATA}});
}

std::uint32_t OVK_GetFcpTargetMappingV2(std::uint32_t board, const Wwn* port_wwn,
                                        FcpTargetMappingV2* map) {
  PortAttributes port{};
  if (GetAdapterPortAttributes(board, 0, &port) != OVK_OK) {
    return OVK_FAILED;
  }
  if (std::memcmp(&port.PortWWN, port_wwn, sizeof *port_wwn) != 0) {
    return OVK_ILLEGAL_WWN;
  }
  if (map->NumberOfEntries > SIZE_MAX / work_bytes_per_entry) {
    return OVK_FAILED;
  }
  const ovk::HeapBuffer<FcpTargetMapping> work{map->NumberOfEntries * work_bytes_per_entry};
  if (!work) {
    return OVK_FAILED;
  }
  work->NumberOfEntries = map->NumberOfEntries;
  const std::uint32_t result = GetFcpTargetMapping(board, work.get());
  if (result != OVK_OK && result != OVK_MORE_DATA) {
    return OVK_FAILED;
  }
  map->NumberOfEntries = work->NumberOfEntries;
  if (result != OVK_OK) {
    return result;
  }
  const auto delivered = std::min<std::uint32_t>(work->NumberOfEntries, OVK_MAX_TARGET_MAPPINGS);
  for (std::uint32_t i = 0; i < delivered; ++i) {
    map->entry[i].entry = work->entry[i];
    identify(board, map->entry[i]);
  }
  return OVK_OK;
}

std::uint32_t OVK_GetFcpTargetMappingByWWN(std::uint32_t /*board*/, const Wwn* /*port_wwn*/,
                                           FcpTargetMapping* /*map*/) {
  return OVK_NOT_SUPPORTED;
}
