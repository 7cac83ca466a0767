#include "driver_abi/records/link.h"
#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"

#include <ovk/info.h>

#include <bit>

namespace ovkctl {
namespace {

constexpr std::uint64_t kKib = 1024;

Report io_report(std::uint32_t board) {
  IoInfo info{};
  check_board(GetIOinfo(static_cast<int>(board), &info), board, "Reading the I/O counters");
  const auto io = std::bit_cast<ovk::IoRecord>(info);
  Report report;
  report.field("board", "Board", board)
      .field("seconds", "Seconds counted", io.seconds)
      .field("nodes", "Nodes", io.nodes);
  report.section("commands", "SCSI commands")
      .field("reads", "Reads", io.reads)
      .field("writes", "Writes", io.writes)
      .field("without_data", "Without data", io.without_data)
      .field("failed", "Failed", io.failed)
      .field("bytes_read", "Read", LargeSize{io.read_kib * kKib})
      .field("bytes_written", "Written", LargeSize{io.written_kib * kKib});
  report.section("frames", "Frames")
      .field("transmitted", "Transmitted", io.tx_frames)
      .field("received", "Received", io.rx_frames)
      .field("bytes_transmitted", "Data transmitted", LargeSize{io.tx_kib * kKib})
      .field("bytes_received", "Data received", LargeSize{io.rx_kib * kKib})
      .field("errors", "Errors", io.error_frames)
      .field("dumped", "Dumped", io.dumped_frames);
  return report;
}

}  // namespace

void add_io(Command root) {
  add_board_report(root, "io", "Show the I/O counters of a board's port", "ovkctl io 0", io_report);
}

}  // namespace ovkctl
