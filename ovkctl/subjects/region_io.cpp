#include "ovkctl/subjects/region_io.h"

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/values.h"

#include <ovk/core.h>
#include <ovk/mailbox.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

namespace ovkctl {
namespace {

constexpr RegionKind kRegions[] = {
    {0, 60},   {4, 120},   {5, 200},   {6, 200},  {7, 200},    {8, 60},
    {9, 256},  {10, 256},  {14, 1000}, {17, 100}, {19, 2028},  {21, 200},
    {22, 512}, {23, 1024}, {30, 12},   {32, 8},   {160, 4096}, {162, 4096},
};

// The mailboxes of an older adapter: their commands, and what both have in common.
constexpr std::uint8_t kDumpMemory = 0x17;
constexpr std::uint8_t kUpdateConfig = 0x1B;
constexpr std::uint32_t kRegionAccess = 0x32;
constexpr std::uint32_t kRegionDataFlag = 5;
constexpr std::uint32_t kStepBytes = 128;
constexpr std::uint32_t kAttempts = 3;
constexpr std::uint32_t kDelayMs = 100;

/** The most bytes that one mailbox brings along. */
constexpr std::size_t kMailboxDataBytes = OVK_MAILBOX_EXTENDED_WORDS * sizeof(std::uint32_t);
using MailboxData = std::array<std::uint32_t, OVK_MAILBOX_EXTENDED_WORDS>;

Mailbox region_mailbox(std::uint8_t command, std::uint32_t region, std::uint32_t position,
                       std::uint32_t length) {
  Mailbox mailbox{};
  mailbox.command = command;
  mailbox.words4[0] = kRegionAccess;
  mailbox.words4[1] = region | position << 16;
  mailbox.words4[3] = length;
  return mailbox;
}

/** What the firmware's answer about a region means, if it means that there is nothing in it. */
std::optional<std::uint32_t> region_result(std::uint32_t mailbox_status) {
  switch (mailbox_status) {
    case 0xFFFD:
      return OVK_REGION_STATUS_FFFD;
    case 0xFFF7:
      return OVK_REGION_STATUS_FFF7;
    case 0xFFF6:
      return OVK_REGION_STATUS_FFF6;
    default:
      return {};
  }
}

std::string region_text(const RegionKind& region) {
  return "region " + std::to_string(region.number);
}

}  // namespace

void fail_verification(std::uint32_t board, const std::string& what) {
  throw OperationFailed(
      what + " of board " + std::to_string(board) + " reads back differently from what was set.",
      "See with \"ovkctl list\" whether the board is ready, and set it again.");
}

std::span<const RegionKind> all_regions() { return kRegions; }

const RegionKind& region_kind(std::uint32_t number) {
  const auto* const kind = std::ranges::find(kRegions, number, &RegionKind::number);
  if (kind != std::end(kRegions)) {
    return *kind;
  }
  std::string known;
  for (const RegionKind& region : kRegions) {
    known += (known.empty() ? "" : ", ") + std::to_string(region.number);
  }
  throw UsageError("There is no region " + std::to_string(number) + ": the regions are " + known +
                   ".");
}

std::string RegionContents::state() const {
  switch (result) {
    case OVK_OK:
      return "written";
    case OVK_REGION_STATUS_FFFD:
      return "empty";
    case OVK_REGION_STATUS_FFF7:
      return "not accessible";
    default:
      return "not present";
  }
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
  auto size = static_cast<std::uint32_t>(region.length);
  contents.result = OVK_IssueDumpMBox(board_, OVK_REGION_REQUEST_TYPE, 0, region.number, 0,
                                      contents.bytes.data(), &size);
  const bool without_contents =
      contents.result >= OVK_REGION_STATUS_FFFD && contents.result <= OVK_REGION_STATUS_FFF6;
  if (!without_contents) {
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
    const auto wanted =
        std::min<std::uint32_t>(kStepBytes, static_cast<std::uint32_t>(region.length) - position);
    Mailbox mailbox = region_mailbox(kDumpMemory, region.number, position, kStepBytes);
    MailboxData data{};
    const std::uint32_t result =
        OVK_IssueMboxWithRetryEx(board_, &mailbox, data.data(), kRegionDataFlag, 0,
                                 kStepBytes / sizeof(std::uint32_t), kAttempts, kDelayMs);
    if (const auto nothing = region_result(mailbox.status); result != OVK_OK && nothing) {
      return {.bytes = {}, .result = *nothing};
    }
    check_answer(result, mailbox.status, "Reading " + region_text(region));
    const std::uint32_t count = std::min(mailbox.words4[3], wanted);
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
  Mailbox mailbox = region_mailbox(kUpdateConfig, region.number, length, length);
  MailboxData data{};
  std::memcpy(data.data(), bytes.data(), bytes.size());
  const std::uint32_t result =
      OVK_IssueMboxWithRetryEx(board_, &mailbox, data.data(), kRegionDataFlag,
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
