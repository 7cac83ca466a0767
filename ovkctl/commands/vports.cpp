#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"

#include <ovk/npiv.h>

#include <cstring>
#include <memory>
#include <span>

namespace ovkctl {
namespace {

constexpr ResultText kNoVportResults[] = {
    {OVK_ILLEGAL_WWN, "the board has no virtual port with this name",
     "See with \"ovkctl vports list\" which virtual ports the board has."},
};

constexpr ResultText kNoNpivResults[] = {
    {OVK_FAILED, "the command was not delivered, or the board has no virtual ports at all",
     "See with \"ovkctl vports ready\" whether the board can host virtual ports."},
};

/** The two names of which a virtual port's identity consists. */
struct Identity {
  Wwn port_wwn;
  Wwn node_wwn;
};

Identity identity_of(const VportEntry& entry) {
  Identity identity;
  static_assert(sizeof identity == sizeof entry.identity);
  std::memcpy(&identity, entry.identity, sizeof identity);
  return identity;
}

std::span<const VportEntry> read_list(std::uint32_t board, VportList& list) {
  list.count = OVK_MAX_VPORTS;
  check_board(OVK_VPGetList(board, &list), board, "Listing the virtual ports", kNoNpivResults);
  if (list.count > OVK_MAX_VPORTS) {
    throw OperationFailed("The driver says that it gave " + std::to_string(list.count) +
                          " virtual ports where " + std::to_string(OVK_MAX_VPORTS) + " have room.");
  }
  return {list.vports, list.count};
}

Report list_report(std::uint32_t board) {
  const auto list = std::make_unique<VportList>();
  Report report;
  report.field("board", "", board);
  Table& table = report.table(
      "virtual_ports", "",
      {{"port_wwn", "PORT WWN"}, {"node_wwn", "NODE WWN"}, {"driver_word", "DRIVER WORD"}},
      "The board has no virtual port.");
  for (const VportEntry& entry : read_list(board, *list)) {
    const Identity identity = identity_of(entry);
    table.row({identity.port_wwn, identity.node_wwn, Hex{entry.word16, 8}});
  }
  return report;
}

VportAttributes read_attributes(std::uint32_t board, const Wwn& wwn) {
  VportAttributes attributes{};
  check_board(OVK_VPGetAttrib(board, &wwn, &attributes), board,
              "Reading the attributes of virtual port " + wwn_text(wwn), kNoVportResults);
  return attributes;
}

Report resources_report(std::uint32_t board) {
  VportResources resources{};
  check_board(OVK_VPGetResource(board, &resources), board, "Reading the virtual-port resources",
              kNoNpivResults);
  Report report;
  report.field("board", "Board", board);
  Section& section = report.section("resources", "Resources, as the driver gives them");
  for (std::size_t i = 0; i < std::size(resources.words); ++i) {
    const std::string number = std::to_string(i);
    section.field("word" + number, "Word " + number, resources.words[i]);
  }
  return report;
}

Report ready_report(std::uint32_t board) {
  std::uint32_t ready = 0;
  check_board(OVK_NPIVReadyTest(board, &ready), board, "Asking for the readiness");
  Report report;
  report.field("board", "Board", board)
      .field("ready", "Ready for virtual ports", ready != 0)
      .field("driver_word", ready > 1 ? "Driver word" : "", Hex{ready, 8});
  return report;
}

/** Adds a command that only takes a board. */
void add_board_command(Command vports, const std::string& name, const std::string& summary,
                       Report (*make_report)(std::uint32_t board)) {
  const Command command = vports.subcommand(name, summary);
  command.example("ovkctl vports " + name + " 0");
  const auto board = command.board();
  command.action([board, make_report](const Context& context) {
    const Session session;
    context.print(make_report(session.board(*board)));
  });
}

void add_vports_show(Command vports) {
  const Command show = vports.subcommand("show", "Show the attributes of a virtual port");
  show.example("ovkctl vports show 0 10:00:02:28:54:56:32:01");
  const auto board = show.board();
  const auto wwn = show.argument<Wwn>("WWN", "port WWN of the virtual port");
  const auto output = show.output_file();
  show.action([=](const Context& context) {
    const Session session;
    const VportAttributes attributes = read_attributes(session.board(*board), *wwn);
    Report report;
    report.field("board", "Board", board->given).field("port_wwn", "Port WWN", *wwn);
    if (output.present()) {
      write_file(*output, attributes.bytes);
      report.field("file", "Written to", *output);
    } else {
      report.dump("attributes", "Attributes, as the driver gives them",
                  {std::begin(attributes.bytes), std::end(attributes.bytes)});
    }
    context.print(report);
  });
}

}  // namespace

void add_vports(Command root) {
  const Command vports = root.subcommand("vports", "Show the virtual ports of a board (NPIV)");
  add_board_command(vports, "list", "List the virtual ports", list_report);
  add_vports_show(vports);
  add_board_command(vports, "resources", "Show what virtual-port resources are left",
                    resources_report);
  add_board_command(vports, "ready", "Show whether the board can host virtual ports now",
                    ready_report);
}

}  // namespace ovkctl
