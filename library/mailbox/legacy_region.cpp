#include "library/mailbox/region_mailbox.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

namespace {

/** What both region mailboxes of an older adapter have in common, sent as the firmware has it. */
constexpr std::uint8_t region_access = 0x32;
constexpr std::uint32_t region_data_flag = 5;
constexpr std::uint32_t single_attempt = 1;
constexpr std::uint32_t retry_delay_ms = 100;

/** The mailbox commands. */
constexpr std::uint8_t dump_memory = 0x17;
constexpr std::uint8_t update_config = 0x1B;

/** What one dump mailbox asks for, and the room it is given. */
constexpr std::uint32_t dump_step_bytes = 128;
constexpr std::uint32_t dump_reply_words = 128;

struct RegionMailbox {
  std::uint8_t byte0;
  std::uint8_t command;
  std::uint16_t status;
  std::uint8_t access;
  std::uint8_t reserved5[3];
  std::uint16_t region;
  std::uint16_t position;  ///< of a dump: offset into the region; of an update: its length
  std::uint32_t reserved12;
  std::uint32_t length;  ///< in bytes; a dump returns here how many it delivered
  std::uint32_t reserved20[59];
};

static_assert(sizeof(RegionMailbox) == sizeof(Mailbox));
static_assert(offsetof(RegionMailbox, command) == offsetof(Mailbox, command));
static_assert(offsetof(RegionMailbox, status) == offsetof(Mailbox, status));
static_assert(offsetof(RegionMailbox, access) == 4);
static_assert(offsetof(RegionMailbox, region) == 8);
static_assert(offsetof(RegionMailbox, position) == 10);
static_assert(offsetof(RegionMailbox, length) == 16);

/** The bytes that are read so far, and room for one whole reply behind the longest region. */
struct Staging {
  std::uint8_t bytes[ovk::max_region_length + dump_reply_words * sizeof(std::uint32_t)];
};

/** Reads one step of a region to a place of the staging buffer. */
std::uint32_t dump_step(std::uint32_t board, RegionMailbox& request, std::uint8_t* place) {
  auto mailbox = std::bit_cast<Mailbox>(request);
  std::uint32_t reply[dump_reply_words]{};
  const std::uint32_t result =
      OVK_IssueMboxWithRetryEx(board, &mailbox, reply, region_data_flag, 0, dump_reply_words,
                               single_attempt, retry_delay_ms);
  std::memcpy(place, reply, sizeof reply);
  request = std::bit_cast<RegionMailbox>(mailbox);
  return result;
}

/** The result of a dump whose mailbox failed. */
std::uint32_t dump_failure(const RegionMailbox& mailbox, std::uint32_t result) {
  if (mailbox.status == 0) {
    return result;
  }
  return ovk::region_result(mailbox.status).value_or(mailbox.status);
}

std::uint32_t update_region(std::uint32_t board, std::uint16_t region, const void* data,
                            std::uint32_t length) {
  auto mailbox =
      std::bit_cast<Mailbox>(RegionMailbox{.command = update_config,
                                           .access = region_access,
                                           .region = region,
                                           .position = static_cast<std::uint16_t>(length),
                                           .length = length});
  // With no words to receive, the data is only read.
  auto* words = static_cast<std::uint32_t*>(const_cast<void*>(data));
  return OVK_IssueMboxWithRetryEx(board, &mailbox, words, region_data_flag,
                                  length / sizeof(std::uint32_t), 0, single_attempt,
                                  retry_delay_ms);
}

}  // namespace

std::uint32_t LEG_IssueDumpMBox(std::uint32_t board, std::uint8_t* dest, std::uint32_t region) {
  const std::uint32_t region_length = valid_region(region);
  Staging staging{};
  std::uint32_t position = 0;
  while (true) {
    RegionMailbox mailbox{.command = dump_memory,
                          .access = region_access,
                          .region = static_cast<std::uint16_t>(region),
                          .position = static_cast<std::uint16_t>(position),
                          .length = dump_step_bytes};
    const std::uint32_t result = dump_step(board, mailbox, staging.bytes + position);
    if (result != OVK_OK) {
      return dump_failure(mailbox, result);
    }
    // A length beyond the region ends the read as the region's end does.
    const std::uint32_t missing = region_length - position;
    if (mailbox.length >= missing || mailbox.length == 0) {
      std::memcpy(dest, staging.bytes, position + std::min(mailbox.length, missing));
      return OVK_OK;
    }
    position += mailbox.length;
  }
}

std::uint32_t LegacySetRegion22(std::uint32_t board, const void* data, std::uint32_t length) {
  return update_region(board, 22, data, length);
}

std::uint32_t LegacySetRegion23(std::uint32_t board, const void* data, std::uint32_t length) {
  return update_region(board, 23, data, length);
}
