// The mailboxes that read and write regions.

#include "simulator/board/regions.h"

#include "simulator/board/mailbox_table.h"

#include <algorithm>
#include <bit>

namespace ravnsim {

namespace {

/** What both mailboxes say in their words. */
struct RegionMailbox {
  std::uint8_t byte0;
  std::uint8_t command;
  std::uint16_t status;
  std::uint8_t access;
  std::uint8_t reserved5[3];
  std::uint16_t region;
  std::uint16_t offset;  ///< of an update: the low half of the length
  std::uint32_t reserved12;
  std::uint32_t length;  ///< bytes asked for or given; of a dump, those that come
  std::uint32_t reserved20[59];
};

static_assert(sizeof(RegionMailbox) == sizeof(FirmwareMailbox));
static_assert(offsetof(RegionMailbox, region) == 8);
static_assert(offsetof(RegionMailbox, length) == 16);

constexpr std::uint8_t region_access = 0x32;
constexpr std::uint8_t region_data = 5;

bool is_region_access(const RegionMailbox& mailbox, const MailboxCall& call) {
  return mailbox.access == region_access && call.data.flag == region_data;
}

std::uint16_t dump_memory(Adapter& adapter, MailboxCall& call) {
  auto mailbox = std::bit_cast<RegionMailbox>(call.mailbox);
  if (!is_region_access(mailbox, call)) {
    return mailbox_unknown_command;
  }
  if (mailbox.length > call.data.out_bytes) {
    return mailbox_bad_length;
  }
  std::vector<std::uint8_t> contents;
  const RegionStatus status = adapter.state<Regions>().read(mailbox.region, contents);
  const std::size_t offset = std::min<std::size_t>(mailbox.offset, contents.size());
  const std::size_t count = std::min<std::size_t>(mailbox.length, contents.size() - offset);
  std::copy_n(contents.begin() + static_cast<std::ptrdiff_t>(offset), count, call.data.bytes);
  mailbox.length = static_cast<std::uint32_t>(count);
  call.mailbox = std::bit_cast<FirmwareMailbox>(mailbox);
  return static_cast<std::uint16_t>(status);
}

std::uint16_t update_config(Adapter& adapter, MailboxCall& call) {
  const auto mailbox = std::bit_cast<RegionMailbox>(call.mailbox);
  if (!is_region_access(mailbox, call)) {
    return mailbox_unknown_command;
  }
  if (mailbox.length != call.data.in_bytes || mailbox.offset != (mailbox.length & 0xFFFF)) {
    return mailbox_bad_length;
  }
  return static_cast<std::uint16_t>(
      adapter.state<Regions>().write(mailbox.region, {call.data.bytes, mailbox.length}));
}

}  // namespace

void add_region_mailboxes(MailboxTable& table) {
  table.on(0x17, dump_memory);
  table.on(0x1B, update_config);
}

}  // namespace ravnsim
