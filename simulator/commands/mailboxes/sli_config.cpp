#include "simulator/board/adapter.h"
#include "simulator/board/mailbox_table.h"

namespace ravnsim {

namespace {

/** A command whose data stands in the mailbox itself: it completes as it came. */
std::uint16_t complete_embedded(Adapter& adapter, MailboxCall& call) {
  constexpr std::uint32_t embedded = 1;
  if (adapter.topology().sli_mode < sli4 || (call.mailbox.word(1) & embedded) == 0) {
    return mailbox_unknown_command;
  }
  return mailbox_completed;
}

}  // namespace

void add_sli_config_mailboxes(MailboxTable& table) { table.on(0x9B, complete_embedded); }

}  // namespace ravnsim
