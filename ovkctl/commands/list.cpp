#include "ovkctl/frame/command.h"
#include "ovkctl/subjects/board_text.h"

#include <ovk/core.h>
#include <ovk/hbaapi.h>

#include <optional>
#include <vector>

namespace ovkctl {
namespace {

/** What is known of a board; a query that failed leaves its part empty. */
struct BoardRow {
  std::uint32_t board;
  AdapterAttributes adapter{};
  std::optional<PortAttributes> port;
  std::optional<DrvInfo> driver;
};

/** The cell that comes from the board's port, if that could be read. */
template <auto make_cell>
constexpr auto of_port =
    [](const BoardRow& row) { return row.port ? Cell{make_cell(*row.port)} : Cell{}; };

constexpr Column<BoardRow> board_columns[] = {
    {"board", "BOARD", field<&BoardRow::board>},
    {"driver_number", "DRIVER", [](const BoardRow& row) { return ovk_brdno[row.board]; }},
    {"model", "MODEL", [](const BoardRow& row) { return fixed_text(row.adapter.Model); }},
    {"port_wwn", "PORT WWN", of_port<[](const PortAttributes& port) { return port.PortWWN; }>},
    {"board_state", "", [](const BoardRow& row) { return board_state_text(row.board); }},
    {"port_state", "",
     of_port<[](const PortAttributes& port) { return port_state_text(port.PortState); }>},
    {"state", "STATE",
     [](const BoardRow& row) {
       return summary_state_text(row.board, row.port ? &*row.port : nullptr);
     }},
    {"speed_gbit", "SPEED",
     of_port<[](const PortAttributes& port) { return Speed{port.PortSpeed}; }>},
    {"sli_mode", "SLI",
     [](const BoardRow& row) { return row.driver ? Cell{row.driver->sli_mode} : Cell{}; }},
    {"firmware", "FIRMWARE",
     [](const BoardRow& row) { return fixed_text(row.adapter.FirmwareVersion); }},
};

BoardRow read_row(std::uint32_t board) {
  BoardRow row{.board = board};
  GetAdapterAttributes(board, &row.adapter);
  if (PortAttributes port{}; GetAdapterPortAttributes(board, 0, &port) == OVK_OK) {
    row.port = port;
  }
  DrvInfo driver{.record_version = OVK_DRV_INFO_VERSION};
  if (OVK_GetDrvInfo(board, &driver) == OVK_OK) {
    row.driver = driver;
  }
  return row;
}

Report list(const Host& host) {
  std::vector<BoardRow> rows;
  for (std::uint32_t board = 0; board < host.board_count(); ++board) {
    rows.push_back(read_row(board));
  }
  Report report;
  report.table("boards", "", board_columns, rows, "There is no board.");
  return report;
}

}  // namespace

void add_list(Command root) {
  root.command("list", "List the boards of this host").example("--json").shows(list);
}

}  // namespace ovkctl
