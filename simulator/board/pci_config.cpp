#include "simulator/board/pci_config.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace ravnsim {

namespace {

/** A dword of the space: its value at first, and what writing does to it. */
struct Register {
  std::uint16_t offset;
  std::uint32_t value;
  std::uint32_t writable = 0;
  std::uint32_t cleared_by_ones = 0;
};

// The values are those of the PCI Express standard's fields, as firmware leaves them.
constexpr Register registers[] = {
    // Type 0 header. Identifiers and revision are the board's own and filled in by it.
    {0x04, 0x00100406, 0x00000546, 0xF9000000},  // memory and bus master on; has capabilities
    {0x08, 0x0C040000},                          // Fibre Channel controller
    {0x0C, 0x00000010, 0x000000FF},              // cache line of 64 bytes
    {0x10, 0xF7000004, 0xFFFFC000},              // BAR 0: 64-bit memory, 16 KiB
    {0x14, 0x00000000, 0xFFFFFFFF},
    {0x18, 0xF7010004, 0xFFFF0000},  // BAR 2: 64-bit memory, 64 KiB
    {0x1C, 0x00000000, 0xFFFFFFFF},
    {0x30, 0xF7040000, 0xFFFC0001},  // expansion ROM: 256 KiB, disabled
    {0x34, 0x00000044},              // first capability
    {0x3C, 0x0000010B, 0x000000FF},  // interrupt line 11, INTA#
    // Power management
    {0x44, 0x00036001},
    {0x48, 0x00000008, 0x00000003},
    // MSI-X: 32 vectors, table and pending bits in BAR 2
    {0x60, 0x801F7011, 0xC0000000},
    {0x64, 0x00000002},
    {0x68, 0x00001002},
    // PCI Express endpoint, x8; the link's speed is the board's own
    {0x70, 0x00020010},
    {0x74, 0x10008022},
    {0x78, 0x00002930, 0x00007FFF, 0x000F0000},
    {0x80, 0x10800040, 0x000001FB},
    {0x94, 0x0000001F},
    {0x98, 0x00000000, 0x0000001F},
    {0xA0, 0x00000000, 0x0000001F},
    // Advanced error reporting
    {0x100, 0x14020001},
    {0x104, 0x00000000, 0, 0x00462030},
    {0x108, 0x00000000, 0x00462030},
    {0x10C, 0x00062030, 0x00462030},
    {0x110, 0x00000000, 0, 0x000031C1},
    {0x114, 0x00002000, 0x000031C1},
    // Device serial number
    {0x140, 0x00010003},
};

using Space = std::array<std::uint8_t, PciConfig::size>;

void put_dword(Space& space, std::size_t offset, std::uint32_t value) {
  std::memcpy(space.data() + offset, &value, sizeof value);
}

std::uint32_t dword_at(const Space& space, std::size_t offset) {
  std::uint32_t value;
  std::memcpy(&value, space.data() + offset, sizeof value);
  return value;
}

/**
 * The EUI-64 of the address in the port's name: its halves around FF FE, as an address of 48 bits
 * is widened. The upper dword comes last, as the capability has it.
 */
void put_serial_number(Space& space, const Wwn& port_wwn) {
  const auto& name = port_wwn.bytes;
  const std::array<std::uint8_t, 8> eui64{name[2], name[3], name[4], 0xFF,
                                          0xFE,    name[5], name[6], name[7]};
  std::ranges::reverse_copy(eui64, space.begin() + 0x144);
}

void put_link_speed(Space& space, std::uint32_t sli_mode) {
  const std::uint32_t generation = sli_mode >= sli4 ? 3 : 2;
  constexpr std::uint32_t width_8 = 8 << 4;
  constexpr std::uint32_t status = 16;  // the link's status is the upper half
  put_dword(space, 0x7C, 0x00400000 | width_8 | generation);
  put_dword(space, 0x80, dword_at(space, 0x80) | generation << status);
  put_dword(space, 0x9C, (1U << (generation + 1)) - 2);  // bit n: generation n
  put_dword(space, 0xA0, generation);
}

Space space_of(const BoardTopology& board) {
  Space space{};
  for (const Register& entry : registers) {
    put_dword(space, entry.offset, entry.value);
  }
  put_dword(space, 0x00, board.device);
  put_dword(space, 0x2C, board.subsystem);
  put_link_speed(space, board.sli_mode);
  put_serial_number(space, board.port.port_wwn);
  return space;
}

/** The bits of a byte of the space that writes reach. */
struct ByteAccess {
  std::uint8_t writable{};
  std::uint8_t cleared_by_ones{};
};

ByteAccess access_to(std::size_t offset) {
  const auto* entry = std::ranges::find(registers, offset & ~std::size_t{3},
                                        [](const Register& r) { return std::size_t{r.offset}; });
  if (entry == std::end(registers)) {
    return {};
  }
  const std::size_t shift = offset % 4 * 8;
  return {static_cast<std::uint8_t>(entry->writable >> shift),
          static_cast<std::uint8_t>(entry->cleared_by_ones >> shift)};
}

}  // namespace

PciConfig::PciConfig(Adapter& adapter)
    : bytes_{adapter, "pci-config", space_of(adapter.topology())} {}

void PciConfig::write(std::size_t offset, std::span<const std::uint8_t> data) {
  bytes_.change([&](Space& bytes) {
    for (const std::uint8_t given : data.first(std::min(data.size(), size - offset))) {
      const ByteAccess access = access_to(offset);
      std::uint8_t& byte = bytes.at(offset++);
      byte = static_cast<std::uint8_t>((byte & ~access.writable) | (given & access.writable));
      byte = static_cast<std::uint8_t>(byte & ~(given & access.cleared_by_ones));
    }
  });
}

}  // namespace ravnsim
