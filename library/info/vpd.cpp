#include "library/boards/driver_info.h"
#include "library/core/command.h"

#include <ovk/info.h>

using ovk::Command;
using ovk::DriverStatus;
using ovk::Outcome;

std::int32_t GetVPDInfo(std::uint32_t board, VpdInfo* record) {
  VpdInfo reply{};
  Command command{board, {.selector = record->word0}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_GET_VPD">(&reply);
  if (outcome.succeeded()) {
    *record = reply;
  }
  return static_cast<std::int32_t>(
      outcome.result({{DriverStatus::no_vpd, OVK_VPD_ABSENT}}, OVK_VPD_FAILED));
}

std::uint32_t OVK_GetQoSLinkSpeed(std::uint32_t board, std::uint16_t* speed) {
  if (const auto refused = ovk::sli4_gate(board)) return *refused;
  Command command{board};
  const Outcome outcome = command.invoke<"RAVN_MGMT_GET_LOGICAL_LINK_SPEED">();
  if (outcome.succeeded()) {
    // Intended: only a whole word of 0 means no speed, though no more than its low half counts.
    const std::uint32_t value = command.block.value;
    const auto low_half = static_cast<std::uint16_t>(value);
    *speed = value == 0 ? OVK_NO_LOGICAL_SPEED : static_cast<std::uint16_t>(low_half / 10);
  }
  return outcome.result();
}
