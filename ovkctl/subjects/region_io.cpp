#include "ovkctl/subjects/region_io.h"

#include <ovk/core.h>
#include <ovk/mailbox.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <fmt/core.h>

namespace ovkctl {
namespace {

constexpr std::uint32_t attempts = 3;
constexpr std::uint32_t delay_milliseconds = 100;

/** The most bytes that one mailbox brings along. */
constexpr std::size_t mailbox_data_bytes = OVK_MAILBOX_EXTENDED_WORDS * sizeof(std::uint32_t);
using MailboxData = std::array<std::uint32_t, OVK_MAILBOX_EXTENDED_WORDS>;

/** Why a region cannot be read: the firmware's answer, and what the library makes of it. */
struct Unreadable {
  ovk::RegionStatus status;
  std::uint32_t result;
  const char* state;
};

constexpr Unreadable unreadable_regions[] = {
    {ovk::RegionStatus::empty, OVK_REGION_STATUS_FFFD, "empty"},
    {ovk::RegionStatus::locked, OVK_REGION_STATUS_FFF7, "not accessible"},
    {ovk::RegionStatus::unknown, OVK_REGION_STATUS_FFF6, "not present"},
};

/** Why a region cannot be read, by the firmware's answer or the library's; null for another. */
template <typename Answer>
const char* find_state(Answer Unreadable::*member, Answer answer) {
  const auto* const found = std::ranges::find(unreadable_regions, answer, member);
  return found != std::end(unreadable_regions) ? found->state : nullptr;
}

/** What is done with a region, as the start of a sentence. */
std::string doing(const char* verb, const RegionKind& region) {
  return fmt::format("{} region {}", verb, region.number);
}

}  // namespace

const RegionKind& region_kind(std::uint32_t number) {
  const auto* const kind = std::ranges::find(ovk::region_kinds, number, &RegionKind::number);
  if (kind != std::end(ovk::region_kinds)) {
    return *kind;
  }
  std::string known;
  for (const RegionKind& region : ovk::region_kinds) {
    known += fmt::format("{}{}", known.empty() ? "" : ", ", region.number);
  }
  throw UsageError("There is no region {}: the regions are {}.", number, known);
}

RegionIo::RegionIo(const Board& board) : board_{board}, by_command_{false} {
  DrvInfo info{.record_version = OVK_DRV_INFO_VERSION};
  board.check(OVK_GetDrvInfo(board, &info) == OVK_OK ? OVK_OK : OVK_FAILED, "Reading the SLI mode");
  by_command_ = info.sli_mode >= OVK_SLI4;
}

RegionContents RegionIo::read(const RegionKind& region) const {
  return by_command_ ? read_by_command(region) : read_by_mailbox(region);
}

void RegionIo::write(const RegionKind& region, const Bytes& bytes) const {
  if (by_command_) {
    write_by_command(region, bytes);
  } else {
    write_by_mailbox(region, bytes);
  }
  const RegionContents stored = read(region);
  board_.check_stored(stored.readable() && stored.bytes == bytes,
                      fmt::format("Region {}", region.number));
}

RegionContents RegionIo::read_by_command(const RegionKind& region) const {
  RegionContents contents{.bytes = Bytes(region.length)};
  std::uint32_t size = region.length;
  const std::uint32_t result = OVK_IssueDumpMBox(board_, OVK_REGION_REQUEST_TYPE, 0, region.number,
                                                 0, contents.bytes.data(), &size);
  if (const char* const state = find_state(&Unreadable::result, result)) {
    contents.state = state;
  } else {
    board_.check(result, doing("Reading", region));
    board_.check(size != 0 ? OVK_OK : OVK_FAILED, doing("Reading", region));
  }
  contents.bytes.resize(size);
  return contents;
}

RegionContents RegionIo::read_by_mailbox(const RegionKind& region) const {
  RegionContents contents;
  while (contents.bytes.size() < region.length) {
    const auto position = static_cast<std::uint32_t>(contents.bytes.size());
    const auto wanted = std::min(ovk::region_step_bytes, region.length - position);
    auto mailbox = std::bit_cast<Mailbox>(ovk::region_dump(region.number, position));
    MailboxData data{};
    const std::uint32_t result = OVK_IssueMboxWithRetryEx(
        board_, &mailbox, data.data(), ovk::region_data_flag, 0,
        ovk::region_step_bytes / sizeof(std::uint32_t), attempts, delay_milliseconds);
    const char* const state = find_state(&Unreadable::status, ovk::RegionStatus{mailbox.status});
    if (result != OVK_OK && state != nullptr) {
      return {.bytes = {}, .state = state};
    }
    check_answer(result, mailbox.status, doing("Reading", region));
    const std::uint32_t count = std::min(std::bit_cast<ovk::RegionMailbox>(mailbox).length, wanted);
    if (count == 0) {
      break;
    }
    const auto* const bytes = static_cast<const std::uint8_t*>(static_cast<void*>(data.data()));
    contents.bytes.insert(contents.bytes.end(), bytes, bytes + count);
  }
  return contents;
}

void RegionIo::write_by_command(const RegionKind& region, const Bytes& bytes) const {
  std::uint32_t status = 0;
  const std::int32_t result =
      OVK_IssueUpdateCfgMBox(board_, OVK_REGION_REQUEST_TYPE, region.number, bytes.data(),
                             static_cast<std::uint32_t>(bytes.size()), &status);
  check_answer(static_cast<std::uint32_t>(result), status, doing("Writing", region));
}

void RegionIo::write_by_mailbox(const RegionKind& region, const Bytes& bytes) const {
  if (bytes.size() > mailbox_data_bytes) {
    throw OperationFailed(fmt::format(
        "The adapter of {} takes at most {} bytes at a time, so region {} cannot be written.",
        board_.name(), mailbox_data_bytes, region.number));
  }
  const auto length = static_cast<std::uint32_t>(bytes.size());
  auto mailbox = std::bit_cast<Mailbox>(ovk::region_update(region.number, length));
  MailboxData data{};
  std::memcpy(data.data(), bytes.data(), bytes.size());
  const std::uint32_t result =
      OVK_IssueMboxWithRetryEx(board_, &mailbox, data.data(), ovk::region_data_flag,
                               length / sizeof(std::uint32_t), 0, attempts, delay_milliseconds);
  check_answer(result, mailbox.status, doing("Writing", region));
}

void RegionIo::check_answer(std::uint32_t result, std::uint32_t mailbox_status,
                            const std::string& operation) const {
  if (mailbox_status != 0) {
    throw OperationFailed(fmt::format("{} of {} failed: the firmware refused it with mailbox "
                                      "status {:#06x}.",
                                      operation, board_.name(), mailbox_status),
                          "The region may be locked. See the adapter's documentation for the "
                          "mailbox status.",
                          result);
  }
  board_.check(result, operation);
}

}  // namespace ovkctl
