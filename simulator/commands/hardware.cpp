#include "simulator/board/adapter.h"
#include "simulator/board/text_field.h"
#include "simulator/board/vpd.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"

#include <algorithm>
#include <cstddef>

namespace ravnsim {

namespace {

/** The answer to RAVN_MGMT_GET_VPD. */
struct VpdRecord {
  std::uint32_t version;
  std::uint8_t read_only[part_size];
  char product[80];
  std::uint8_t read_write[part_size];
  std::uint32_t read_only_size;   ///< bytes
  std::uint32_t read_write_size;  ///< bytes
  std::uint32_t reserved604[3];
};

static_assert(sizeof(VpdRecord) == 616);
static_assert(offsetof(VpdRecord, product) == 260);
static_assert(offsetof(VpdRecord, read_write) == 340);
static_assert(offsetof(VpdRecord, read_only_size) == 596);

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
  auto& record = request.output<VpdRecord>(1);
  record.version = vpd_version;
  std::ranges::copy(image.read_only, record.read_only);
  put_text(record.product, board.model);
  std::ranges::copy(image.read_write, record.read_write);
  record.read_only_size = static_cast<std::uint32_t>(image.read_only.size());
  record.read_write_size = static_cast<std::uint32_t>(image.read_write.size());
  return DriverStatus::success;
}

/** The answer to RAVN_MGMT_GET_PCI_SBDF. */
struct LocationRecord {
  PciLocation location;
  std::uint32_t reserved16[2];
};

static_assert(sizeof(LocationRecord) == 24);

DriverStatus locate(Adapter& adapter, Request& request) {
  request.output<LocationRecord>(1).location = adapter.topology().hardware.pci;
  return DriverStatus::success;
}

}  // namespace

void add_hardware_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_GET_PCI_SBDF">(locate);
  table.on<"RAVN_MGMT_GET_VPD">(read_vpd);
}

}  // namespace ravnsim
