#include "library/core/board_tables.h"
#include "library/core/command.h"

#include <ovk/hbaapi.h>

using ovk::Command;
using ovk::Outcome;

constinit std::uint32_t ovk_refresh_timer[OVK_MAX_BOARDS] = {};

std::uint32_t RefreshInformation(std::uint32_t board) {
  Command command{board};
  const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_REFRESHINFO">();
  if (outcome.succeeded()) {
    if (std::uint32_t* tag = ovk::board_entry(ovk_refresh_timer, board)) {
      *tag = command.block.value;
    }
  }
  return outcome.result();
}

std::uint32_t GetAdapterAttributes(std::uint32_t board, AdapterAttributes* attrs) {
  // Intended: the record is handed out and the result is OVK_OK even when the command failed.
  AdapterAttributes reply{};
  Command command{board};
  static_cast<void>(command.invoke<"RAVN_MGMT_HBA_ADAPTERATTRIBUTES">(&reply));
  *attrs = reply;
  return OVK_OK;
}
