#include "driver_abi/records/module.h"
#include "ovkctl/frame/command.h"
#include "ovkctl/subjects/board_text.h"

#include <ovk/core.h>
#include <ovk/hbaapi.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <memory>

namespace ovkctl {
namespace {

// ---- list -----------------------------------------------------------------------------------

/** What is known of a board; a query that failed leaves its part empty. */
struct BoardRow {
  std::uint32_t board;
  AdapterAttributes adapter{};
  std::optional<PortAttributes> port;
  std::optional<DrvInfo> driver;
};

/** One word for how a board does: what keeps it from working, else the state of its port. */
std::string state_text(const BoardRow& row) {
  if (ovk_state[row.board] != OVK_BOARD_NORMAL) {
    return board_state_text(row.board);
  }
  return row.port ? port_state_text(row.port->PortState) : "no answer";
}

constexpr Column<BoardRow> board_columns[] = {
    {"board", "BOARD", field<&BoardRow::board>},
    {"driver_number", "DRIVER", [](const BoardRow& row) { return ovk_brdno[row.board]; }},
    {"model", "MODEL", field<&BoardRow::adapter, &AdapterAttributes::Model>},
    {"port_wwn", "PORT WWN", field<&BoardRow::port, &PortAttributes::PortWWN>},
    {"board_state", "", field<&BoardRow::board, board_state_text>},
    {"port_state", "", field<&BoardRow::port, &PortAttributes::PortState, port_state_text>},
    {"state", "STATE", field<state_text>},
    {"speed_gbit", "SPEED", field<&BoardRow::port, as<Speed, &PortAttributes::PortSpeed>>},
    {"sli_mode", "SLI", field<&BoardRow::driver, &DrvInfo::sli_mode>},
    {"firmware", "FIRMWARE", field<&BoardRow::adapter, &AdapterAttributes::FirmwareVersion>},
};

BoardRow read_row(std::uint32_t board) {
  BoardRow row{.board = board};
  GetAdapterAttributes(board, &row.adapter);
  if (PortAttributes port{}; GetAdapterPortAttributes(board, 0, &port) == OVK_OK) {
    row.port = port;
  }
  DrvInfo driver{.record_version = OVK_DRV_INFO_VERSION};
  if (OVK_GetDrvInfo(board, &driver) == OVK_OK) {
    row.driver = driver;
  }
  return row;
}

Report list(const Host& host) {
  std::vector<BoardRow> rows;
  std::ranges::transform(host.boards(), std::back_inserter(rows), read_row);
  return Report{}.table("boards", "", board_columns, rows, "There is no board.");
}

// ---- show -----------------------------------------------------------------------------------

constexpr ResultText driver_info_results[] = {
    {OVK_NOT_SUPPORTED, "the driver did not give its information or the board's port attributes",
     see_driver_log},
};

void add_adapter(Section& section, const AdapterAttributes& adapter) {
  section.field("manufacturer", "Manufacturer", adapter.Manufacturer)
      .field("serial_number", "Serial number", adapter.SerialNumber)
      .field("model", "Model", adapter.Model)
      .field("model_description", "Description", adapter.ModelDescription)
      .field("node_wwn", "Node WWN", adapter.NodeWWN)
      .field("node_symbolic_name", "Node symbolic name", adapter.NodeSymbolicName)
      .field("hardware_version", "Hardware version", adapter.HardwareVersion)
      .field("firmware_version", "Firmware version", adapter.FirmwareVersion)
      .field("option_rom_version", "Option ROM version", adapter.OptionROMVersion)
      .field("driver_name", "Driver name", adapter.DriverName)
      .field("driver_version", "Driver version", adapter.DriverVersion)
      .field("vendor_specific_id", "Vendor-specific ID", Hex{adapter.VendorSpecificID, 8})
      .field("number_of_ports", "Ports", adapter.NumberOfPorts);
}

void add_driver(Section& section, const DrvInfo& driver) {
  List words = hex_list(driver.words0, 8);
  for (const std::uint32_t word : {driver.word64, driver.word68, driver.word108}) {
    words.push_back(hex_text(word, 8));
  }
  section
      .field("interface", "Interface",
             fmt::format("{}.{}.{}", driver.interface_major, driver.interface_minor,
                         driver.interface_update))
      .field("host_name", "Host name", driver.host_name)
      .field("sli_mode", "SLI mode", driver.sli_mode)
      .field("features", "Features", Hex{driver.features, 8})
      .field("persistent_link_down", "Persistent link down",
             (driver.features & OVK_FEATURE_PERSISTENT_LINK_DOWN) != 0)
      .field("extended_sli_config", "Extended SLI_CONFIG",
             (driver.features & OVK_FEATURE_EXTENDED_SLI_CONFIG) != 0)
      .field("driver_words", "Driver words", words);
}

Report show(const Board& board) {
  const auto driver = board.read(OVK_GetDrvInfo, "Reading the driver information",
                                 driver_info_results, {.record_version = OVK_DRV_INFO_VERSION});
  AdapterAttributes adapter{};
  GetAdapterAttributes(board, &adapter);

  Report report;
  report.section("board", "Board")
      .field("board", "Index", std::uint32_t{board})
      .field("driver_number", "Driver number", ovk_brdno[board])
      .field("board_state", "State", board_state_text(board));
  add_adapter(report.section("adapter", "Adapter"), adapter);
  add_driver(report.section("driver", "Driver"), driver);
  add_port_fields(report.section("port", "Port"), read_own_port(board));
  return report;
}

// ---- version --------------------------------------------------------------------------------

Report version() {
  char library[OVK_LIB_VERSION_SIZE]{};
  OVK_GetLibVer(library);
  std::uint32_t major = 0;
  std::uint32_t minor = 0;
  GetOvkRev(&major, &minor);
  return Report{}
      .field("tool", "ovkctl", OVKCTL_VERSION)
      .field("library", "libovk", library)
      .field("interface_revision", "interface revision", fmt::format("{}.{}", major, minor));
}

// ---- module ---------------------------------------------------------------------------------

std::string revision_text(std::uint32_t revision) {
  return fmt::format("{}.{}.{}-{}", revision >> 24, revision >> 16 & 0xFF, revision >> 8 & 0xFF,
                     revision & 0xFF);
}

using ovk::ModuleBoard;

constexpr Column<ModuleBoard> module_columns[] = {
    {"driver_number", "DRIVER", field<&ModuleBoard::driver_number>},
    {"model", "MODEL", field<&ModuleBoard::model>},
    {"serial_number", "SERIAL", field<&ModuleBoard::serial_number>},
    {"port_wwn", "PORT WWN", field<&ModuleBoard::port_wwn>},
    {"os_device_name", "DEVICE", field<&ModuleBoard::os_device_name>},
    {"firmware", "FIRMWARE", field<&ModuleBoard::firmware_version>},
    {"sli_mode", "SLI", field<&ModuleBoard::sli_mode>},
    {"device", "PCI DEVICE", as<Hex, &ModuleBoard::device, 8>},
};

Report module_info(const Host& /*host*/) {
  const auto info = std::make_unique<ModuleInfo>();
  check(ModInfo(info.get()), "Reading the driver module");
  const auto module = std::bit_cast<ovk::ModuleRecord>(*info);
  return Report{}
      .field("name", "Driver", module.name)
      .field("driver_version", "Version", module.version)
      .field("interface", "Interface", revision_text(module.interface_revision))
      .field("logged_messages", "Messages logged", module.logged_messages)
      .table("boards", "", module_columns, first_of(module.boards, module.board_count),
             "The driver has no boards.");
}

void add_signature(Section& section, const VersionSignature& signature) {
  section.field("revision", "Revision", revision_text(signature.revision))
      .field("name", "Name", signature.name)
      .field("vendor", "Vendor", signature.vendor)
      .field("callbacks", "Commands", signature.callback_count);
}

Report module_version(const Host& /*host*/) {
  VersionSignature driver{};
  VersionSignature library{};
  check(CallVer(&driver, &library), "Exchanging signatures with the driver");
  const bool same = driver.revision == library.revision &&
                    driver.callback_count == library.callback_count &&
                    fixed_text(driver.name) == fixed_text(library.name) &&
                    fixed_text(driver.vendor) == fixed_text(library.vendor);
  Report report;
  report.field("match", "Driver and library match", same);
  add_signature(report.section("library", "Library"), library);
  add_signature(report.section("driver", "Driver"), driver);
  return report;
}

constexpr Word<std::string> log_word{"TEXT", "the line, up to 64 bytes", "maintenance begins"};

Report module_log(const Host& /*host*/, const std::string& text) {
  LogMessage message{};
  if (text.size() > sizeof message.text) {
    throw UsageError("The driver's log takes up to {} bytes at a time.", sizeof message.text);
  }
  std::memcpy(message.text, text.data(), text.size());
  check(LogMsg(&message), "Writing to the driver's log");
  return Report{}.field("logged", "Logged", text);
}

/** The event codes of FC-HBA. */
constexpr auto events = words<std::uint32_t>(
    {{1, "lip"}, {2, "link-up"}, {3, "link-down"}, {4, "lip-reset"}, {5, "rscn"}});

constexpr Setting<std::uint32_t> event_setting{"--event", "", "the event", "rscn", "rscn", events};
constexpr Setting<std::uint32_t> detail_setting{"--detail", "NUMBER", "what the event carries", "0",
                                                "0x010200"};

Report module_test_event(const Board& board, std::uint32_t event, std::uint32_t detail) {
  board.check(EventTest(board, event, detail), "Raising a test event");
  return board.report()
      .field("event", "Event", word_of(events, event))
      .field("detail", "Detail", Hex{detail, 6});
}

}  // namespace

void add_boards(Command root) {
  root.command("list", "List the boards of this host").example("--json").shows(list);
  root.command("show", "Show all that a board's adapter, driver and port tell").shows(show);
  root.command("version", "Show the versions of ovkctl, the library and its interface")
      .shows(version);

  const Command module = root.noun("module", "Talk to the driver module");
  module.command("info", "Show the driver module and the boards that it serves").shows(module_info);
  module.command("version", "Compare the interfaces of library and driver").shows(module_version);
  module.command("log", "Write a line into the driver's log").takes(log_word).shows(module_log);
  module.command("test-event", "Have the driver raise an event for a test")
      .takes(event_setting, detail_setting)
      .shows(module_test_event);
}

}  // namespace ovkctl
