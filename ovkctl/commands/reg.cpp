#include "ovkctl/frame/command.h"
#include "ovkctl/subjects/raw_access.h"

#include <ovk/info.h>

namespace ovkctl {
namespace {

constexpr ResultText register_results[] = {
    {OVK_NOT_SUPPORTED, "SLI-4 adapters have no registers that can be read or written", ""},
    {OVK_RAW_ACCESS_FAILED, "the command was not delivered or the driver refused it", check_offset},
};

constexpr Word<std::uint32_t> offset_word{"OFFSET", "byte offset of the register", "0x8"};
constexpr Word<std::uint32_t> value_word{"VALUE", "its new value", "0x1"};

Report show(const Board& board, std::uint32_t offset) {
  std::uint32_t value = 0;
  board.check(ReadCtlReg(board, &value, offset), "Reading the register", register_results);
  Report report = board.report();
  report.field("offset", "Register", Hex{offset, 2}).field("value", "Value", Hex{value, 8});
  return report;
}

Report write(const Board& board, std::uint32_t offset, std::uint32_t value) {
  board.check(WriteCtlReg(board, &value, offset), "Writing the register", register_results);
  return show(board, offset);
}

}  // namespace

void add_reg(Command root) {
  const Command reg = root.noun("reg", "Read and write control registers (below SLI-4)");
  reg.command("read", "Read a control register").on_board("1").takes(offset_word).shows(show);
  reg.command("write", "Write a control register, and read it again")
      .on_board("1")
      .takes(offset_word, value_word)
      .asks("A wrong register value can stop {board}.")
      .shows(write);
}

}  // namespace ovkctl
