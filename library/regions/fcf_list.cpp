#include "library/boards/driver_info.h"
#include "library/core/command.h"
#include "library/core/in_out_count.h"

#include <ovk/core.h>
#include <ovk/regions.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

using ovk::Command;
using ovk::Outcome;

namespace {

/** The index that asks for the first FCF, and that the driver gives behind the last one. */
constexpr std::uint32_t list_end = 0xFFFF;

/** The driver's answer to RAVN_MGMT_HBA_GET_FCF_LIST: one FCF. */
struct FcfRecord {
  std::uint32_t reserved0;
  std::uint32_t word4;
  std::uint32_t word8;
  std::uint32_t word12;
  std::uint16_t half16;
  std::uint8_t flag18;
  std::uint8_t reserved19;
  Wwn name20;
  std::uint16_t half28;
  std::uint8_t byte30;
  std::uint8_t reported;
  std::uint32_t reserved32;
  std::uint8_t block36[512];
  Wwn name548;
};

static_assert(sizeof(FcfRecord) == 556);
static_assert(offsetof(FcfRecord, word4) == 4);
static_assert(offsetof(FcfRecord, word8) == 8);
static_assert(offsetof(FcfRecord, word12) == 12);
static_assert(offsetof(FcfRecord, half16) == 16);
static_assert(offsetof(FcfRecord, flag18) == 18);
static_assert(offsetof(FcfRecord, name20) == 20);
static_assert(offsetof(FcfRecord, half28) == 28);
static_assert(offsetof(FcfRecord, byte30) == 30);
static_assert(offsetof(FcfRecord, reported) == 31);
static_assert(offsetof(FcfRecord, block36) == 36);
static_assert(offsetof(FcfRecord, name548) == 548);

bool is_empty(const FcfRecord& record) {
  const FcfRecord nothing{};
  return std::memcmp(&record, &nothing, sizeof record) == 0;
}

void reshape(const FcfRecord& record, FcfListEntry& entry) {
  entry.name20 = record.name20;
  entry.name548 = record.name548;
  entry.word12 = record.word12;
  entry.half16 = record.half16;
  entry.flag18 = record.flag18 == 1 ? 1 : 0;
  std::ranges::copy(record.block36, entry.block36);
  entry.half28 = record.half28;
  entry.byte30 = record.byte30;
  entry.reserved539 = 0;
  entry.word4 = record.word4;
  entry.reserved544 = 0;
  entry.word8 = record.word8;
}

/** Stores an FCF if there is room; count tells how many there are in any case. */
void deliver(const FcfRecord& record, FcfList& list, std::uint16_t room, std::uint16_t& count) {
  if (record.reported == 0) {
    return;
  }
  if (count < room) {
    reshape(record, list.entries[count]);
  }
  ++count;
}

}  // namespace

std::uint32_t OVK_FCoEGetFCFList(std::uint32_t board, FcfList* list) {
  std::uint32_t sli_mode = 0;
  if (get_sli_mode(board, &sli_mode) != OVK_OK) {
    return OVK_FAILED;
  }
  if (sli_mode < OVK_SLI4) {
    if (ovk::log_enabled(OVK_LOG_ERROR)) {
      ovk::write_log_line(ovk::here(), "ERROR: sliMode %d not supported\n\n", sli_mode);
    }
    return OVK_NOT_SUPPORTED;
  }

  const std::uint16_t room = list->count;
  std::uint16_t count = 0;
  std::uint32_t index = list_end;
  std::uint32_t last_value = 0;
  // The walk leaves a driver whose table never ends when the 16-bit count could be full.
  for (std::uint32_t step = 0; step < std::numeric_limits<std::uint16_t>::max(); ++step) {
    FcfRecord record{};
    Command command{board, {.index = index}};
    const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_GET_FCF_LIST">(&record);
    last_value = command.block.code;
    if (!outcome.succeeded()) {
      break;  // intended: what was gathered so far counts, and the failure does not
    }
    list->value = 0;  // intended: the caller's value stays only when the first command fails
    if (is_empty(record)) {
      break;
    }
    deliver(record, *list, room, count);
    index = command.block.value;
    if (index == list_end) {
      break;
    }
  }
  list->value = static_cast<std::uint16_t>(list->value + last_value);
  return ovk::report_count(list->count, count);
}
