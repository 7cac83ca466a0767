#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"
#include "ovkctl/subjects/raw_access.h"

#include <ovk/info.h>

namespace ovkctl {
namespace {

constexpr ResultText kRegisterResults[] = {
    {OVK_NOT_SUPPORTED, "SLI-4 adapters have no registers that can be read or written", ""},
    {OVK_RAW_ACCESS_FAILED, "the command was not delivered or the driver refused it", kCheckOffset},
};

constexpr int kRegisterDigits = 8;

void print_register(const Context& context, std::uint32_t board, std::uint32_t offset) {
  std::uint32_t value = 0;
  check_board(ReadCtlReg(board, &value, offset), board, "Reading the register", kRegisterResults);
  Report report;
  report.field("board", "Board", board)
      .field("offset", "Register", Hex{offset, 2})
      .field("value", "Value", Hex{value, kRegisterDigits});
  context.print(report);
}

void add_read_command(const Command& reg) {
  const Command read = reg.subcommand("read", "Read a control register");
  read.example("ovkctl reg read 1 0x8");
  const auto board = read.board();
  const auto offset = read.argument<std::uint32_t>("OFFSET", "byte offset of the register");
  read.action([=](const Context& context) {
    const Session session;
    print_register(context, session.board(*board), *offset);
  });
}

void add_write_command(const Command& reg) {
  const Command write = reg.subcommand("write", "Write a control register, and read it again");
  write.example("ovkctl reg write 1 0xc 0x1 --yes");
  const auto board = write.board();
  const auto offset = write.argument<std::uint32_t>("OFFSET", "byte offset of the register");
  const auto value = write.argument<std::uint32_t>("VALUE", "its new value");
  const auto yes = write.yes();
  write.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    confirm(*yes, "A wrong register value can stop board " + std::to_string(index) + ".");
    const std::uint32_t word = *value;
    check_board(WriteCtlReg(index, &word, *offset), index, "Writing the register",
                kRegisterResults);
    print_register(context, index, *offset);
  });
}

}  // namespace

void add_reg(Command root) {
  const Command reg = root.subcommand("reg", "Read and write control registers (below SLI-4)");
  add_read_command(reg);
  add_write_command(reg);
}

}  // namespace ovkctl
