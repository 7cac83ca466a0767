#include "driver_abi/regions.h"
#include "library/mailbox/region_mailbox.h"

#include <algorithm>
#include <bit>
#include <cstring>

using ovk::RegionMailbox;

namespace {

constexpr std::uint32_t single_attempt = 1;
constexpr std::uint32_t retry_delay_ms = 100;

/** The room that one dump mailbox is given; it asks for less. */
constexpr std::uint32_t dump_reply_words = 128;

static_assert(sizeof(RegionMailbox) == sizeof(Mailbox));

/** The bytes that are read so far, and room for one whole reply behind the longest region. */
struct Staging {
  std::uint8_t bytes[ovk::max_region_length + dump_reply_words * sizeof(std::uint32_t)];
};

/** Reads one step of a region to a place of the staging buffer. */
std::uint32_t dump_step(std::uint32_t board, RegionMailbox& request, std::uint8_t* place) {
  auto mailbox = std::bit_cast<Mailbox>(request);
  std::uint32_t reply[dump_reply_words]{};
  const std::uint32_t result =
      OVK_IssueMboxWithRetryEx(board, &mailbox, reply, ovk::region_data_flag, 0, dump_reply_words,
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

std::uint32_t update_region(std::uint32_t board, std::uint32_t region, const void* data,
                            std::uint32_t length) {
  auto mailbox = std::bit_cast<Mailbox>(ovk::region_update(region, length));
  // With no words to receive, the data is only read.
  auto* words = static_cast<std::uint32_t*>(const_cast<void*>(data));
  return OVK_IssueMboxWithRetryEx(board, &mailbox, words, ovk::region_data_flag,
                                  length / sizeof(std::uint32_t), 0, single_attempt,
                                  retry_delay_ms);
}

}  // namespace

std::uint32_t LEG_IssueDumpMBox(std::uint32_t board, std::uint8_t* dest, std::uint32_t region) {
  const std::uint32_t region_length = valid_region(region);
  Staging staging{};
  std::uint32_t position = 0;
  while (true) {
    RegionMailbox mailbox = ovk::region_dump(region, position);
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
  return update_region(board, ovk::region22, data, length);
}

std::uint32_t LegacySetRegion23(std::uint32_t board, const void* data, std::uint32_t length) {
  return update_region(board, ovk::region23, data, length);
}
