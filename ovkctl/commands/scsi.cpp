#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"
#include "ovkctl/subjects/scsi_access.h"

#include <ovk/fabric.h>

#include <algorithm>
#include <limits>

namespace ovkctl {
namespace {

/** Half of what one command may transfer. */
constexpr std::uint32_t kChunk = OVK_SCSI_MAX_TRANSFER / 2;
constexpr std::uint32_t kMostBytes = 0x40000000;

using Transfer = decltype(SendScsiRead);

struct Place {
  LogicalUnit unit;
  std::uint32_t lba = 0;
};

/** Moves all the data, a chunk after the other. */
void transfer_all(Transfer* transfer, const Place& place, std::span<std::uint8_t> data,
                  const std::string& operation) {
  Progress progress(operation, data.size());
  for (std::size_t done = 0; done < data.size();) {
    const auto wanted =
        static_cast<std::uint32_t>(std::min<std::size_t>(kChunk, data.size() - done));
    const auto lba = place.lba + static_cast<std::uint32_t>(done / OVK_SCSI_BLOCK_SIZE);
    std::uint32_t length = wanted;
    Sense sense;
    const LogicalUnit& unit = place.unit;
    const std::uint32_t result =
        transfer(unit.board, &unit.target, unit.word0(), unit.word1(), lba, data.data() + done,
                 &length, sense.bytes.data(), &sense.length);
    const std::string where = operation + " block " + std::to_string(lba);
    check_scsi(result, sense, unit.board, where);
    if (length != wanted) {
      throw OperationFailed(where + " failed: the target transferred " + std::to_string(length) +
                            " of " + std::to_string(wanted) + " bytes.");
    }
    done += wanted;
    progress.update(done);
  }
}

void refuse_beyond_last_lba(std::uint32_t lba, std::size_t bytes) {
  const std::uint64_t end = std::uint64_t{lba} + bytes / OVK_SCSI_BLOCK_SIZE;
  if (end > std::uint64_t{std::numeric_limits<std::uint32_t>::max()} + 1) {
    throw UsageError("the blocks go beyond the largest block number");
  }
}

Report transfer_report(const Place& place, std::size_t bytes, const std::string& file) {
  Report report;
  report.field("board", "Board", place.unit.board)
      .field("target", "Target", place.unit.target)
      .field("lun", "LUN", place.unit.lun)
      .field("lba", "First block", place.lba)
      .field("blocks", "Blocks", static_cast<std::uint32_t>(bytes / OVK_SCSI_BLOCK_SIZE))
      .field("bytes", "Transferred", Size{bytes})
      .field("file", "File", file);
  return report;
}

void add_read(Command scsi) {
  const Command read = scsi.subcommand("read", "Read blocks of a logical unit into a file");
  read.example("ovkctl scsi read 0 10:00:02:0a:54:00:00:01 0 --blocks 64 -o blocks.bin");
  const auto board = read.board();
  const auto target = read.argument<Wwn>("TARGET", "port WWN of the target");
  const auto lun =
      read.argument<std::uint32_t>("LUN", "logical unit number", between(0, kLargestLun));
  const auto lba = read.option<std::uint32_t>("--lba", "NUMBER", "first block");
  const auto blocks = read.option<std::uint32_t>("--blocks", "NUMBER", "blocks of 512 bytes", 1,
                                                 between(1, kMostBytes / OVK_SCSI_BLOCK_SIZE));
  const auto output = read.output_file();
  read.action([=](const Context& context) {
    const Session session;
    const Place place{{session.board(*board), *target, *lun}, *lba};
    ByteVector data(std::size_t{*blocks} * OVK_SCSI_BLOCK_SIZE);
    refuse_beyond_last_lba(*lba, data.size());
    transfer_all(SendScsiRead, place, data, "Reading");
    if (output.present()) {
      write_file(*output, data);
      context.print(transfer_report(place, data.size(), *output));
      return;
    }
    Report report;
    report.field("lba", "", place.lba).dump("data", "", data);
    context.print(report);
  });
}

void add_write(Command scsi) {
  const Command write = scsi.subcommand("write", "Write a file to blocks of a logical unit");
  write.example("ovkctl scsi write 0 10:00:02:0a:54:00:00:01 0 blocks.bin --lba 64 --yes");
  const auto board = write.board();
  const auto target = write.argument<Wwn>("TARGET", "port WWN of the target");
  const auto lun =
      write.argument<std::uint32_t>("LUN", "logical unit number", between(0, kLargestLun));
  const auto file = write.argument<std::string>("FILE", "what to write, whole blocks of 512 bytes");
  const auto lba = write.option<std::uint32_t>("--lba", "NUMBER", "first block");
  const auto yes = write.yes();
  write.action([=](const Context& context) {
    ByteVector data = read_file(*file, kMostBytes);
    if (data.empty() || data.size() % OVK_SCSI_BLOCK_SIZE != 0) {
      throw UsageError(*file + " has " + std::to_string(data.size()) +
                       " bytes; whole blocks of 512 bytes are needed");
    }
    refuse_beyond_last_lba(*lba, data.size());
    const Session session;
    const Place place{{session.board(*board), *target, *lun}, *lba};
    confirm(*yes, "This overwrites " + std::to_string(data.size() / OVK_SCSI_BLOCK_SIZE) +
                      " blocks of LUN " + std::to_string(*lun) + " of " + wwn_text(*target) +
                      " from block " + std::to_string(*lba) + " on.");
    transfer_all(SendScsiWrite, place, data, "Writing");
    context.print(transfer_report(place, data.size(), *file));
  });
}

}  // namespace

void add_scsi(Command root) {
  const Command scsi = root.subcommand("scsi", "Read and write the blocks of a logical unit");
  add_read(scsi);
  add_write(scsi);
}

}  // namespace ovkctl
