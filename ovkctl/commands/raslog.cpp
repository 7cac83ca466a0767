#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"

#include <ovk/features.h>

#include <algorithm>
#include <string>
#include <vector>

namespace ovkctl {
namespace {

constexpr std::uint32_t kPiece = 65536;

constexpr ResultText kConfigResults[] = {
    {OVK_NOT_SUPPORTED, "this adapter has no firmware log",
     "See with \"ovkctl show\" which SLI mode the board has: it takes 4 or above."},
    {OVK_RAS_DISABLED, "the firmware log is switched off on the adapter",
     "Switch it on in the adapter's settings."},
    {OVK_RAS_BAD_LEVEL, "there is no such log level", "Take a lower one."},
    {OVK_RAS_ALREADY_ACTIVE, "the firmware is logging already",
     "Stop it first to change the level: a start clears the log."},
    {OVK_RAS_NO_LOG_MEMORY, "the driver has no memory for the log", "Free memory on the host."},
    {OVK_RAS_NOT_ACTIVE, "the firmware was not logging", "Start it with \"ovkctl raslog start\"."},
};

constexpr ResultText kLogResults[] = {
    kConfigResults[0],
    {OVK_RAS_LOG_DISABLED, kConfigResults[1].meaning, kConfigResults[1].advice},
    {OVK_RAS_LOG_NO_MEMORY, "the driver has no memory for the log", "Free memory on the host."},
};

FwLogConfig query(std::uint32_t board) {
  FwLogConfig config{.action = OVK_FW_LOG_QUERY};
  check_board(OVK_FwLogConfig(board, &config), board, "Asking for the firmware log",
              kConfigResults);
  return config;
}

/** What can be read of the ring in which the firmware logs. */
struct Extent {
  std::uint32_t available;
  std::uint32_t oldest;
};

Extent read_extent(std::uint32_t board, const FwLogConfig& config) {
  FwLogRequest request{};
  check_board(OVK_GetFwLog(board, &request), board, "Asking for the extent of the firmware log",
              kLogResults);
  const Extent extent{request.extent[0], request.extent[1]};
  if (extent.available > config.buffer_size || extent.oldest > extent.available) {
    throw OperationFailed("The driver gives an extent that does not fit the size of the log.",
                          "Look in the driver's log, and run the command again.");
  }
  return extent;
}

Report status_report(std::uint32_t board) {
  const FwLogConfig config = query(board);
  const Extent extent = read_extent(board, config);
  Report report;
  report.field("board", "Board", board)
      .field("logging", "Logging", config.state != 0)
      .field("level", "Level", config.level)
      .field("buffer_bytes", "Memory", Size{config.buffer_size})
      .field("available_bytes", "In the log", Size{extent.available})
      .field("wrapped", "Oldest entries were overwritten", extent.oldest != 0);
  return report;
}

void read_piece(std::uint32_t board, std::uint32_t offset, std::span<std::uint8_t> piece) {
  FwLogRequest request{
      .offset = offset, .size = static_cast<std::uint32_t>(piece.size()), .buffer = piece.data()};
  check_board(OVK_GetFwLog(board, &request), board, "Reading the firmware log", kLogResults);
}

/** Reads the whole log, the oldest bytes first: they are the next to be overwritten. */
std::vector<std::uint8_t> read_log(std::uint32_t board, const Extent& extent) {
  std::vector<std::uint8_t> log(extent.available);
  Progress progress("Reading the firmware log", log.size());
  std::uint32_t offset = extent.oldest;
  for (std::size_t done = 0; done < log.size();) {
    const std::size_t to_the_end = extent.available - offset;
    const std::size_t size = std::min<std::size_t>({kPiece, log.size() - done, to_the_end});
    read_piece(board, offset, std::span(log).subspan(done, size));
    done += size;
    offset = size == to_the_end ? 0 : offset + static_cast<std::uint32_t>(size);
    progress.update(done);
  }
  return log;
}

Report save(std::uint32_t board, const std::string& path) {
  const FwLogConfig config = query(board);
  const std::vector<std::uint8_t> log = read_log(board, read_extent(board, config));
  write_file(path, log);
  Report report;
  report.field("board", "Board", board)
      .field("file", "File", path)
      .field("bytes", "Saved", Size{log.size()})
      .field("logging", "Logging", config.state != 0);
  if (config.state != 0) {
    report.note("The firmware went on logging; what it added meanwhile may be missing.");
  }
  return report;
}

void add_status(const Command& raslog) {
  add_board_report(raslog, "status", "Show whether the firmware logs", "ovkctl raslog status 0",
                   status_report);
}

void add_start(const Command& raslog) {
  const Command start = raslog.subcommand("start", "Clear the log and start logging");
  start.example("ovkctl raslog start 0 --level 3");
  const auto board = start.board();
  const auto level = start.option<std::uint32_t>("--level", "NUMBER", "how much is logged", 2,
                                                 between(0, UINT8_MAX));
  start.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    FwLogConfig config{.action = OVK_FW_LOG_START, .level = static_cast<std::uint8_t>(*level)};
    check_board(OVK_FwLogConfig(index, &config), index, "Starting the firmware log",
                kConfigResults);
    context.print(status_report(index));
  });
}

void add_stop(const Command& raslog) {
  const Command stop = raslog.subcommand("stop", "Stop logging; the log can still be saved");
  stop.example("ovkctl raslog stop 0");
  const auto board = stop.board();
  stop.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    FwLogConfig config{.action = OVK_FW_LOG_STOP};
    check_board(OVK_FwLogConfig(index, &config), index, "Stopping the firmware log",
                kConfigResults);
    context.print(status_report(index));
  });
}

void add_save(const Command& raslog) {
  const Command save_log = raslog.subcommand("save", "Write the log to a file, oldest entry first");
  save_log.example("ovkctl raslog save 0 board0.log");
  const auto board = save_log.board();
  const auto file = save_log.argument<std::string>("FILE", "the file to write");
  save_log.action([=](const Context& context) {
    const Session session;
    context.print(save(session.board(*board), *file));
  });
}

}  // namespace

void add_raslog(Command root) {
  const Command raslog = root.subcommand("raslog", "Control and save the firmware's RAS log");
  add_status(raslog);
  add_start(raslog);
  add_stop(raslog);
  add_save(raslog);
}

}  // namespace ovkctl
