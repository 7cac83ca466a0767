#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/subjects/information_records.h"

#include <ovk/core.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace ovkctl {
namespace {

std::string revision_text(std::uint32_t revision) {
  const auto part = [revision](int shift) { return std::to_string(revision >> shift & 0xFF); };
  return part(24) + "." + part(16) + "." + part(8) + "-" + part(0);
}

Report info_report() {
  const auto info = std::make_unique<ModuleInfo>();
  check(ModInfo(info.get()), "Reading the driver module");
  const auto module = record_cast<ModuleRecord>(*info);
  Report report;
  report.field("name", "Driver", fixed_text(module.name))
      .field("driver_version", "Version", fixed_text(module.version))
      .field("interface", "Interface", revision_text(module.interface_revision))
      .field("logged_messages", "Messages logged", module.logged_messages);
  Table& boards = report.table("boards", "",
                               {{"driver_number", "DRIVER"},
                                {"model", "MODEL"},
                                {"serial_number", "SERIAL"},
                                {"port_wwn", "PORT WWN"},
                                {"os_device_name", "DEVICE"},
                                {"firmware", "FIRMWARE"},
                                {"sli_mode", "SLI"},
                                {"device", "PCI DEVICE"}},
                               "The driver has no boards.");
  const std::uint32_t count = std::min<std::uint32_t>(module.board_count, OVK_MAX_BOARDS);
  for (std::uint32_t i = 0; i < count; ++i) {
    const ModuleRecord::Board& board = module.boards[i];
    boards.row({board.driver_number, fixed_text(board.model), fixed_text(board.serial_number),
                board.port_wwn, fixed_text(board.os_device_name),
                fixed_text(board.firmware_version), board.sli_mode, Hex{board.device, 8}});
  }
  return report;
}

void add_signature(Section& section, const VersionSignature& signature) {
  section.field("revision", "Revision", revision_text(signature.revision))
      .field("name", "Name", fixed_text(signature.name))
      .field("vendor", "Vendor", fixed_text(signature.vendor))
      .field("callbacks", "Commands", signature.callback_count);
}

Report version_report() {
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

void log_text(const std::string& text) {
  LogMessage message{};
  if (text.size() > sizeof message.text) {
    throw UsageError("The driver's log takes up to " + std::to_string(sizeof message.text) +
                     " bytes at a time.");
  }
  std::memcpy(message.text, text.data(), text.size());
  check(LogMsg(&message), "Writing to the driver's log");
}

void add_log_command(const Command& module) {
  const Command log = module.subcommand("log", "Write a line into the driver's log");
  log.example("ovkctl module log \"maintenance begins\"");
  const auto text = log.argument<std::string>("TEXT", "the line, up to 64 bytes");
  log.action([text](const Context& context) {
    const Session session;
    log_text(*text);
    Report report;
    report.field("logged", "Logged", *text);
    context.print(report);
  });
}

constexpr std::uint32_t kRscn = 5;

/** The events of FC-HBA. */
const Choices<std::uint32_t> kEvents = {
    {"lip", 1}, {"link-up", 2}, {"link-down", 3}, {"lip-reset", 4}, {"rscn", kRscn}};

std::string event_text(std::uint32_t code) {
  return std::ranges::find(kEvents, code, &std::pair<std::string, std::uint32_t>::second)->first;
}

void add_test_event_command(const Command& module) {
  const Command test = module.subcommand("test-event", "Have the driver raise an event for a test");
  test.example("ovkctl module test-event 0 --event rscn --detail 0x010200");
  const auto board = test.board();
  const auto event = test.choice<std::uint32_t>("--event", "the event", kEvents, kRscn);
  const auto detail = test.option<std::uint32_t>("--detail", "NUMBER", "what the event carries");
  test.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    check_board(EventTest(index, *event, *detail), index, "Raising a test event");
    Report report;
    report.field("board", "Board", index)
        .field("event", "Event", event_text(*event))
        .field("detail", "Detail", Hex{*detail, 6});
    context.print(report);
  });
}

void add_report_command(const Command& module, const std::string& name, const std::string& summary,
                        Report (*make)()) {
  const Command command = module.subcommand(name, summary);
  command.example("ovkctl module " + name);
  command.action([make](const Context& context) {
    const Session session;
    context.print(make());
  });
}

}  // namespace

void add_module(Command root) {
  const Command module = root.subcommand("module", "Talk to the driver module");
  add_report_command(module, "info", "Show the driver module and the boards that it serves",
                     info_report);
  add_report_command(module, "version", "Compare the interfaces of library and driver",
                     version_report);
  add_log_command(module);
  add_test_event_command(module);
}

}  // namespace ovkctl
