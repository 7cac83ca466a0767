#include "library/core/board_tables.h"
#include "library/core/command.h"
#include "library/core/payload.h"
#include "library/hbaapi/attributes.h"

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

namespace ovk {

void read_adapter_attributes(std::uint32_t board, AdapterAttributes& attrs) {
  Command command{board, {}, here("GetAdapterAttributes")};
  static_cast<void>(command.invoke<"RAVN_MGMT_HBA_ADAPTERATTRIBUTES">(&attrs));
}

}  // namespace ovk

std::uint32_t GetAdapterAttributes(std::uint32_t board, AdapterAttributes* attrs) {
  // Intended: the record is handed out and the result is OVK_OK even when the command failed.
  ovk::clear(*attrs);
  ovk::read_adapter_attributes(board, *attrs);
  return OVK_OK;
}
