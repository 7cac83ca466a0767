#include "driver_abi/records/hardware.h"

#include "driver_abi/records/link.h"
#include "ovkctl/frame/command.h"
#include "ovkctl/subjects/pci_vpd.h"

#include <ovk/info.h>

#include <bit>

namespace ovkctl {
namespace {

// ---- Vital product data ---------------------------------------------------------------------

constexpr std::uint32_t vpd_version = 1;

constexpr ResultText vpd_results[] = {
    {OVK_VPD_ABSENT, "the adapter has no vital product data", ""},
    {OVK_VPD_FAILED, "the command was not delivered or the driver refused it", see_driver_log},
};

constexpr Column<VpdField> vpd_columns[] = {
    {"keyword", "KEYWORD", field<&VpdField::keyword>},
    {"meaning", "MEANING", field<&VpdField::keyword, vpd_keyword_text>},
    {"value", "VALUE", field<&VpdField::text>},
    {"access", "ACCESS",
     [](const VpdField& field) { return field.writable ? "read/write" : "read-only"; }},
};

/** The read-only and the read-write part one behind the other, as the adapter has them. */
Bytes image_of(const ovk::VpdRecord& record) {
  const auto first = first_of(record.read_only, record.read_only_size);
  const auto second = first_of(record.read_write, record.read_write_size);
  Bytes image(first.begin(), first.end());
  image.insert(image.end(), second.begin(), second.end());
  return image;
}

Report show_vpd(const Board& board) {
  const auto record = std::bit_cast<ovk::VpdRecord>(board.read(
      GetVPDInfo, "Reading the vital product data", vpd_results, {.word0 = vpd_version}));
  const Bytes image = image_of(record);
  const Vpd vpd = parse_vpd(image);
  return board.report()
      .field("product", "Product", record.product)
      .field("identifier", "Identifier", vpd.identifier)
      .field("checksum", "Checksum", vpd.checksum_right ? "right" : "wrong")
      .field("complete", "Complete", vpd.complete)
      .field("size", "Size", Size{static_cast<std::uint32_t>(image.size())})
      .table("fields", "", vpd_columns, vpd.fields, "There are no fields.")
      .payload("", "", image);
}

// ---- Trunk ----------------------------------------------------------------------------------

constexpr std::uint32_t mbit_per_gbit = 1000;

constexpr ResultText trunk_results[] = {
    {OVK_TRUNK_REFUSED, "the host's channel refused the command",
     "Check that the driver and the library are of versions that fit each other."},
};

/** A physical port of a trunk. */
struct TrunkPort {
  std::uint32_t number;
  bool up;
};

constexpr Column<TrunkPort> port_columns[] = {
    {"port", "PORT", field<&TrunkPort::number>},
    {"link", "LINK", [](const TrunkPort& port) { return port.up ? "up" : "down"; }},
};

Report show_trunk(const Board& board) {
  const auto trunk = std::bit_cast<ovk::TrunkRecord>(
      board.read(OVK_GetTrunkInfo, "Reading the trunk", trunk_results));
  std::vector<TrunkPort> ports;
  for (std::uint32_t ports_left = trunk.ports; ports_left != 0; ports_left &= ports_left - 1) {
    const auto number = static_cast<std::uint32_t>(std::countr_zero(ports_left));
    ports.push_back({number, (trunk.ports_up >> number & 1) != 0});
  }
  return board.report()
      .field("trunked", "Trunk", trunk.ports != 0)
      .field("port_speed_gbit", "Speed of a port (Gbit/s)", trunk.port_speed_mbit / mbit_per_gbit)
      .table("ports", "", port_columns, ports, "The port is not part of a trunk.");
}

}  // namespace

void add_hardware(Command root) {
  root.command("vpd", "Show an adapter's vital product data")
      .saves()
      .example("0 -o vpd.bin")
      .shows(show_vpd);
  root.command("trunk", "Show the physical ports that make up a trunk").shows(show_trunk);
}

}  // namespace ovkctl
