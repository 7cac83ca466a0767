#include "simulator/board/firmware.h"

#include "simulator/board/regions.h"

#include <algorithm>
#include <array>
#include <bit>

namespace ravnsim {

namespace {

using ovk::RegionMailbox;
using ovk::RegionMailboxCommand;

/** The memory that the firmware lends to whoever tests it; lost with the power. */
struct FirmwareMemory {
  explicit FirmwareMemory(Adapter& /*adapter*/) {}
  std::array<std::uint8_t, 4096> bytes{};
};

/** The length that a word holds in its low 24 bits. */
std::uint32_t length_in(MailboxCall& call, std::size_t word) {
  return call.mailbox.word(word) & 0xFFFFFF;
}

std::uint16_t read_memory(Adapter& adapter, MailboxCall& call) {
  const auto& memory = adapter.state<FirmwareMemory>().bytes;
  const std::uint32_t length = length_in(call, 3);
  if (length > memory.size()) {
    return mailbox_bad_length;
  }
  std::copy_n(memory.begin(), length, call.extension.begin());
  return mailbox_completed;
}

/** Writes first, then reads, so that one mailbox can do both. */
std::uint16_t exchange_memory(Adapter& adapter, MailboxCall& call) {
  auto& memory = adapter.state<FirmwareMemory>().bytes;
  const std::uint32_t write_length = length_in(call, 2);
  const std::uint32_t read_length = length_in(call, 5);
  if (std::max(write_length, read_length) > memory.size()) {
    return mailbox_bad_length;
  }
  std::copy_n(call.extension.begin(), write_length, memory.begin());
  std::copy_n(memory.begin(), read_length, call.extension.begin());
  return mailbox_completed;
}

std::uint16_t do_nothing(Adapter& /*adapter*/, MailboxCall& /*call*/) { return mailbox_completed; }

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

/** A command whose data stands in the mailbox itself: it completes as it came. */
std::uint16_t complete_embedded(Adapter& adapter, MailboxCall& call) {
  constexpr std::uint32_t embedded = 1;
  if (adapter.topology().sli_mode < sli4 || (call.mailbox.word(1) & embedded) == 0) {
    return mailbox_unknown_command;
  }
  return mailbox_completed;
}

struct FirmwareCommand {
  std::uint8_t code;
  std::uint16_t (*complete)(Adapter& adapter, MailboxCall& call);
};

constexpr FirmwareCommand commands[] = {
    {0x00, do_nothing},
    {static_cast<std::uint8_t>(RegionMailboxCommand::dump), dump_memory},
    {static_cast<std::uint8_t>(RegionMailboxCommand::update), update_config},
    {0x38, read_memory},
    {0x84, exchange_memory},
    {0x8D, read_memory},
    {0x8F, read_memory},
    {0x9B, complete_embedded},
};

}  // namespace

std::uint16_t complete(Adapter& adapter, MailboxCall& call) {
  const auto* command = std::ranges::find(commands, call.mailbox.command, &FirmwareCommand::code);
  return command != std::end(commands) ? command->complete(adapter, call)
                                       : std::uint16_t{mailbox_unknown_command};
}

}  // namespace ravnsim
