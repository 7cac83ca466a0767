#include "simulator/board/adapter.h"
#include "simulator/board/adapter_memory.h"
#include "simulator/board/pci_config.h"
#include "simulator/call/request.h"
#include "simulator/commands/handlers.h"

#include <algorithm>
#include <cstddef>

namespace ravnsim {

namespace {

/** The bytes of one transfer. */
struct Transfer {
  std::byte bytes[4096];
};

/** Whether a range of so many bytes lies within one transfer and within `size`. */
bool fits(const CommandBlock& block, std::size_t size) {
  return block.request_size <= sizeof(Transfer) && block.index <= size &&
         block.request_size <= size - block.index;
}

DriverStatus read_pci(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  if (!fits(block, PciConfig::size)) {
    return DriverStatus::does_not_fit;
  }
  const auto range = adapter.state<PciConfig>().bytes().subspan(block.index, block.request_size);
  std::ranges::copy(range, request.output<Transfer>(1).bytes);
  return DriverStatus::success;
}

DriverStatus write_pci(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  if (!fits(block, PciConfig::size)) {
    return DriverStatus::does_not_fit;
  }
  const std::span data{request.input<Transfer>(1).bytes};
  adapter.state<PciConfig>().write(block.index, data.first(block.request_size));
  return DriverStatus::success;
}

bool has_memory(const Adapter& adapter) { return adapter.topology().sli_mode < sli4; }

DriverStatus read_memory(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  if (!has_memory(adapter)) {
    return DriverStatus::not_supported;
  }
  const auto range = adapter.state<AdapterMemory>().range(block.index, block.request_size);
  if (!range || range->size() > sizeof(Transfer)) {
    return DriverStatus::does_not_fit;
  }
  std::ranges::copy(*range, request.output<Transfer>(1).bytes);
  return DriverStatus::success;
}

DriverStatus write_memory(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  if (!has_memory(adapter)) {
    return DriverStatus::not_supported;
  }
  const std::span data{request.input<Transfer>(1).bytes};
  if (block.request_size > data.size() ||
      !adapter.state<AdapterMemory>().write(block.index, data.first(block.request_size))) {
    return DriverStatus::does_not_fit;
  }
  return DriverStatus::success;
}

DriverStatus read_register(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  if (!has_memory(adapter)) {
    return DriverStatus::not_supported;
  }
  const auto value = adapter.state<ControlRegisters>().read(ControlRegister{block.index});
  if (!value) {
    return DriverStatus::not_found;
  }
  block.value = *value;
  return DriverStatus::success;
}

DriverStatus write_register(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  if (!has_memory(adapter)) {
    return DriverStatus::not_supported;
  }
  const bool written =
      adapter.state<ControlRegisters>().write(ControlRegister{block.index}, block.value);
  return written ? DriverStatus::success : DriverStatus::not_permitted;
}

}  // namespace

void add_raw_access_handlers(HandlerTable& table) {
  table.on(DriverCommand::read_ctlreg, read_register);
  table.on(DriverCommand::read_mem, read_memory);
  table.on(DriverCommand::read_pci, read_pci);
  table.on(DriverCommand::write_ctlreg, write_register);
  table.on(DriverCommand::write_mem, write_memory);
  table.on(DriverCommand::write_pci, write_pci);
}

}  // namespace ravnsim
