#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"

#include <ovk/mailbox.h>

#include <algorithm>

namespace ovkctl {
namespace {

void induce(std::uint32_t board) {
  const std::uint32_t result = OVK_SetDumpEnv(board, OVK_DUMP_INDUCE);
  if (result != OVK_DUMP_INDUCED) {
    throw OperationFailed(
        "Inducing a dump of board " + std::to_string(board) + " failed: " +
            (result == OVK_DUMP_NOTHING_DONE ? "the driver refused it."
                                             : "the SLI mode of the board cannot be read."),
        "See with \"ovkctl state show\" whether the board is ready.", result);
  }
}

void add_induce(Command noun) {
  const Command command =
      noun.subcommand("induce", "Have a board's firmware write a dump and start anew");
  command.example("ovkctl dump induce 0 --yes");
  const auto board_index = command.board();
  const auto yes = command.yes();
  command.action([board_index, yes](const Context& context) {
    const Session session;
    const std::uint32_t board = session.board(*board_index);
    confirm(*yes, "A dump interrupts all traffic of board " + std::to_string(board) + ".");
    induce(board);
    Report report;
    report.field("board", "", board)
        .note("The firmware of board " + std::to_string(board) + " writes a dump.");
    context.print(report);
  });
}

constexpr ResultText kRegionResults[] = {
    {OVK_DUMP_REGION_MISSING, "the board has no dump region for the host",
     "Boards with an SLI-4 interface keep their dumps themselves."},
    {OVK_DUMP_REGION_NOT_READ, "the driver could not get it from the board",
     "See with \"ovkctl state show\" whether the board is ready."},
    {OVK_DUMP_REGION_UNKNOWN, "there is no dump region of this selector",
     "Try another --selector."},
};

void show_region(std::uint32_t board, std::uint32_t selector, const Given<std::string>& output,
                 const Context& context) {
  std::vector<std::uint8_t> descriptor(OVK_DUMP_DESCRIPTOR_SIZE);
  std::uint32_t length = OVK_DUMP_DESCRIPTOR_SIZE;
  check_board(OVK_GetDriverDumpRegion(board, selector, descriptor.data(), &length), board,
              "Reading the dump region", kRegionResults);
  descriptor.resize(std::min<std::size_t>(length, descriptor.size()));
  if (output.present()) {
    write_file(*output, descriptor);
  }
  Report report;
  report.field("board", "Board", board)
      .field("selector", "Selector", selector)
      .field("length", "Length", Size{length})
      .dump("descriptor", "Descriptor", descriptor);
  context.print(report);
}

void add_region(Command noun) {
  const Command region =
      noun.subcommand("region", "Show where the host keeps the dump of an SLI-3 board");
  region.example("ovkctl dump region 1");
  const auto board = region.board();
  const auto selector =
      region.option<std::uint32_t>("--selector", "NUMBER", "which descriptor, the driver's", 0);
  const auto output = region.output_file();
  region.action([=](const Context& context) {
    const Session session;
    show_region(session.board(*board), *selector, output, context);
  });
}

}  // namespace

void add_dump(Command root) {
  const Command dump = root.subcommand("dump", "Take and find the dumps of boards");
  add_induce(dump);
  add_region(dump);
}

}  // namespace ovkctl
