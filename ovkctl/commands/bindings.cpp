#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/subjects/scsi_access.h"

#include <ovk/hbaapi.h>

#include <cstring>

namespace ovkctl {
namespace {

/** The driver's bindings, with room for the most that there can be. */
struct Bindings {
  std::uint32_t count;
  FcpBinding entries[OVK_MAX_BINDINGS];
};

static_assert(offsetof(Bindings, entries) == offsetof(FcpBindList, entry));

Report bindings_report(std::uint32_t board) {
  ByteVector memory(sizeof(Bindings));
  void* list = memory.data();
  auto* bindings = static_cast<Bindings*>(list);
  bindings->count = OVK_MAX_BINDINGS;
  check_board(GetFcpBindList(board, static_cast<FcpBindList*>(list)), board,
              "Reading the bindings");
  Report report;
  report.field("board", "", board);
  Table& table = report.table("bindings", "", {{"index", "INDEX"}, {"bytes", "DRIVER'S RECORD"}},
                              "The board has no persistent bindings.");
  for (std::uint32_t i = 0; i < bindings->count && i < OVK_MAX_BINDINGS; ++i) {
    table.row({i, hex_digits(bindings->entries[i].bytes)});
  }
  return report;
}

}  // namespace

void add_bindings(Command root) {
  add_board_report(root, "bindings", "Show a board's persistent bindings as the driver keeps them",
                   "ovkctl bindings 0", bindings_report);
}

}  // namespace ovkctl
