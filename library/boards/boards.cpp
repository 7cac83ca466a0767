#include "library/core/board_tables.h"
#include "library/core/command.h"
#include "library/core/lifecycle.h"

#include <ovk/core.h>
#include <ovk/hbaapi.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <optional>

using ovk::Command;

namespace {

constexpr std::uint8_t diag_board_entry_version = 10;

/** The driver's answer to RAVN_MGMT_INITBRDS. */
struct [[gnu::packed]] DiscoveryRecord {
  std::uint32_t device;
  std::uint32_t word4;
  std::uint32_t word8;
  std::uint16_t half12;
  std::uint16_t reserved14;
  std::uint32_t word16;
  std::int32_t readiness;
  std::uint32_t word24;
  std::uint32_t words28[12];
  std::uint32_t word76;
  std::uint8_t byte80;
};

static_assert(sizeof(DiscoveryRecord) == 81);
static_assert(offsetof(DiscoveryRecord, word4) == 4);
static_assert(offsetof(DiscoveryRecord, word8) == 8);
static_assert(offsetof(DiscoveryRecord, half12) == 12);
static_assert(offsetof(DiscoveryRecord, word16) == 16);
static_assert(offsetof(DiscoveryRecord, readiness) == 20);
static_assert(offsetof(DiscoveryRecord, word24) == 24);
static_assert(offsetof(DiscoveryRecord, words28) == 28);
static_assert(offsetof(DiscoveryRecord, word76) == 76);
static_assert(offsetof(DiscoveryRecord, byte80) == 80);

/** Whether the device word is that of a function which is not Fibre Channel. */
bool is_other_function(std::uint32_t device) {
  constexpr std::uint16_t others[] = {0x0714, 0x0724, 0x072C, 0xE200, 0xF100};
  return std::ranges::find(others, static_cast<std::uint16_t>(device >> 16)) != std::end(others);
}

/** Asks the driver for the board with this number. Most numbers have none. */
std::optional<DiscoveryRecord> discover(std::uint32_t number, ovk::LogPlace place) {
  DiscoveryRecord record{};
  Command command = Command::to_driver_board(number, place);
  if (!command.invoke<"RAVN_MGMT_INITBRDS">(&record).succeeded() ||
      is_other_function(record.device)) {
    return std::nullopt;
  }
  return record;
}

/** Numbers the boards that the driver has and hands each to `describe(index, record)`. */
template <typename Describe>
std::uint32_t number_boards(Describe describe, ovk::LogPlace place) {
  std::uint32_t count = 0;
  for (std::uint32_t number = 0; number < OVK_MAX_BOARDS; ++number) {
    ovk_rststatistics[number] = {};
    ovk_refresh_timer[number] = 0;
    if (const auto record = discover(number, place)) {
      ovk_brdno[count] = static_cast<std::int32_t>(number);
      describe(count, *record);
      ++count;
    }
  }
  ovravn_brdCnt = count;
  return count;
}

std::int32_t state_at_discovery(const DiscoveryRecord& record) {
  return record.readiness < 0 ? OVK_BOARD_NOT_READY : OVK_BOARD_NORMAL;
}

void describe_board(DiagBoardEntry& entry, const DiscoveryRecord& record) {
  entry.device = record.device;
  entry.word4 = record.word4;
  entry.word8 = record.word8;
  entry.byte80 = record.byte80;
  entry.entry_version = diag_board_entry_version;
  entry.half12 = record.half12;
  entry.word16 = record.word16;
  entry.readiness = record.readiness;
  entry.word24 = record.word24;
  std::memcpy(entry.words28, record.words28, sizeof entry.words28);
  entry.word76 = record.word76;
}

void describe_board(LegacyBoardEntry& entry, const DiscoveryRecord& record) {
  entry.device = record.device;
  entry.word4 = record.word4;
  entry.word8 = record.word8;
  entry.byte12 = static_cast<std::uint8_t>(record.half12);
  entry.word16 = record.word16;
  entry.readiness = record.readiness;
  entry.word24 = record.word24;
  std::memcpy(entry.words28, record.words28, sizeof entry.words28);
}

}  // namespace

std::uint32_t OVK_InitDiagEnv(DiagBoardEntry* boards, std::uint32_t capacity) {
  OpenLogger();
  if (ovk_mgmt_init() != 0) {
    return 0;
  }
  std::ranges::fill(ovk_brdno, ovk::unmapped_board);
  return number_boards(
      [=](std::uint32_t index, const DiscoveryRecord& record) {
        if (index < capacity) {
          describe_board(boards[index], record);
          ovk_state[index] = state_at_discovery(record);
        }
      },
      ovk::here());
}

std::uint32_t InitDiagEnv(void* boards) {
  OpenLogger();
  if (ovk_mgmt_init() != 0) {
    return 0;
  }
  // Intended: the mapping is not cleared first, old callers rely on it.
  return number_boards(
      [entries = static_cast<LegacyBoardEntry*>(boards)](std::uint32_t index,
                                                         const DiscoveryRecord& record) {
        describe_board(entries[index], record);
        ovk_state[index] = state_at_discovery(record);
      },
      ovk::here());
}
