#include "ovkctl/frame/command.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/subjects/board_text.h"

#include <ovk/core.h>
#include <ovk/hbaapi.h>

namespace ovkctl {
namespace {

/** What is known of a board; a query that failed leaves its cells unknown. */
std::vector<Cell> board_row(std::uint32_t board) {
  AdapterAttributes adapter{};
  GetAdapterAttributes(board, &adapter);
  PortAttributes port{};
  const bool has_port = GetAdapterPortAttributes(board, 0, &port) == OVK_OK;
  DrvInfo driver{.record_version = OVK_DRV_INFO_VERSION};
  const bool has_driver = OVK_GetDrvInfo(board, &driver) == OVK_OK;

  const auto of_port = [has_port](Cell cell) { return has_port ? cell : Cell(); };
  return {board,
          ovk_brdno[board],
          fixed_text(adapter.Model),
          of_port(port.PortWWN),
          board_state_text(board),
          of_port(port_state_text(port.PortState)),
          summary_state_text(board, has_port ? &port : nullptr),
          of_port(Speed{port.PortSpeed}),
          has_driver ? Cell(driver.sli_mode) : Cell(),
          fixed_text(adapter.FirmwareVersion)};
}

Report board_list(const Session& session) {
  Report report;
  Table& boards = report.table("boards", "",
                               {{"board", "BOARD"},
                                {"driver_number", "DRIVER"},
                                {"model", "MODEL"},
                                {"port_wwn", "PORT WWN"},
                                {"board_state", ""},
                                {"port_state", ""},
                                {"state", "STATE"},
                                {"speed_gbit", "SPEED"},
                                {"sli_mode", "SLI"},
                                {"firmware", "FIRMWARE"}},
                               "There is no board.");
  for (std::uint32_t board = 0; board < session.board_count(); ++board) {
    boards.row(board_row(board));
  }
  return report;
}

}  // namespace

void add_list(Command root) {
  const Command list = root.subcommand("list", "List the boards of this host");
  list.example("ovkctl list");
  list.example("ovkctl list --json");
  list.action([](const Context& context) {
    const Session session;
    context.print(board_list(session));
  });
}

}  // namespace ovkctl
