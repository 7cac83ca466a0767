#include "simulator/board/mailbox_table.h"

#include <stdexcept>

namespace ravnsim {

void MailboxTable::on(std::uint8_t command, MailboxFunction function) {
  if (!functions_.emplace(command, function).second) {
    throw std::logic_error{"a mailbox command has two functions"};
  }
}

MailboxFunction MailboxTable::find(std::uint8_t command) const {
  const auto found = functions_.find(command);
  return found != functions_.end() ? found->second : nullptr;
}

MailboxTable all_mailboxes() {
  MailboxTable table;
  add_memory_mailboxes(table);
  add_region_mailboxes(table);
  add_sli_config_mailboxes(table);
  return table;
}

}  // namespace ravnsim
