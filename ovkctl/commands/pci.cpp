#include "driver_abi/record.h"
#include "driver_abi/records/hardware.h"
#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"
#include "ovkctl/subjects/raw_access.h"

#include <ovk/info.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <span>
#include <vector>

namespace ovkctl {
namespace {

constexpr ResultText kPciResults[] = {
    {OVK_RAW_ACCESS_FAILED, "the command was not delivered or the driver refused it", check_offset},
};

using Config = std::vector<std::uint8_t>;

constexpr std::uint32_t kConfigSize = 4096;

Config read_config(std::uint32_t board) {
  Config config(kConfigSize);
  check_board(OVK_ReadPciCfg(board, config.data(), 0, kConfigSize), board,
              "Reading the PCI configuration");
  return config;
}

template <typename T>
T at(const Config& config, std::size_t offset) {
  return ovk::read_record<T>(config, offset).value_or(T{});
}

ovk::PciLocationRecord read_location(std::uint32_t board) {
  PciIds ids{};
  check_board(OVK_GetPCIIds(board, &ids), board, "Reading the PCI location");
  return std::bit_cast<ovk::PciLocationRecord>(ids);
}

/** A location as all tools write it: "0000:03:00.0". */
std::string location_text(const ovk::PciLocationRecord& location) {
  char text[40];
  std::snprintf(text, sizeof text, "%04x:%02x:%02x.%x", location.segment, location.bus,
                location.device, location.function);
  return text;
}

std::string class_text(std::uint32_t code) {
  constexpr std::uint32_t fibre_channel = 0x0C0400;
  return code == fibre_channel ? "Fibre Channel controller" : "";
}

std::string capability_text(std::uint8_t id) {
  switch (id) {
    case 0x01:
      return "Power management";
    case 0x03:
      return "Vital product data";
    case 0x05:
      return "MSI";
    case 0x09:
      return "Vendor-specific";
    case 0x10:
      return "PCI Express";
    case 0x11:
      return "MSI-X";
    default:
      return "";
  }
}

void add_header(Section& section, const Config& config) {
  const std::uint32_t class_code = at<std::uint32_t>(config, 0x08) >> 8;
  section.field("vendor", "Vendor", Hex{at<std::uint16_t>(config, 0x00), 4})
      .field("device", "Device", Hex{at<std::uint16_t>(config, 0x02), 4})
      .field("subsystem_vendor", "Subsystem vendor", Hex{at<std::uint16_t>(config, 0x2C), 4})
      .field("subsystem_device", "Subsystem device", Hex{at<std::uint16_t>(config, 0x2E), 4})
      .field("class", "Class", Hex{class_code, 6})
      .field("class_name", "Class name", class_text(class_code))
      .field("revision", "Revision", Hex{at<std::uint8_t>(config, 0x08), 2})
      .field("command", "Command", Hex{at<std::uint16_t>(config, 0x04), 4})
      .field("status", "Status", Hex{at<std::uint16_t>(config, 0x06), 4})
      .field("interrupt_line", "Interrupt line", at<std::uint8_t>(config, 0x3C));
}

void add_bars(Section& section, const Config& config) {
  constexpr std::size_t first = 0x10;
  constexpr std::size_t end = 0x28;
  constexpr std::size_t dword = 4;
  Table& table = section.table("bars", "Base addresses",
                               {{"bar", "BAR"}, {"kind", "KIND"}, {"address", "ADDRESS"}},
                               "There are no base addresses.");
  for (std::size_t place = first; place < end; place += dword) {
    const std::size_t bar = (place - first) / dword;
    const auto low = at<std::uint32_t>(config, place);
    const bool io = (low & 1) != 0;
    const bool wide = !io && (low >> 1 & 3) == 2;
    if (wide && place + dword < end) {
      place += dword;
      const std::uint64_t high = at<std::uint32_t>(config, place);
      table.row({bar, "memory, 64 bits", Hex{high << 32 | (low & ~15U), 16}});
    } else if (low != 0) {
      table.row({bar, io ? "I/O" : "memory, 32 bits", Hex{low & (io ? ~3U : ~15U), 8}});
    }
  }
}

void add_capabilities(Section& section, const Config& config) {
  constexpr std::size_t end_of_header = 0x40;
  constexpr std::size_t most = 48;  // as many as there can be: they may go round in a circle
  Table& table = section.table("capabilities", "Capabilities",
                               {{"offset", "OFFSET"}, {"id", "ID"}, {"name", "NAME"}},
                               "There are no capabilities.");
  std::size_t place = at<std::uint8_t>(config, 0x34);
  for (std::size_t i = 0; i < most && place >= end_of_header; ++i) {
    const auto id = at<std::uint8_t>(config, place);
    table.row({Hex{place, 2}, Hex{id, 2}, capability_text(id)});
    place = at<std::uint8_t>(config, place + 1);
  }
}

/** The space as "lspci -F" reads it. */
void add_lspci_dump(Section& section, const ovk::PciLocationRecord& location,
                    const Config& config) {
  constexpr std::size_t line_bytes = 16;
  section.note(location_text(location) + " " + class_text(at<std::uint32_t>(config, 0x08) >> 8));
  for (std::size_t place = 0; place < config.size(); place += line_bytes) {
    std::string line = hex_text(place, 2).substr(2) + ":";
    for (std::size_t i = place; i < place + line_bytes; ++i) {
      line += " " + hex_text(config[i], 2).substr(2);
    }
    section.note(line);
  }
}

void add_config_command(const Command& pci) {
  const Command config = pci.subcommand("config", "Show a board's PCI configuration space");
  config.example("ovkctl pci config 0");
  config.example("ovkctl pci config 0 --hex | lspci -vvv -F /dev/stdin");
  const auto board = config.board();
  const auto hex = config.flag("--hex", "print all bytes, in the form that lspci reads");
  const auto file = config.output_file();
  config.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    const Config bytes = read_config(index);
    Report report;
    if (file.present() || (*hex && context.json())) {
      deliver(report, file, bytes, 0);
    } else if (*hex) {
      add_lspci_dump(report, read_location(index), bytes);
    } else {
      report.field("board", "Board", index);
      add_header(report, bytes);
      add_bars(report, bytes);
      add_capabilities(report, bytes);
    }
    context.print(report);
  });
}

Report location_report(std::uint32_t index) {
  const ovk::PciLocationRecord place = read_location(index);
  Report report;
  report.field("board", "Board", index)
      .field("location", "Location", location_text(place))
      .field("segment", "Segment", place.segment)
      .field("bus", "Bus", place.bus)
      .field("device", "Device", place.device)
      .field("function", "Function", place.function);
  return report;
}

void add_location_command(const Command& pci) {
  add_board_report(pci, "location", "Show where a board is on the PCI bus", "ovkctl pci location 0",
                   location_report);
}

void add_write_command(const Command& pci) {
  const Command write = pci.subcommand("write", "Write a board's PCI configuration space");
  write.example("ovkctl pci write 0 0x3c 0a --yes");
  const auto board = write.board();
  const auto offset = write.argument<std::uint32_t>("OFFSET", "byte offset, a multiple of 4",
                                                    between(0, kConfigSize));
  const WriteData data(write);
  const auto yes = write.yes();
  write.action([=](const Context& context) {
    const std::vector<std::uint8_t> bytes = data.bytes(OVK_MAX_RAW_TRANSFER);
    if (*offset % sizeof(std::uint32_t) != 0) {
      throw UsageError("The offset is a multiple of 4.");
    }
    const Session session;
    const std::uint32_t index = session.board(*board);
    confirm(*yes,
            "A wrong PCI configuration can take board " + std::to_string(index) + " off the bus.");
    check_board(WritePciCfg(index, bytes.data(), *offset, static_cast<std::uint32_t>(bytes.size())),
                index, "Writing the PCI configuration", kPciResults);
    Report report;
    report.field("board", "Board", index)
        .field("offset", "Offset", Hex{*offset, 2})
        .field("written", "Written", Size{static_cast<std::uint32_t>(bytes.size())});
    context.print(report);
  });
}

}  // namespace

void add_pci(Command root) {
  const Command pci = root.subcommand("pci", "Show and write a board's PCI configuration");
  add_config_command(pci);
  add_location_command(pci);
  add_write_command(pci);
}

}  // namespace ovkctl
