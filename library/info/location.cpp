#include "library/core/command.h"

#include <ovk/info.h>

using ovk::Command;
using ovk::DriverStatus;
using ovk::Outcome;

namespace {

/** The result, which the driver's status decides first and the error of the delivery then. */
std::uint32_t trunk_result(const Outcome& outcome) {
  constexpr int invalid_argument = 22;  // the host's error number
  if (outcome.status == DriverStatus::success && outcome.invoke_result == invalid_argument) {
    return OVK_TRUNK_REFUSED;
  }
  return outcome.result({{DriverStatus::not_supported, OVK_NOT_SUPPORTED}});
}

}  // namespace

std::uint32_t OVK_GetTrunkInfo(std::uint32_t board, TrunkInfo* info) {
  if (info == nullptr) {
    return OVK_TRUNK_NO_RECORD;
  }
  TrunkInfo reply{};
  // Intended: this command carries its own id in the block.
  Command command{board, {.selector = ovk::CommandName{"RAVN_MGMT_GET_TRUNK_INFO"} -> id}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_GET_TRUNK_INFO">(&reply);
  if (outcome.succeeded()) {
    *info = reply;
  }
  return trunk_result(outcome);
}

std::uint32_t OVK_GetPCIIds(std::uint32_t board, PciIds* ids) {
  PciIds reply{};
  Command command{board};
  const Outcome outcome = command.invoke<"RAVN_MGMT_GET_PCI_SBDF">(&reply);
  if (outcome.succeeded()) {
    *ids = reply;
  }
  return outcome.result();
}
