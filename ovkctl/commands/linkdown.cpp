#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"
#include "ovkctl/subjects/region_io.h"

#include <ovk/regions.h>

#include <string>

namespace ovkctl {
namespace {

constexpr ResultText kResults[] = {
    {OVK_NOT_SUPPORTED, "the board cannot keep its link down, or its setting is damaged",
     "See with \"ovkctl show\" whether it has the feature, and with \"ovkctl region read BOARD "
     "23\" "
     "what is stored."},
    {OVK_RECORD_NOT_FOUND, "region 23 holds no such setting",
     "Give region 23 its default contents with \"ovkctl region init BOARD 23\"."},
};

bool read_setting(std::uint32_t board) {
  std::uint16_t link_down = 0;
  check_board(OVK_GetPersistLinkDown(board, &link_down), board, "Reading persistent link down",
              kResults);
  return link_down != 0;
}

void print_setting(const Context& context, std::uint32_t board) {
  Report report;
  report.field("board", "Board", board)
      .field("link_down", "Persistent link down", read_setting(board));
  context.print(report);
}

void set(const Context& context, std::uint32_t board, bool link_down, bool yes) {
  const std::string name = "the link of board " + std::to_string(board);
  confirm(yes, link_down ? "This keeps " + name + " down from the next reset on."
                         : "This lets " + name + " come up from the next reset on.");
  check_board(OVK_SetPersistLinkDown(board, link_down ? 1 : 0), board,
              "Setting persistent link down", kResults);
  if (read_setting(board) != link_down) {
    fail_verification(board, "Persistent link down");
  }
  print_setting(context, board);
}

void add_setter(const Command& noun, const char* name, const char* summary, bool link_down) {
  const Command setter = noun.subcommand(name, summary);
  setter.example(std::string("ovkctl linkdown ") + name + " 0 --yes");
  const auto board = setter.board();
  const auto yes = setter.yes();
  setter.action([=](const Context& context) {
    const Session session;
    set(context, session.board(*board), link_down, *yes);
  });
}

}  // namespace

void add_linkdown(Command root) {
  const Command noun =
      root.subcommand("linkdown", "Keep a board's link down across resets and power cycles");
  add_board_command(noun, "show", "Show whether the link is kept down", "ovkctl linkdown show 0",
                    print_setting);
  add_setter(noun, "on", "Keep the link down", true);
  add_setter(noun, "off", "Let the link come up", false);
}

}  // namespace ovkctl
