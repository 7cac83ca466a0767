#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/subjects/board_text.h"
#include "ovkctl/subjects/scsi_access.h"

#include <ovk/hbaapi.h>

#include <algorithm>
#include <cstring>
#include <span>

namespace ovkctl {
namespace {

constexpr std::uint32_t kFirstRoom = 64;

/** A target mapping in memory of its own. */
class Mapping {
 public:
  explicit Mapping(std::uint32_t entries)
      : memory_(offsetof(FcpTargetMappingV2, entry) + entries * sizeof(FcpScsiEntryV2)) {
    map()->NumberOfEntries = entries;
  }

  FcpTargetMappingV2* map() {
    void* memory = memory_.data();
    return static_cast<FcpTargetMappingV2*>(memory);
  }

  FcpScsiEntryV2 entry(std::uint32_t index) const {
    FcpScsiEntryV2 entry;
    std::memcpy(&entry, memory_.data() + offsetof(FcpTargetMappingV2, entry) + index * sizeof entry,
                sizeof entry);
    return entry;
  }

 private:
  ByteVector memory_;
};

/** Reads the mapping with as much room as it turns out to need. */
Mapping read_mapping(std::uint32_t board) {
  const Wwn port = read_own_port(board).PortWWN;
  Mapping mapping{kFirstRoom};
  std::uint32_t result = OVK_GetFcpTargetMappingV2(board, &port, mapping.map());
  if (result == OVK_MORE_DATA) {
    mapping =
        Mapping{std::min<std::uint32_t>(mapping.map()->NumberOfEntries, OVK_MAX_TARGET_MAPPINGS)};
    result = OVK_GetFcpTargetMappingV2(board, &port, mapping.map());
  }
  check_board(result, board, "Reading the target mapping");
  return mapping;
}

Report targets_report(std::uint32_t board) {
  Mapping mapping = read_mapping(board);
  Report report;
  report.field("board", "", board);
  Table& table = report.table("targets", "",
                              {{"bus", "BUS"},
                               {"target", "TARGET"},
                               {"os_lun", "LUN"},
                               {"os_device_name", "DEVICE"},
                               {"port_wwn", "PORT WWN"},
                               {"node_wwn", ""},
                               {"fc_id", "FC ID"},
                               {"fcp_lun", "FCP LUN"},
                               {"identifier_type", "ID TYPE"},
                               {"identifier", "IDENTIFIER"}},
                              "The host sees no logical unit behind this board.");
  for (std::uint32_t i = 0; i < mapping.map()->NumberOfEntries; ++i) {
    const FcpScsiEntryV2 unit = mapping.entry(i);
    std::uint8_t lun[sizeof unit.entry.FcpLun];
    std::memcpy(lun, &unit.entry.FcpLun, sizeof lun);
    const bool has_identifier = unit.identifier[0] != 0;
    const Designator id = decode_designator(unit.identifier);
    table.row({unit.entry.ScsiBusNumber, unit.entry.ScsiTargetNumber, unit.entry.ScsiOSLun,
               fixed_text(unit.entry.OSDeviceName), unit.entry.PortWWN, unit.entry.NodeWWN,
               FcAddress{unit.entry.FcId}, hex_digits(lun), has_identifier ? Cell(id.type) : Cell(),
               has_identifier ? Cell(id.value) : Cell()});
  }
  return report;
}

}  // namespace

void add_targets(Command root) {
  add_board_report(root, "targets", "Show the logical units that the host sees behind a board",
                   "ovkctl targets 0", targets_report);
}

}  // namespace ovkctl
