/**
 * @file
 * An adapter's hardware: its vital product data, its place on the PCI bus, its dump. No public
 * source defines this layout: where a host shows another, it is mended here.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace ovk {

/** The answer to RAVN_MGMT_GET_VPD. */
struct VpdRecord {
  std::uint32_t version;
  std::uint8_t read_only[256];
  char product[80];
  std::uint8_t read_write[256];
  std::uint32_t read_only_size;   ///< bytes
  std::uint32_t read_write_size;  ///< bytes
  std::uint32_t reserved604[3];
};

static_assert(sizeof(VpdRecord) == 616);
static_assert(offsetof(VpdRecord, read_only) == 4);
static_assert(offsetof(VpdRecord, product) == 260);
static_assert(offsetof(VpdRecord, read_write) == 340);
static_assert(offsetof(VpdRecord, read_only_size) == 596);

/** The answer to RAVN_MGMT_GET_PCI_SBDF. */
struct PciLocationRecord {
  std::uint32_t segment;
  std::uint32_t bus;
  std::uint32_t device;
  std::uint32_t function;
  std::uint32_t reserved16[2];
};

static_assert(sizeof(PciLocationRecord) == 24);
static_assert(offsetof(PciLocationRecord, function) == 12);

/** The answer to RAVN_MGMT_GET_DUMPREGION: where the host finds a board's dump. */
struct DumpRegionRecord {
  std::uint64_t address;
  std::uint32_t size;  ///< bytes
  std::uint32_t dumps;
};

static_assert(sizeof(DumpRegionRecord) == 16);
static_assert(offsetof(DumpRegionRecord, size) == 8);

}  // namespace ovk
