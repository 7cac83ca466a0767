#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/subjects/board_text.h"

#include <ovk/core.h>
#include <ovk/hbaapi.h>

#include <array>

namespace ovkctl {
namespace {

constexpr ResultText kDriverInfoResults[] = {
    {OVK_NOT_SUPPORTED, "the driver did not give its information or the board's port attributes",
     "See with \"ovkctl list\" whether the board is ready, and look in the driver's log for the "
     "reason."},
};

DrvInfo read_driver_info(std::uint32_t board) {
  DrvInfo driver{.record_version = OVK_DRV_INFO_VERSION};
  check_board(OVK_GetDrvInfo(board, &driver), board, "Reading the driver information",
              kDriverInfoResults);
  return driver;
}

void add_adapter(Section& section, const AdapterAttributes& adapter) {
  section.field("manufacturer", "Manufacturer", fixed_text(adapter.Manufacturer))
      .field("serial_number", "Serial number", fixed_text(adapter.SerialNumber))
      .field("model", "Model", fixed_text(adapter.Model))
      .field("model_description", "Description", fixed_text(adapter.ModelDescription))
      .field("node_wwn", "Node WWN", adapter.NodeWWN)
      .field("node_symbolic_name", "Node symbolic name", fixed_text(adapter.NodeSymbolicName))
      .field("hardware_version", "Hardware version", fixed_text(adapter.HardwareVersion))
      .field("firmware_version", "Firmware version", fixed_text(adapter.FirmwareVersion))
      .field("option_rom_version", "Option ROM version", fixed_text(adapter.OptionROMVersion))
      .field("driver_name", "Driver name", fixed_text(adapter.DriverName))
      .field("driver_version", "Driver version", fixed_text(adapter.DriverVersion))
      .field("vendor_specific_id", "Vendor-specific ID", Hex{adapter.VendorSpecificID, 8})
      .field("number_of_ports", "Ports", adapter.NumberOfPorts);
}

std::string interface_text(const DrvInfo& driver) {
  return std::to_string(driver.interface_major) + "." + std::to_string(driver.interface_minor) +
         "." + std::to_string(driver.interface_update);
}

void add_driver(Section& section, const DrvInfo& driver) {
  List words;
  for (const std::uint32_t word : driver.words0) {
    words.push_back(hex_text(word, 8));
  }
  for (const std::uint32_t word : {driver.word64, driver.word68, driver.word108}) {
    words.push_back(hex_text(word, 8));
  }
  section.field("interface", "Interface", interface_text(driver))
      .field("host_name", "Host name", fixed_text(driver.host_name))
      .field("sli_mode", "SLI mode", driver.sli_mode)
      .field("features", "Features", Hex{driver.features, 8})
      .field("persistent_link_down", "Persistent link down",
             (driver.features & OVK_FEATURE_PERSISTENT_LINK_DOWN) != 0)
      .field("extended_sli_config", "Extended SLI_CONFIG",
             (driver.features & OVK_FEATURE_EXTENDED_SLI_CONFIG) != 0)
      .field("driver_words", "Driver words", words);
}

Report board_report(std::uint32_t board) {
  const DrvInfo driver = read_driver_info(board);
  AdapterAttributes adapter{};
  GetAdapterAttributes(board, &adapter);

  Report report;
  report.section("board", "Board")
      .field("board", "Index", board)
      .field("driver_number", "Driver number", ovk_brdno[board])
      .field("board_state", "State", board_state_text(board));
  add_adapter(report.section("adapter", "Adapter"), adapter);
  add_driver(report.section("driver", "Driver"), driver);
  add_port_fields(report.section("port", "Port"), read_own_port(board));
  return report;
}

}  // namespace

void add_show(Command root) {
  add_board_report(root, "show", "Show all that a board's adapter, driver and port tell",
                   "ovkctl show 0", board_report);
}

}  // namespace ovkctl
