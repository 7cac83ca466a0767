#include "simulator/board/adapter.h"
#include "simulator/board/adapter_memory.h"
#include "simulator/board/pci_config.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"

#include <algorithm>
#include <cstddef>

namespace ravnsim {

namespace {

/** The bytes of one transfer. */
struct Transfer {
  std::uint8_t bytes[4096];
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

/** From SLI-4 on, a board shows neither its memory nor its registers. */
constexpr Guard is_below_sli4{
    [](Adapter& adapter, const Request&) { return adapter.topology().sli_mode < sli4; },
    DriverStatus::not_supported};

DriverStatus read_memory(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  const auto range = adapter.state<AdapterMemory>().range(block.index, block.request_size);
  if (!range || range->size() > sizeof(Transfer)) {
    return DriverStatus::does_not_fit;
  }
  std::ranges::copy(*range, request.output<Transfer>(1).bytes);
  return DriverStatus::success;
}

DriverStatus write_memory(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  const std::span data{request.input<Transfer>(1).bytes};
  if (block.request_size > data.size() ||
      !adapter.state<AdapterMemory>().write(block.index, data.first(block.request_size))) {
    return DriverStatus::does_not_fit;
  }
  return DriverStatus::success;
}

DriverStatus read_register(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  const auto value = adapter.state<ControlRegisters>().read(ControlRegister{block.index});
  if (!value) {
    return DriverStatus::not_found;
  }
  block.value = *value;
  return DriverStatus::success;
}

DriverStatus write_register(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  const bool written =
      adapter.state<ControlRegisters>().write(ControlRegister{block.index}, block.value);
  return written ? DriverStatus::success : DriverStatus::not_permitted;
}

}  // namespace

void add_raw_access_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_READ_PCI">(read_pci);
  table.on<"RAVN_MGMT_WRITE_PCI">(write_pci);
  table.when(is_below_sli4)
      .on<"RAVN_MGMT_READ_CTLREG">(read_register)
      .on<"RAVN_MGMT_READ_MEM">(read_memory)
      .on<"RAVN_MGMT_WRITE_CTLREG">(write_register)
      .on<"RAVN_MGMT_WRITE_MEM">(write_memory);
}

}  // namespace ravnsim
