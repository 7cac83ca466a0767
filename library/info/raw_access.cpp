#include "library/boards/driver_info.h"
#include "library/core/command.h"
#include "library/core/payload.h"
#include "library/info/pci_config.h"

#include <ovk/info.h>

using ovk::Command;
using ovk::Outcome;

namespace {

using TransferBuffer = ovk::HeapBuffer<ovk::Bytes<OVK_MAX_RAW_TRANSFER>>;

/** Whether a number of bytes is one that PCI configuration space is addressed with. */
bool is_pci_number(std::uint32_t bytes) {
  constexpr std::uint32_t dword = 4;
  return bytes <= OVK_MAX_RAW_TRANSFER && bytes % dword == 0;
}

}  // namespace

void SwapPciData(void) {}

std::uint32_t OVK_ReadPciCfg(std::uint32_t board, void* buffer, std::uint32_t offset,
                             std::uint32_t count) {
  const TransferBuffer transfer;
  if (!transfer) {
    return OVK_NO_MEMORY;
  }
  if (!is_pci_number(count) || !is_pci_number(offset)) {
    return OVK_FAILED;
  }
  Command command{board, {.index = offset, .request_size = count}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_READ_PCI">(transfer.get());
  if (outcome.succeeded()) {
    SwapPciData();
    transfer.copy_out(buffer, count);
  }
  return outcome.result();
}

std::uint32_t ReadPciCfg(std::uint32_t board, void* buffer, std::uint32_t offset,
                         std::uint32_t count) {
  return OVK_ReadPciCfg(board, buffer, offset, count);
}

// Intended: unlike the read, a write takes any count, and has a result of its own for a failure.
std::uint32_t WritePciCfg(std::uint32_t board, const void* buffer, std::uint32_t offset,
                          std::uint32_t count) {
  const TransferBuffer transfer{ovk::unfilled};
  if (!transfer) {
    return OVK_NO_MEMORY;
  }
  if (!is_pci_number(offset)) {
    return OVK_FAILED;
  }
  SwapPciData();
  const auto* const sent = ovk::whole_input(*transfer, buffer, count);
  Command command{board, {.index = offset, .request_size = count}};
  return command.invoke<"RAVN_MGMT_WRITE_PCI">(sent).result({}, OVK_RAW_ACCESS_FAILED);
}

std::uint32_t ReadMem(std::uint32_t board, void* buffer, std::uint32_t offset,
                      std::uint32_t count) {
  const TransferBuffer transfer;
  if (!transfer) {
    return OVK_NO_MEMORY;
  }
  if (const auto refused = ovk::sli3_gate(board, OVK_NO_MEMORY_ACCESS)) return *refused;
  Command command{board, {.index = offset, .request_size = count}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_READ_MEM">(transfer.get());
  if (outcome.succeeded()) {
    transfer.copy_out(buffer, count);
  }
  return outcome.result({}, OVK_RAW_ACCESS_FAILED);
}

std::uint32_t WriteMem(std::uint32_t board, const void* buffer, std::uint32_t offset,
                       std::uint32_t count) {
  const TransferBuffer transfer{ovk::unfilled};
  if (!transfer) {
    return OVK_NO_MEMORY;
  }
  if (const auto refused = ovk::sli3_gate(board, OVK_NO_MEMORY_ACCESS)) return *refused;
  const auto* const sent = ovk::whole_input(*transfer, buffer, count);
  Command command{board, {.index = offset, .request_size = count}};
  return command.invoke<"RAVN_MGMT_WRITE_MEM">(sent).result({}, OVK_RAW_ACCESS_FAILED);
}

// Intended: on SLI-4 the registers answer with another result than the memory does.
std::uint32_t ReadCtlReg(std::uint32_t board, std::uint32_t* value, std::uint32_t register_offset) {
  if (const auto refused = ovk::sli3_gate(board)) return *refused;
  Command command{board, {.index = register_offset}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_READ_CTLREG">();
  if (outcome.succeeded()) {
    *value = command.block.value;
  }
  return outcome.result({}, OVK_RAW_ACCESS_FAILED);
}

std::uint32_t WriteCtlReg(std::uint32_t board, const std::uint32_t* value,
                          std::uint32_t register_offset) {
  if (const auto refused = ovk::sli3_gate(board)) return *refused;
  Command command{board, {.index = register_offset, .value = *value}};
  return command.invoke<"RAVN_MGMT_WRITE_CTLREG">().result({}, OVK_RAW_ACCESS_FAILED);
}
