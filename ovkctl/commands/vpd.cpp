#include "driver_abi/records/hardware.h"
#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/subjects/pci_vpd.h"

#include <ovk/info.h>

#include <algorithm>
#include <bit>
#include <span>
#include <vector>

namespace ovkctl {
namespace {

constexpr std::uint32_t kVpdVersion = 1;

constexpr ResultText kVpdResults[] = {
    {OVK_VPD_ABSENT, "the adapter has no vital product data", ""},
    {OVK_VPD_FAILED, "the command was not delivered or the driver refused it",
     "See with \"ovkctl list\" whether the board is ready, and look in the driver's log for the "
     "reason."},
};

ovk::VpdRecord read_vpd(std::uint32_t board) {
  VpdInfo info{.word0 = kVpdVersion};
  const auto result = static_cast<std::uint32_t>(GetVPDInfo(board, &info));
  check_board(result, board, "Reading the vital product data", kVpdResults);
  return std::bit_cast<ovk::VpdRecord>(info);
}

/** Both parts together, as the adapter has them. */
std::vector<std::uint8_t> image_of(const ovk::VpdRecord& record) {
  const auto used = [](std::span<const std::uint8_t> part, std::uint32_t size) {
    return part.first(std::min<std::size_t>(size, part.size()));
  };
  const auto first = used(record.read_only, record.read_only_size);
  const auto second = used(record.read_write, record.read_write_size);
  std::vector<std::uint8_t> image(first.begin(), first.end());
  image.insert(image.end(), second.begin(), second.end());
  return image;
}

Report vpd_report(std::uint32_t board, const ovk::VpdRecord& record) {
  const std::vector<std::uint8_t> image = image_of(record);
  const Vpd vpd = parse_vpd(image);
  Report report;
  report.field("board", "Board", board)
      .field("product", "Product", fixed_text(record.product))
      .field("identifier", "Identifier", vpd.identifier)
      .field("checksum", "Checksum", vpd.checksum_right ? "right" : "wrong")
      .field("complete", "Complete", vpd.complete)
      .field("size", "Size", Size{static_cast<std::uint32_t>(image.size())});
  Table& fields = report.table(
      "fields", "",
      {{"keyword", "KEYWORD"}, {"meaning", "MEANING"}, {"value", "VALUE"}, {"access", "ACCESS"}},
      "There are no fields.");
  for (const VpdField& field : vpd.fields) {
    fields.row({field.keyword, vpd_keyword_text(field.keyword), field.text,
                field.writable ? "read/write" : "read-only"});
  }
  return report;
}

}  // namespace

void add_vpd(Command root) {
  const Command vpd = root.subcommand("vpd", "Show an adapter's vital product data");
  vpd.example("ovkctl vpd 0");
  vpd.example("ovkctl vpd 0 -o vpd.bin");
  const auto board = vpd.board();
  const auto file = vpd.output_file();
  vpd.action([board, file](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    const ovk::VpdRecord record = read_vpd(index);
    if (file.present()) {
      write_file(*file, image_of(record));
    }
    context.print(vpd_report(index, record));
  });
}

}  // namespace ovkctl
