#include "ovkctl/frame/command.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/subjects/scsi_access.h"

#include <ovk/hbaapi.h>

namespace ovkctl {
namespace {

constexpr std::uint32_t kReplySize = 8;
constexpr std::uint32_t kBeyondTenByteCommands = 0xFFFFFFFF;

ByteVector read_capacity(const LogicalUnit& unit) {
  ByteVector data(kReplySize);
  std::uint32_t length = kReplySize;
  Sense sense;
  const std::uint32_t result =
      SendReadCapacity(unit.board, &unit.target, unit.word0(), unit.word1(), data.data(), &length,
                       sense.bytes.data(), &sense.length);
  check_scsi(result, sense, unit.board, "Reading the capacity");
  return data;
}

Report capacity_report(const LogicalUnit& unit, const ByteVector& data) {
  const std::uint32_t last_block = big_endian(data, 0, 4);
  const std::uint32_t block_size = big_endian(data, 4, 4);
  const std::uint64_t blocks = std::uint64_t{last_block} + 1;
  Report report;
  report.field("board", "", unit.board)
      .field("target", "", unit.target)
      .field("lun", "", unit.lun)
      .field("blocks", "Blocks", blocks)
      .field("block_size", "Block size", Size{block_size})
      .field("size", "Size", LargeSize{blocks * block_size});
  if (last_block == kBeyondTenByteCommands) {
    report.note("The logical unit has more blocks than READ CAPACITY(10) can tell.");
  }
  return report;
}

}  // namespace

void add_capacity(Command root) {
  const Command capacity =
      root.subcommand("capacity", "Ask a logical unit for its size (READ CAPACITY)");
  capacity.example("ovkctl capacity 0 10:00:02:0a:54:00:00:01 0");
  const auto board = capacity.board();
  const auto target = capacity.argument<Wwn>("TARGET", "port WWN of the target");
  const auto lun =
      capacity.argument<std::uint32_t>("LUN", "logical unit number", between(0, kLargestLun));
  const auto output = capacity.output_file();
  capacity.action([=](const Context& context) {
    const Session session;
    const LogicalUnit unit{session.board(*board), *target, *lun};
    const ByteVector data = read_capacity(unit);
    if (output.present()) {
      write_file(*output, data);
    } else {
      context.print(capacity_report(unit, data));
    }
  });
}

}  // namespace ovkctl
