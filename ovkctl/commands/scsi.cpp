#include "ovkctl/frame/command.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/subjects/scsi_access.h"

#include <ovk/fabric.h>
#include <ovk/hbaapi.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace ovkctl {
namespace {

constexpr Word<Wwn> target_word{"TARGET", "port WWN of the target", "10:00:02:0a:54:00:00:01"};
constexpr Word<std::uint32_t> lun_word{"LUN", "logical unit number", "0", {0, largest_lun}};

/** A report whose text does not repeat which logical unit was asked. */
Report unit_report(const LogicalUnit& unit) {
  return unit.board.listing().field("target", "", unit.target).field("lun", "", unit.lun);
}

// ---- inquiry --------------------------------------------------------------------------------

constexpr std::uint8_t supported_pages = 0x00;
constexpr std::uint8_t serial_number_page = 0x80;
constexpr std::uint8_t identification_page = 0x83;
constexpr std::size_t page_header = 4;
constexpr unsigned qualifier_shift = 5;

constexpr Option<std::uint8_t> page_option{
    "--page", "NUMBER", "a page of vital product data instead of the standard data"};

void add_standard(Report& report, const Bytes& data) {
  report.field("type", "Type", device_type_text(data.empty() ? 0x1F : data[0]))
      .field("vendor", "Vendor", ascii_text(data, 8, 8))
      .field("product", "Product", ascii_text(data, 16, 16))
      .field("revision", "Revision", ascii_text(data, 32, 4))
      .field("spc_version", "SPC version", big_endian(data, 2, 1));
  if (big_endian(data, 0, 1) >> qualifier_shift != 0) {
    report.note("The target has no logical unit of this number, or none is connected.");
  }
}

constexpr Column<Designator> designator_columns[] = {
    {"association", "OF", field<&Designator::association>},
    {"type", "TYPE", field<&Designator::type>},
    {"value", "IDENTIFIER", field<&Designator::value>},
};

void add_page(Report& report, std::uint8_t page, const Bytes& data) {
  const std::size_t length = big_endian(data, 2, 2);
  report.field("page", "Page", Hex{page, 2});
  if (page == supported_pages) {
    List pages;
    for (std::size_t i = page_header; i < data.size() && i < page_header + length; ++i) {
      pages.push_back(hex_text(data[i], 2));
    }
    report.field("supported_pages", "Supported pages", pages);
  } else if (page == serial_number_page) {
    report.field("serial_number", "Serial number", ascii_text(data, page_header, length));
  } else if (page == identification_page) {
    report.table("designators", "", designator_columns, decode_identification_page(data),
                 "The logical unit names no identifier.");
  } else {
    report.dump("data", "Data", data);
  }
}

Report inquire(const Board& board, const Wwn& target, std::uint32_t lun,
               std::optional<std::uint8_t> page) {
  constexpr std::uint32_t most = 255;  // the length in the CDB has one byte
  const LogicalUnit unit{board, target, lun};
  Bytes data(most);
  const std::uint32_t length =
      send_scsi(board, "The inquiry", data, SendScsiInquiry, &target, unit.word0(), unit.word1(),
                std::uint8_t{page.has_value()}, page.value_or(0));
  data.resize(std::min(length, most));
  Report report = unit_report(unit);
  if (page) {
    add_page(report, *page, data);
  } else {
    add_standard(report, data);
  }
  return report.payload("", "", data);
}

// ---- capacity -------------------------------------------------------------------------------

/** What READ CAPACITY(10) gives as the last block of a logical unit that has more. */
constexpr std::uint32_t beyond_ten_byte_commands = 0xFFFFFFFF;

Report show_capacity(const Board& board, const Wwn& target, std::uint32_t lun) {
  const LogicalUnit unit{board, target, lun};
  Bytes data(8);
  send_scsi(board, "Reading the capacity", data, SendReadCapacity, &target, unit.word0(),
            unit.word1());

  const std::uint32_t last_block = big_endian(data, 0, 4);
  const std::uint32_t block_size = big_endian(data, 4, 4);
  const std::uint64_t blocks = std::uint64_t{last_block} + 1;
  Report report = unit_report(unit);
  report.field("blocks", "Blocks", blocks)
      .field("block_size", "Block size", Size{block_size})
      .field("size", "Size", LargeSize{blocks * block_size})
      .payload("", "", data);
  if (last_block == beyond_ten_byte_commands) {
    report.note("The logical unit has more blocks than READ CAPACITY(10) can tell.");
  }
  return report;
}

// ---- luns -----------------------------------------------------------------------------------

constexpr std::size_t lun_size = 8;

using LunBytes = std::span<const std::uint8_t>;

constexpr Column<LunBytes> lun_columns[] = {
    {"lun", "LUN", field<lun_text>},
    {"fcp_lun", "FCP LUN", [](LunBytes lun) { return bytes_text(lun); }},
};

Report list_luns(const Board& board, const Wwn& target) {
  Bytes data(OVK_SCSI_MAX_TRANSFER);
  const std::size_t length =
      send_scsi(board, "Reading the list of logical units", data, SendReportLUNs, &target);
  data.resize(std::min(length, data.size()));
  const std::size_t end =
      std::min<std::size_t>(data.size(), lun_size + std::size_t{big_endian(data, 0, 4)});
  std::vector<LunBytes> luns;
  for (std::size_t at = lun_size; at + lun_size <= end; at += lun_size) {
    luns.push_back(LunBytes{data}.subspan(at, lun_size));
  }
  return board.listing()
      .field("target", "", target)
      .table("luns", "", lun_columns, luns, "The target has no logical unit.")
      .payload("", "", data);
}

// ---- scsi read and write --------------------------------------------------------------------

/** Half of what one command may transfer. */
constexpr std::uint32_t chunk_size = OVK_SCSI_MAX_TRANSFER / 2;
constexpr std::uint32_t most_bytes = 0x40000000;

constexpr Setting<std::uint32_t> lba_setting{"--lba", "NUMBER", "first block", "0"};
constexpr Setting<std::uint32_t> blocks_setting{
    "--blocks", "NUMBER", "blocks of 512 bytes", "1", "", {1, most_bytes / OVK_SCSI_BLOCK_SIZE}};
constexpr Word<std::string> file_word{"FILE", "what to write, whole blocks of 512 bytes",
                                      "blocks.bin"};

/** Moves all the data from or to a block on, a chunk after the other. */
void transfer_all(decltype(SendScsiRead)* transfer, const LogicalUnit& unit,
                  std::uint32_t first_block, Bytes& data, const char* operation) {
  in_pieces(operation, std::span{data}, chunk_size, [&](std::size_t done, auto chunk) {
    const std::uint32_t lba = first_block + done / OVK_SCSI_BLOCK_SIZE;
    const std::string where = fmt::format("{} block {}", operation, lba);
    const std::uint32_t length = send_scsi(unit.board, where, chunk, transfer, &unit.target,
                                           unit.word0(), unit.word1(), lba);
    if (length != chunk.size()) {
      throw OperationFailed(fmt::format("{} failed: the target transferred {} of {} bytes.", where,
                                        length, chunk.size()));
    }
  });
}

void refuse_beyond_last_lba(std::uint32_t lba, std::size_t bytes) {
  const std::uint64_t end = std::uint64_t{lba} + bytes / OVK_SCSI_BLOCK_SIZE;
  if (end > std::uint64_t{std::numeric_limits<std::uint32_t>::max()} + 1) {
    throw UsageError("The blocks go beyond the largest block number.");
  }
}

Report transfer_report(const LogicalUnit& unit, std::uint32_t lba, std::size_t bytes) {
  return unit.board.report()
      .field("target", "Target", unit.target)
      .field("lun", "LUN", unit.lun)
      .field("lba", "First block", lba)
      .field("blocks", "Blocks", static_cast<std::uint32_t>(bytes / OVK_SCSI_BLOCK_SIZE))
      .field("bytes", "Transferred", Size{bytes});
}

Report read(const Board& board, const Wwn& target, std::uint32_t lun, std::uint32_t lba,
            std::uint32_t blocks) {
  const LogicalUnit unit{board, target, lun};
  Bytes data(std::size_t{blocks} * OVK_SCSI_BLOCK_SIZE);
  refuse_beyond_last_lba(lba, data.size());
  transfer_all(SendScsiRead, unit, lba, data, "Reading");
  Report report = board.has_output_file() ? transfer_report(unit, lba, data.size())
                                          : Report{}.field("lba", "", lba);
  return report.payload("data", "", std::move(data));
}

Report write(const Board& board, const Wwn& target, std::uint32_t lun, const std::string& file,
             std::uint32_t lba) {
  Bytes data = read_file(file, most_bytes);
  if (data.empty() || data.size() % OVK_SCSI_BLOCK_SIZE != 0) {
    throw UsageError("\"{}\" has {} bytes; whole blocks of 512 bytes are needed.", file,
                     data.size());
  }
  refuse_beyond_last_lba(lba, data.size());
  board.ask("This overwrites {} blocks of LUN {} of {} from block {} on.",
            data.size() / OVK_SCSI_BLOCK_SIZE, lun, wwn_text(target), lba);
  const LogicalUnit unit{board, target, lun};
  transfer_all(SendScsiWrite, unit, lba, data, "Writing");
  return transfer_report(unit, lba, data.size()).field("file", "File", file);
}

}  // namespace

void add_scsi(Command root) {
  root.command("inquiry", "Ask a logical unit what it is (INQUIRY)")
      .takes(target_word, lun_word, page_option)
      .example("0 10:00:02:0a:54:00:00:01 0 --page 0x83")
      .saves()
      .shows(inquire);
  root.command("capacity", "Ask a logical unit for its size (READ CAPACITY)")
      .takes(target_word, lun_word)
      .saves()
      .shows(show_capacity);
  root.command("luns", "Ask a target for its logical units (REPORT LUNS)")
      .takes(target_word)
      .saves()
      .shows(list_luns);

  const Command scsi = root.noun("scsi", "Read and write the blocks of a logical unit");
  scsi.command("read", "Read blocks of a logical unit")
      .takes(target_word, lun_word, lba_setting, blocks_setting)
      .example("0 10:00:02:0a:54:00:00:01 0 --blocks 64 -o blocks.bin")
      .saves()
      .shows(read);
  scsi.command("write", "Write a file to blocks of a logical unit")
      .takes(target_word, lun_word, file_word, lba_setting)
      .asks_itself()
      .shows(write);
}

}  // namespace ovkctl
