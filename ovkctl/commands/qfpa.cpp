#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/subjects/driver_records.h"

#include <ovk/features.h>

#include <algorithm>

namespace ovkctl {
namespace {

constexpr ResultText kQfpaResults[] = {
    {OVK_VMID_DOES_NOT_FIT, "the fabric gave more ranges than the driver can hand out",
     "Look in the driver's log."},
    {OVK_VMID_NOT_SUPPORTED, "the driver or the fabric does not offer priorities",
     "See with \"ovkctl show\" which adapter this is, and check the switch."},
};

Report ranges_report(std::uint32_t board, const QfpaRecord& record) {
  Report report;
  report.field("board", "Board", board);
  Table& table = report.table("ranges", "",
                              {{"low", "LOW"},
                               {"high", "HIGH"},
                               {"qos_priority", "QOS PRIORITY"},
                               {"ve_id_usage", "VE ID USAGE"}},
                              "The fabric gave no priority range.");
  const std::size_t count = std::min<std::size_t>(record.count, record.ranges.size());
  for (std::size_t i = 0; i < count; ++i) {
    const QfpaRange& range = record.ranges[i];
    table.row({range.low, range.high, range.qos_priority, range.ve_id_usage});
  }
  return report;
}

}  // namespace

void add_qfpa(Command root) {
  const Command qfpa =
      root.subcommand("qfpa", "Show the priority ranges that the fabric gives (QFPA)");
  qfpa.example("ovkctl qfpa 0");
  const auto board = qfpa.board();
  const auto output = qfpa.output_file();
  qfpa.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    QfpaPriorityList list{};
    check_board(OVK_GetQFPAPriorityList(index, &list), index, "Reading the priority ranges",
                kQfpaResults);
    if (output.present()) {
      write_file(*output, list.bytes);
    }
    context.print(ranges_report(index, record_cast<QfpaRecord>(list)));
  });
}

}  // namespace ovkctl
