#include "driver_abi/records/hardware.h"

#include "simulator/board/adapter.h"
#include "simulator/board/text_field.h"
#include "simulator/board/vpd.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"

#include <algorithm>

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

}  // namespace

void add_hardware_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_GET_PCI_SBDF">(locate);
  table.on<"RAVN_MGMT_GET_VPD">(read_vpd);
}

}  // namespace ravnsim
