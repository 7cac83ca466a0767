#include "driver_abi/records/hardware.h"

#include "simulator/board/adapter_memory.h"
#include "simulator/board/pci_config.h"
#include "simulator/board/text_field.h"
#include "simulator/board/vpd.h"
#include "simulator/commands/subsystem.h"

#include <algorithm>
#include <cstddef>

namespace ravnsim {

namespace {

static_assert(part_size == sizeof ovk::VpdRecord{}.read_only);
static_assert(part_size == sizeof ovk::VpdRecord{}.read_write);

constexpr std::uint32_t any_vpd_version = 0;
constexpr std::uint32_t vpd_version = 1;

DriverStatus read_vpd(Adapter& adapter, Request& request) {
  const std::uint32_t version = request.block().selector;
  if (version != any_vpd_version && version != vpd_version) {
    return DriverStatus::not_supported;
  }
  const BoardTopology& board = adapter.topology();
  if (!board.hardware.vpd.present) {
    return DriverStatus::no_vpd;
  }
  const VpdImage image = vpd_of(board);
  auto& record = request.output<ovk::VpdRecord>(1);
  record.version = vpd_version;
  std::ranges::copy(image.read_only, record.read_only);
  put_text(record.product, board.model);
  std::ranges::copy(image.read_write, record.read_write);
  record.read_only_size = static_cast<std::uint32_t>(image.read_only.size());
  record.read_write_size = static_cast<std::uint32_t>(image.read_write.size());
  return DriverStatus::success;
}

DriverStatus locate(Adapter& adapter, Request& request) {
  const PciLocation& pci = adapter.topology().hardware.pci;
  request.output<ovk::PciLocationRecord>(1) = {
      .segment = pci.segment, .bus = pci.bus, .device = pci.device, .function = pci.function};
  return DriverStatus::success;
}

/** The bytes of one transfer. */
struct Transfer {
  std::uint8_t bytes[4096];
};

/** Whether the range that the block names lies within one transfer and within the bytes of a state
    of the board, such as its memory. */
template <typename Space>
bool is_within(Adapter& adapter, const Request& request) {
  const CommandBlock& block = request.block();
  const std::size_t size = adapter.state<Space>().bytes().size();
  return block.request_size <= sizeof(Transfer) && block.index <= size &&
         block.request_size <= size - block.index;
}

template <typename Space>
constexpr Guard range_fits{is_within<Space>, DriverStatus::does_not_fit};

template <typename Space>
DriverStatus read(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  const auto range = adapter.state<Space>().bytes().subspan(block.index, block.request_size);
  std::ranges::copy(range, request.output<Transfer>(1).bytes);
  return DriverStatus::success;
}

template <typename Space>
DriverStatus write(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  const std::span data{request.input<Transfer>(1).bytes};
  adapter.state<Space>().write(block.index, data.first(block.request_size));
  return DriverStatus::success;
}

/** From SLI-4 on, a board shows neither its memory nor its registers. */
constexpr Guard is_below_sli4{
    [](Adapter& adapter, const Request&) { return adapter.topology().sli_mode < sli4; },
    DriverStatus::not_supported};

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

void add_hardware_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_GET_PCI_SBDF">(locate);
  table.on<"RAVN_MGMT_GET_VPD">(read_vpd);
  table.when(range_fits<PciConfig>)
      .on<"RAVN_MGMT_READ_PCI">(read<PciConfig>)
      .on<"RAVN_MGMT_WRITE_PCI">(write<PciConfig>);
  table.when(is_below_sli4)
      .on<"RAVN_MGMT_READ_CTLREG">(read_register)
      .on<"RAVN_MGMT_WRITE_CTLREG">(write_register)
      .when(range_fits<AdapterMemory>)
      .on<"RAVN_MGMT_READ_MEM">(read<AdapterMemory>)
      .on<"RAVN_MGMT_WRITE_MEM">(write<AdapterMemory>);
}

}  // namespace ravnsim
