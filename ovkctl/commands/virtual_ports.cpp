#include "driver_abi/records/virtual_ports.h"

#include "ovkctl/frame/command.h"

#include <ovk/npiv.h>

#include <bit>
#include <iterator>

namespace ovkctl {
namespace {

constexpr ResultText no_vport_results[] = {
    {OVK_ILLEGAL_WWN, "the board has no virtual port with this name",
     "See with \"ovkctl vports list\" which virtual ports the board has."},
};

constexpr ResultText no_npiv_results[] = {
    {OVK_FAILED, "the command was not delivered, or the board has no virtual ports at all",
     "See with \"ovkctl vports ready\" whether the board can host virtual ports."},
};

ovk::VportListEntry identity_of(const VportEntry& entry) {
  return std::bit_cast<ovk::VportListEntry>(entry);
}

constexpr Column<VportEntry> vport_columns[] = {
    {"port_wwn", "PORT WWN", field<identity_of, &ovk::VportListEntry::port_wwn>},
    {"node_wwn", "NODE WWN", field<identity_of, &ovk::VportListEntry::node_wwn>},
    {"driver_word", "DRIVER WORD", as<Hex, &VportEntry::word16, 8>},
};

Report list(const Board& board) {
  const VportList list = board.read(OVK_VPGetList, "Listing the virtual ports", no_npiv_results,
                                    {.count = OVK_MAX_VPORTS});
  check_room(list.count, OVK_MAX_VPORTS, "virtual ports");
  return board.listing().table("virtual_ports", "", vport_columns,
                               first_of(list.vports, list.count), "The board has no virtual port.");
}

constexpr Word<Wwn> wwn_word{"WWN", "port WWN of the virtual port", "10:00:02:28:54:56:32:01"};

Report show(const Board& board, const Wwn& wwn) {
  VportAttributes attributes{};
  board.check(OVK_VPGetAttrib(board, &wwn, &attributes),
              "Reading the attributes of virtual port " + wwn_text(wwn), no_vport_results);
  return board.report()
      .field("port_wwn", "Port WWN", wwn)
      .payload("attributes", "Attributes, as the driver gives them",
               {std::begin(attributes.bytes), std::end(attributes.bytes)});
}

Report show_resources(const Board& board) {
  const auto resources =
      board.read(OVK_VPGetResource, "Reading the virtual-port resources", no_npiv_results);
  Report report = board.report();
  Section& section = report.section("resources", "Resources, as the driver gives them");
  for (std::size_t i = 0; i < std::size(resources.words); ++i) {
    section.field(fmt::format("word{}", i), fmt::format("Word {}", i), resources.words[i]);
  }
  return report;
}

Report show_readiness(const Board& board) {
  const std::uint32_t ready = board.read(OVK_NPIVReadyTest, "Asking for the readiness");
  return board.report()
      .field("ready", "Ready for virtual ports", ready != 0)
      .field("driver_word", ready > 1 ? "Driver word" : "", Hex{ready, 8});
}

}  // namespace

void add_virtual_ports(Command root) {
  const Command vports = root.noun("vports", "Show the virtual ports of a board (NPIV)");
  vports.command("list", "List the virtual ports").shows(list);
  vports.command("show", "Show the attributes of a virtual port")
      .takes(wwn_word)
      .saves()
      .shows(show);
  vports.command("resources", "Show what virtual-port resources are left").shows(show_resources);
  vports.command("ready", "Show whether the board can host virtual ports now")
      .shows(show_readiness);
}

}  // namespace ovkctl
