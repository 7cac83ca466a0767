// The mailboxes that move data between the host's memory and the firmware's.

#include "simulator/board/adapter.h"
#include "simulator/board/mailbox_table.h"

#include <algorithm>
#include <array>

namespace ravnsim {

namespace {

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

}  // namespace

void add_memory_mailboxes(MailboxTable& table) {
  table.on(0x00, do_nothing);
  table.on(0x38, read_memory);
  table.on(0x84, exchange_memory);
  table.on(0x8D, read_memory);
  table.on(0x8F, read_memory);
}

}  // namespace ravnsim
