#include "ovkctl/frame/command.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/subjects/scsi_access.h"

namespace ovkctl {
namespace {

constexpr std::uint8_t kSupportedPages = 0x00;
constexpr std::uint8_t kSerialNumber = 0x80;
constexpr std::uint8_t kIdentification = 0x83;
constexpr std::size_t kPageHeader = 4;
constexpr unsigned kQualifierShift = 5;

void add_standard(Report& report, const ByteVector& data) {
  report.field("type", "Type", device_type_text(data.empty() ? 0x1F : data[0]))
      .field("vendor", "Vendor", ascii_text(data, 8, 8))
      .field("product", "Product", ascii_text(data, 16, 16))
      .field("revision", "Revision", ascii_text(data, 32, 4))
      .field("spc_version", "SPC version", big_endian(data, 2, 1));
  if (big_endian(data, 0, 1) >> kQualifierShift != 0) {
    report.note("The target has no logical unit of this number, or none is connected.");
  }
}

void add_designators(Report& report, const ByteVector& data) {
  Table& table = report.table("designators", "",
                              {{"association", "OF"}, {"type", "TYPE"}, {"value", "IDENTIFIER"}},
                              "The logical unit names no identifier.");
  for (const Designator& designator : decode_identification_page(data)) {
    table.row({designator.association, designator.type, designator.value});
  }
}

void add_page(Report& report, std::uint8_t page, const ByteVector& data) {
  const std::size_t length = big_endian(data, 2, 2);
  report.field("page", "Page", Hex{page, 2});
  if (page == kSupportedPages) {
    List pages;
    for (std::size_t i = kPageHeader; i < data.size() && i < kPageHeader + length; ++i) {
      pages.push_back(hex_text(data[i], 2));
    }
    report.field("supported_pages", "Supported pages", pages);
  } else if (page == kSerialNumber) {
    report.field("serial_number", "Serial number", ascii_text(data, kPageHeader, length));
  } else if (page == kIdentification) {
    add_designators(report, data);
  } else {
    report.dump("data", "Data", data);
  }
}

}  // namespace

void add_inquiry(Command root) {
  const Command inquiry = root.subcommand("inquiry", "Ask a logical unit what it is (INQUIRY)");
  inquiry.example("ovkctl inquiry 0 10:00:02:0a:54:00:00:01 0");
  inquiry.example("ovkctl inquiry 0 10:00:02:0a:54:00:00:01 0 --page 0x83");
  const auto board = inquiry.board();
  const auto target = inquiry.argument<Wwn>("TARGET", "port WWN of the target");
  const auto lun =
      inquiry.argument<std::uint32_t>("LUN", "logical unit number", between(0, kLargestLun));
  const auto page = inquiry.option<std::uint32_t>("--page", "NUMBER",
                                                  "a page of vital product data instead of "
                                                  "the standard data",
                                                  0, between(0, 0xFF));
  const auto output = inquiry.output_file();
  inquiry.action([=](const Context& context) {
    const Session session;
    const LogicalUnit unit{session.board(*board), *target, *lun};
    const auto code = static_cast<std::uint8_t>(*page);
    const ByteVector data = read_inquiry(unit, page.present(), code);
    if (output.present()) {
      write_file(*output, data);
      return;
    }
    Report report;
    report.field("board", "", unit.board)
        .field("target", "", unit.target)
        .field("lun", "", unit.lun);
    if (page.present()) {
      add_page(report, code, data);
    } else {
      add_standard(report, data);
    }
    context.print(report);
  });
}

}  // namespace ovkctl
