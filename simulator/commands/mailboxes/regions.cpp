// The mailboxes that read and write regions.

#include "simulator/board/regions.h"

#include "simulator/board/mailbox_table.h"

#include <algorithm>
#include <bit>

namespace ravnsim {

namespace {

using ovk::RegionMailbox;
using ovk::RegionMailboxCommand;

bool is_region_access(const RegionMailbox& mailbox, const MailboxCall& call) {
  return mailbox.access == ovk::region_access && call.data.flag == ovk::region_data_flag;
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
  const std::size_t offset = std::min<std::size_t>(mailbox.position, contents.size());
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
  if (mailbox.length != call.data.in_bytes || mailbox.position != (mailbox.length & 0xFFFF)) {
    return mailbox_bad_length;
  }
  return static_cast<std::uint16_t>(
      adapter.state<Regions>().write(mailbox.region, {call.data.bytes, mailbox.length}));
}

}  // namespace

void add_region_mailboxes(MailboxTable& table) {
  table.on(static_cast<std::uint8_t>(RegionMailboxCommand::dump), dump_memory);
  table.on(static_cast<std::uint8_t>(RegionMailboxCommand::update), update_config);
}

}  // namespace ravnsim
