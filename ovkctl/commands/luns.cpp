#include "ovkctl/frame/command.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/subjects/scsi_access.h"

#include <ovk/hbaapi.h>

#include <algorithm>

namespace ovkctl {
namespace {

constexpr std::size_t kLunSize = 8;

ByteVector report_luns(std::uint32_t board, const Wwn& target) {
  ByteVector data(OVK_SCSI_MAX_TRANSFER);
  auto length = static_cast<std::uint32_t>(data.size());
  Sense sense;
  const std::uint32_t result =
      SendReportLUNs(board, &target, data.data(), &length, sense.bytes.data(), &sense.length);
  check_scsi(result, sense, board, "Reading the list of logical units");
  data.resize(std::min<std::size_t>(length, data.size()));
  return data;
}

Report luns_report(std::uint32_t board, const Wwn& target, std::span<const std::uint8_t> data) {
  Report report;
  report.field("board", "", board).field("target", "", target);
  Table& table = report.table("luns", "", {{"lun", "LUN"}, {"fcp_lun", "FCP LUN"}},
                              "The target has no logical unit.");
  const std::size_t list_length = big_endian(data, 0, 4);
  for (std::size_t at = kLunSize; at + kLunSize <= std::min(data.size(), kLunSize + list_length);
       at += kLunSize) {
    const auto lun = data.subspan(at, kLunSize);
    table.row({lun_text(lun), hex_digits(lun)});
  }
  return report;
}

}  // namespace

void add_luns(Command root) {
  const Command luns = root.subcommand("luns", "Ask a target for its logical units (REPORT LUNS)");
  luns.example("ovkctl luns 0 10:00:02:0a:54:00:00:01");
  const auto board = luns.board();
  const auto target = luns.argument<Wwn>("TARGET", "port WWN of the target");
  const auto output = luns.output_file();
  luns.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    const ByteVector data = report_luns(index, *target);
    if (output.present()) {
      write_file(*output, data);
    } else {
      context.print(luns_report(index, *target, data));
    }
  });
}

}  // namespace ovkctl
