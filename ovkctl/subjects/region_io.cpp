#include "ovkctl/subjects/region_io.h"

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/values.h"

#include <ovk/core.h>
#include <ovk/mailbox.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace ovkctl {
namespace {

constexpr std::uint32_t kAttempts = 3;
constexpr std::uint32_t kDelayMs = 100;

/** The most bytes that one mailbox brings along. */
constexpr std::size_t kMailboxDataBytes = OVK_MAILBOX_EXTENDED_WORDS * sizeof(std::uint32_t);
using MailboxData = std::array<std::uint32_t, OVK_MAILBOX_EXTENDED_WORDS>;

/** Why a region cannot be read: the firmware's answer, and what the library makes of it. */
struct Unreadable {
  ovk::RegionStatus status;
  std::uint32_t result;
  const char* state;
};

constexpr Unreadable kUnreadable[] = {
    {ovk::RegionStatus::empty, OVK_REGION_STATUS_FFFD, "empty"},
    {ovk::RegionStatus::locked, OVK_REGION_STATUS_FFF7, "not accessible"},
    {ovk::RegionStatus::unknown, OVK_REGION_STATUS_FFF6, "not present"},
};

std::string region_text(const RegionKind& region) {
  return "region " + std::to_string(region.number);
}

}  // namespace

void fail_verification(std::uint32_t board, const std::string& what) {
  throw OperationFailed(
      what + " of board " + std::to_string(board) + " reads back differently from what was set.",
      "See with \"ovkctl list\" whether the board is ready, and set it again.");
}

const RegionKind& region_kind(std::uint32_t number) {
  const auto* const kind = std::ranges::find(ovk::region_kinds, number, &RegionKind::number);
  if (kind != std::end(ovk::region_kinds)) {
    return *kind;
  }
  std::string known;
  for (const RegionKind& region : ovk::region_kinds) {
    known += (known.empty() ? "" : ", ") + std::to_string(region.number);
  }
  throw UsageError("There is no region " + std::to_string(number) + ": the regions are " + known +
                   ".");
}

std::string RegionContents::state() const {
  const auto* const why = std::ranges::find(kUnreadable, result, &Unreadable::result);
  return why != std::end(kUnreadable) ? why->state : "written";
}

RegionIo::RegionIo(std::uint32_t board) : board_(board), by_command_(false) {
  DrvInfo info{.record_version = OVK_DRV_INFO_VERSION};
  if (OVK_GetDrvInfo(board, &info) != OVK_OK) {
    check_board(OVK_FAILED, board, "Reading the SLI mode");
  }
  by_command_ = info.sli_mode >= OVK_SLI4;
}

RegionContents RegionIo::read(const RegionKind& region) const {
  return by_command_ ? read_by_command(region) : read_by_mailbox(region);
}

Bytes RegionIo::read_bytes(const RegionKind& region) const {
  const RegionContents contents = read(region);
  if (!contents.readable()) {
    throw OperationFailed("The " + region_text(region) + " of board " + std::to_string(board_) +
                              " is " + contents.state() + ".",
                          "See with \"ovkctl region list\" what the board's regions hold.",
                          contents.result);
  }
  return contents.bytes;
}

void RegionIo::write(const RegionKind& region, const Bytes& bytes) const {
  if (by_command_) {
    write_by_command(region, bytes);
  } else {
    write_by_mailbox(region, bytes);
  }
  if (read_bytes(region) != bytes) {
    fail_verification(board_, "The " + region_text(region));
  }
}

RegionContents RegionIo::read_by_command(const RegionKind& region) const {
  RegionContents contents{.bytes = Bytes(region.length)};
  std::uint32_t size = region.length;
  contents.result = OVK_IssueDumpMBox(board_, OVK_REGION_REQUEST_TYPE, 0, region.number, 0,
                                      contents.bytes.data(), &size);
  if (std::ranges::find(kUnreadable, contents.result, &Unreadable::result) ==
      std::end(kUnreadable)) {
    check_board(contents.result, board_, "Reading " + region_text(region));
    if (size == 0) {
      check_board(OVK_FAILED, board_, "Reading " + region_text(region));
    }
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
        ovk::region_step_bytes / sizeof(std::uint32_t), kAttempts, kDelayMs);
    const auto* const why =
        std::ranges::find(kUnreadable, ovk::RegionStatus{mailbox.status}, &Unreadable::status);
    if (result != OVK_OK && why != std::end(kUnreadable)) {
      return {.bytes = {}, .result = why->result};
    }
    check_answer(result, mailbox.status, "Reading " + region_text(region));
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
  check_answer(static_cast<std::uint32_t>(result), status, "Writing " + region_text(region));
}

void RegionIo::write_by_mailbox(const RegionKind& region, const Bytes& bytes) const {
  if (bytes.size() > kMailboxDataBytes) {
    throw OperationFailed("The adapter of board " + std::to_string(board_) + " takes at most " +
                          std::to_string(kMailboxDataBytes) + " bytes at a time, so " +
                          region_text(region) + " cannot be written.");
  }
  const auto length = static_cast<std::uint32_t>(bytes.size());
  auto mailbox = std::bit_cast<Mailbox>(ovk::region_update(region.number, length));
  MailboxData data{};
  std::memcpy(data.data(), bytes.data(), bytes.size());
  const std::uint32_t result =
      OVK_IssueMboxWithRetryEx(board_, &mailbox, data.data(), ovk::region_data_flag,
                               length / sizeof(std::uint32_t), 0, kAttempts, kDelayMs);
  check_answer(result, mailbox.status, "Writing " + region_text(region));
}

void RegionIo::check_answer(std::uint32_t result, std::uint32_t mailbox_status,
                            const std::string& operation) const {
  if (mailbox_status != 0) {
    throw OperationFailed(operation + " of board " + std::to_string(board_) +
                              " failed: the firmware refused it with mailbox status " +
                              hex_text(mailbox_status, 4) + ".",
                          "The region may be locked. See the adapter's documentation for the "
                          "mailbox status.",
                          result);
  }
  check_board(result, board_, operation);
}

}  // namespace ovkctl
