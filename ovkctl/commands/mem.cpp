#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"
#include "ovkctl/subjects/raw_access.h"

#include <ovk/info.h>

#include <algorithm>
#include <limits>
#include <vector>

namespace ovkctl {
namespace {

constexpr ResultText kMemoryResults[] = {
    {OVK_NO_MEMORY_ACCESS, "SLI-4 adapters have no memory that can be read or written", ""},
    {OVK_RAW_ACCESS_FAILED, "the command was not delivered or the driver refused it", check_offset},
};

constexpr std::uint32_t kMostBytes = 1U << 20;

void require_range(std::uint32_t offset, std::size_t count) {
  if (count > std::numeric_limits<std::uint32_t>::max() - offset) {
    throw UsageError("The range ends beyond what 32 bits can address.");
  }
}

/** Goes through a range in pieces that one transfer moves. */
template <typename Move>
void in_transfers(const std::string& label, std::size_t count, Move move) {
  Progress progress(label, count);
  for (std::size_t done = 0; done < count; done += OVK_MAX_RAW_TRANSFER) {
    move(done, std::min<std::size_t>(count - done, OVK_MAX_RAW_TRANSFER));
    progress.update(done);
  }
}

std::vector<std::uint8_t> read_memory(std::uint32_t board, std::uint32_t offset,
                                      std::uint32_t count) {
  require_range(offset, count);
  std::vector<std::uint8_t> bytes(count);
  in_transfers("Reading memory", count, [&](std::size_t done, std::size_t size) {
    const auto place = static_cast<std::uint32_t>(offset + done);
    check_board(ReadMem(board, &bytes[done], place, static_cast<std::uint32_t>(size)), board,
                "Reading the memory", kMemoryResults);
  });
  return bytes;
}

void write_memory(std::uint32_t board, std::uint32_t offset,
                  const std::vector<std::uint8_t>& bytes) {
  require_range(offset, bytes.size());
  in_transfers("Writing memory", bytes.size(), [&](std::size_t done, std::size_t size) {
    const auto place = static_cast<std::uint32_t>(offset + done);
    check_board(WriteMem(board, &bytes[done], place, static_cast<std::uint32_t>(size)), board,
                "Writing the memory", kMemoryResults);
  });
}

void add_read_command(const Command& mem) {
  const Command read = mem.subcommand("read", "Read the memory of an adapter");
  read.example("ovkctl mem read 1 0x100 64");
  read.example("ovkctl mem read 1 0 16384 -o memory.bin");
  const auto board = read.board();
  const auto offset = read.argument<std::uint32_t>("OFFSET", "byte offset");
  const auto count =
      read.argument<std::uint32_t>("COUNT", "how many bytes", between(1, kMostBytes));
  const auto file = read.output_file();
  read.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    Report report;
    report.field("board", "Board", index)
        .field("offset", "Offset", Hex{*offset, 4})
        .field("count", "Size", Size{*count});
    deliver(report, file, read_memory(index, *offset, *count), *offset);
    context.print(report);
  });
}

void add_write_command(const Command& mem) {
  const Command write = mem.subcommand("write", "Write the memory of an adapter");
  write.example("ovkctl mem write 1 0x100 \"00 01 02 03\" --yes");
  write.example("ovkctl mem write 1 0x100 --from data.bin --yes");
  const auto board = write.board();
  const auto offset = write.argument<std::uint32_t>("OFFSET", "byte offset");
  const WriteData data(write);
  const auto yes = write.yes();
  write.action([=](const Context& context) {
    const std::vector<std::uint8_t> bytes = data.bytes(kMostBytes);
    const Session session;
    const std::uint32_t index = session.board(*board);
    confirm(*yes, "This overwrites memory that board " + std::to_string(index) + " works with.");
    write_memory(index, *offset, bytes);
    Report report;
    report.field("board", "Board", index)
        .field("offset", "Offset", Hex{*offset, 4})
        .field("written", "Written", Size{static_cast<std::uint32_t>(bytes.size())});
    context.print(report);
  });
}

}  // namespace

void add_mem(Command root) {
  const Command mem = root.subcommand("mem", "Read and write adapter memory (below SLI-4)");
  add_read_command(mem);
  add_write_command(mem);
}

}  // namespace ovkctl
