#include "ovkctl/frame/board_command.h"

#include "ovkctl/frame/session.h"

namespace ovkctl {

void add_board_command(const Command& parent, const std::string& name, const std::string& summary,
                       const std::string& example, const BoardAction& action) {
  const Command command = parent.subcommand(name, summary);
  command.example(example);
  const auto board = command.board();
  command.action([board, action](const Context& context) {
    const Session session;
    action(context, session.board(*board));
  });
}

void add_board_report(const Command& parent, const std::string& name, const std::string& summary,
                      const std::string& example,
                      const std::function<Report(std::uint32_t board)>& report) {
  add_board_command(
      parent, name, summary, example,
      [report](const Context& context, std::uint32_t board) { context.print(report(board)); });
}

}  // namespace ovkctl
