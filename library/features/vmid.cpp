#include "library/boards/driver_info.h"
#include "library/core/command.h"

#include <ovk/features.h>

using ovk::Command;
using ovk::DriverStatus;
using ovk::Outcome;

namespace {

std::uint32_t vmid_result(const Outcome& outcome) {
  return outcome.result_if_delivered({{DriverStatus::not_supported, OVK_VMID_NOT_SUPPORTED},
                                      {DriverStatus::does_not_fit, OVK_VMID_DOES_NOT_FIT}});
}

}  // namespace

std::uint32_t OVK_GetQFPAPriorityList(std::uint32_t board, QfpaPriorityList* list) {
  if (const auto refused = ovk::sli4_gate(board)) return *refused;
  Command command{board};
  return vmid_result(command.invoke<"RAVN_MGMT_VMID_GET_QFPA">(list));
}

std::uint32_t OVK_GetVMidMapping(std::uint32_t board, VMidMapping* mapping) {
  if (const auto refused = ovk::sli4_gate(board)) return *refused;
  Command command{board};
  return vmid_result(command.invoke<"RAVN_MGMT_VMID_GET_ID_MAPPING">(mapping));
}

std::uint32_t OVK_UpdateVMidMapping(std::uint32_t board, const VMidMapping* mapping) {
  if (const auto refused = ovk::sli4_gate(board)) return *refused;
  Command command{board};
  return vmid_result(command.invoke<"RAVN_MGMT_VMID_UPDATE_MAPPING">(mapping));
}
