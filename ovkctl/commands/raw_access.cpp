#include "driver_abi/record.h"
#include "driver_abi/records/hardware.h"
#include "ovkctl/frame/command.h"
#include "ovkctl/frame/files.h"

#include <ovk/info.h>

#include <bit>
#include <limits>

namespace ovkctl {
namespace {

constexpr ResultText memory_results[] = {
    {OVK_NO_MEMORY_ACCESS, "SLI-4 adapters have no memory that can be read or written", ""},
    {OVK_RAW_ACCESS_FAILED, "the command was not delivered or the driver refused it",
     "Check that the range lies within what the adapter has; the driver's log may say more."},
};
constexpr ResultText pci_results[] = {memory_results[1]};
constexpr ResultText register_results[] = {
    {OVK_NOT_SUPPORTED, "SLI-4 adapters have no registers that can be read or written", ""},
    memory_results[1],
};

// ---- The bytes of a write -------------------------------------------------------------------

constexpr OptionalWord<HexBytes> hex_word{"HEX", "the bytes, as hex digits", "00010203"};
constexpr Option<std::string> from_option{"--from", "FILE", "take the bytes from a file"};

Bytes bytes_to_write(const std::optional<HexBytes>& hex, const std::optional<std::string>& file,
                     std::size_t most) {
  Bytes bytes = given_bytes(hex, file, most, "Give the bytes either as HEX or with --from FILE.");
  if (bytes.empty() || bytes.size() > most) {
    throw UsageError("A write takes 1 to {} bytes.", most);
  }
  return bytes;
}

Report written_report(const Board& board, Hex offset, std::size_t count) {
  return board.report()
      .field("offset", "Offset", offset)
      .field("written", "Written", Size{static_cast<std::uint32_t>(count)});
}

// ---- Memory ---------------------------------------------------------------------------------

constexpr std::uint32_t most_memory_bytes = 1U << 20;

constexpr Word<std::uint32_t> memory_offset_word{"OFFSET", "byte offset", "0x100"};
constexpr Word<std::uint32_t> count_word{"COUNT", "how many bytes", "64", {1, most_memory_bytes}};

/** Goes through a range of the memory in pieces that one transfer moves. */
template <typename Byte, typename Move>
void move_memory(const Board& board, const char* operation, std::uint32_t offset,
                 std::span<Byte> bytes, Move* move) {
  if (bytes.size() > std::numeric_limits<std::uint32_t>::max() - offset) {
    throw UsageError("The range ends beyond what 32 bits can address.");
  }
  in_pieces(operation, bytes, OVK_MAX_RAW_TRANSFER, [&](std::size_t done, auto piece) {
    board.check(move(board, piece.data(), offset + done, piece.size()), operation, memory_results);
  });
}

Report read_memory(const Board& board, std::uint32_t offset, std::uint32_t count) {
  Bytes bytes(count);
  move_memory(board, "Reading the memory", offset, std::span{bytes}, ReadMem);
  return board.report()
      .field("offset", "Offset", Hex{offset, 4})
      .field("count", "Size", Size{count})
      .payload("bytes", "", bytes, offset);
}

Report write_memory(const Board& board, std::uint32_t offset, const std::optional<HexBytes>& hex,
                    const std::optional<std::string>& file) {
  const Bytes bytes = bytes_to_write(hex, file, most_memory_bytes);
  board.ask("This overwrites memory that {board} works with.");
  move_memory(board, "Writing the memory", offset, std::span{bytes}, WriteMem);
  return written_report(board, Hex{offset, 4}, bytes.size());
}

// ---- Registers ------------------------------------------------------------------------------

constexpr Word<std::uint32_t> register_word{"OFFSET", "byte offset of the register", "0x8"};
constexpr Word<std::uint32_t> value_word{"VALUE", "its new value", "0x1"};

Report read_register(const Board& board, std::uint32_t offset) {
  std::uint32_t value = 0;
  board.check(ReadCtlReg(board, &value, offset), "Reading the register", register_results);
  return board.report()
      .field("offset", "Register", Hex{offset, 2})
      .field("value", "Value", Hex{value, 8});
}

Report write_register(const Board& board, std::uint32_t offset, std::uint32_t value) {
  board.check(WriteCtlReg(board, &value, offset), "Writing the register", register_results);
  return read_register(board, offset);
}

// ---- PCI configuration ----------------------------------------------------------------------

constexpr std::uint32_t config_size = 4096;

template <typename T>
T at(const Bytes& config, std::size_t offset) {
  return ovk::read_record<T>(config, offset).value_or(T{});
}

/** The class code of a Fibre Channel controller. */
constexpr std::uint32_t fibre_channel = 0x0C0400;

std::uint32_t class_of(const Bytes& config) { return at<std::uint32_t>(config, 0x08) >> 8; }

std::string class_text(const Bytes& config) {
  return class_of(config) == fibre_channel ? "Fibre Channel controller" : "";
}

/** A base address register. */
struct Bar {
  std::size_t number;
  const char* kind;
  Hex address;
};

constexpr Column<Bar> bar_columns[] = {
    {"bar", "BAR", field<&Bar::number>},
    {"kind", "KIND", field<&Bar::kind>},
    {"address", "ADDRESS", field<&Bar::address>},
};

std::vector<Bar> bars_of(const Bytes& config) {
  constexpr std::size_t first = 0x10;
  constexpr std::size_t end = 0x28;
  constexpr std::size_t dword = 4;
  std::vector<Bar> bars;
  for (std::size_t place = first; place < end; place += dword) {
    const std::size_t bar = (place - first) / dword;
    const auto low = at<std::uint32_t>(config, place);
    const bool io = (low & 1) != 0;
    const bool wide = !io && (low >> 1 & 3) == 2;
    if (wide && place + dword < end) {
      place += dword;
      const std::uint64_t high = at<std::uint32_t>(config, place);
      bars.push_back({bar, "memory, 64 bits", {high << 32 | (low & ~15U), 16}});
    } else if (low != 0) {
      bars.push_back({bar, io ? "I/O" : "memory, 32 bits", {low & (io ? ~3U : ~15U), 8}});
    }
  }
  return bars;
}

constexpr auto capability_names = words<std::uint8_t>({{0x01, "Power management"},
                                                       {0x03, "Vital product data"},
                                                       {0x05, "MSI"},
                                                       {0x09, "Vendor-specific"},
                                                       {0x10, "PCI Express"},
                                                       {0x11, "MSI-X"}});

struct Capability {
  std::size_t place;
  std::uint8_t id;
};

constexpr Column<Capability> capability_columns[] = {
    {"offset", "OFFSET", as<Hex, &Capability::place, 2>},
    {"id", "ID", as<Hex, &Capability::id, 2>},
    {"name", "NAME", [](const Capability& row) { return word_or(capability_names, row.id, ""); }},
};

std::vector<Capability> capabilities_of(const Bytes& config) {
  constexpr std::size_t end_of_header = 0x40;
  constexpr std::size_t most = 48;  // as many as there can be: they may go round in a circle
  std::vector<Capability> capabilities;
  std::size_t place = at<std::uint8_t>(config, 0x34);
  while (capabilities.size() < most && place >= end_of_header) {
    capabilities.push_back({place, at<std::uint8_t>(config, place)});
    place = at<std::uint8_t>(config, place + 1);
  }
  return capabilities;
}

ovk::PciLocationRecord read_location(const Board& board) {
  return std::bit_cast<ovk::PciLocationRecord>(
      board.read(OVK_GetPCIIds, "Reading the PCI location"));
}

/** A location as all tools write it: "0000:03:00.0". */
std::string location_text(const ovk::PciLocationRecord& location) {
  return fmt::format("{:04x}:{:02x}:{:02x}.{:x}", location.segment, location.bus, location.device,
                     location.function);
}

/** The space as "lspci -F" reads it; in JSON its bytes. */
Report lspci_report(const Board& board, const Bytes& config) {
  constexpr std::size_t line_bytes = 16;
  Report report;
  report.field("bytes", "", bytes_text(config))
      .note(location_text(read_location(board)) + " " + class_text(config));
  for (std::size_t place = 0; place < config.size(); place += line_bytes) {
    const auto line = std::span{config}.subspan(place, line_bytes);
    report.note(fmt::format("{:02x}: {}", place, bytes_text(line, " ")));
  }
  return report;
}

Report config_report(const Board& board, const Bytes& config) {
  return board.report()
      .field("vendor", "Vendor", Hex{at<std::uint16_t>(config, 0x00), 4})
      .field("device", "Device", Hex{at<std::uint16_t>(config, 0x02), 4})
      .field("subsystem_vendor", "Subsystem vendor", Hex{at<std::uint16_t>(config, 0x2C), 4})
      .field("subsystem_device", "Subsystem device", Hex{at<std::uint16_t>(config, 0x2E), 4})
      .field("class", "Class", Hex{class_of(config), 6})
      .field("class_name", "Class name", class_text(config))
      .field("revision", "Revision", Hex{at<std::uint8_t>(config, 0x08), 2})
      .field("command", "Command", Hex{at<std::uint16_t>(config, 0x04), 4})
      .field("status", "Status", Hex{at<std::uint16_t>(config, 0x06), 4})
      .field("interrupt_line", "Interrupt line", at<std::uint8_t>(config, 0x3C))
      .table("bars", "Base addresses", bar_columns, bars_of(config), "There are no base addresses.")
      .table("capabilities", "Capabilities", capability_columns, capabilities_of(config),
             "There are no capabilities.");
}

constexpr Flag hex_flag{"--hex", "print all bytes, in the form that lspci reads"};

Report show_config(const Board& board, bool hex) {
  Bytes config(config_size);
  board.check(OVK_ReadPciCfg(board, config.data(), 0, config_size),
              "Reading the PCI configuration");
  return (hex ? lspci_report(board, config) : config_report(board, config)).payload("", "", config);
}

Report show_location(const Board& board) {
  const ovk::PciLocationRecord place = read_location(board);
  return board.report()
      .field("location", "Location", location_text(place))
      .field("segment", "Segment", place.segment)
      .field("bus", "Bus", place.bus)
      .field("device", "Device", place.device)
      .field("function", "Function", place.function);
}

constexpr Word<std::uint32_t> config_offset_word{
    "OFFSET", "byte offset, a multiple of 4", "0x3c", {0, config_size}};
constexpr OptionalWord<HexBytes> config_hex_word{hex_word.names, hex_word.help, "0a"};

Report write_config(const Board& board, std::uint32_t offset, const std::optional<HexBytes>& hex,
                    const std::optional<std::string>& file) {
  const Bytes bytes = bytes_to_write(hex, file, OVK_MAX_RAW_TRANSFER);
  if (offset % sizeof(std::uint32_t) != 0) {
    throw UsageError("The offset is a multiple of 4.");
  }
  board.ask("A wrong PCI configuration can take {board} off the bus.");
  board.check(WritePciCfg(board, bytes.data(), offset, bytes.size()),
              "Writing the PCI configuration", pci_results);
  return written_report(board, Hex{offset, 2}, bytes.size());
}

}  // namespace

void add_raw_access(Command root) {
  const Command mem = root.noun("mem", "Read and write adapter memory (below SLI-4)");
  mem.command("read", "Read the memory of an adapter")
      .on_board("1")
      .takes(memory_offset_word, count_word)
      .saves()
      .example("1 0 16384 -o memory.bin")
      .shows(read_memory);
  mem.command("write", "Write the memory of an adapter")
      .on_board("1")
      .takes(memory_offset_word, hex_word, from_option)
      .asks_itself()
      .example("1 0x100 --from data.bin --yes")
      .shows(write_memory);

  const Command reg = root.noun("reg", "Read and write control registers (below SLI-4)");
  reg.command("read", "Read a control register")
      .on_board("1")
      .takes(register_word)
      .shows(read_register);
  reg.command("write", "Write a control register, and read it again")
      .on_board("1")
      .takes(register_word, value_word)
      .asks("A wrong register value can stop {board}.")
      .shows(write_register);

  const Command pci = root.noun("pci", "Show and write a board's PCI configuration");
  pci.command("config", "Show a board's PCI configuration space")
      .takes(hex_flag)
      .saves()
      .example("0 --hex | lspci -vvv -F /dev/stdin")
      .shows(show_config);
  pci.command("location", "Show where a board is on the PCI bus").shows(show_location);
  pci.command("write", "Write a board's PCI configuration space")
      .takes(config_offset_word, config_hex_word, from_option)
      .asks_itself()
      .shows(write_config);
}

}  // namespace ovkctl
