#include "driver_abi/records/ras_log.h"
#include "ovkctl/frame/command.h"

#include <ovk/features.h>

#include <algorithm>

namespace ovkctl {
namespace {

constexpr std::uint32_t piece_size = 65536;

constexpr ResultText config_results[] = {
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

constexpr ResultText log_results[] = {
    config_results[0],
    {OVK_RAS_LOG_DISABLED, config_results[1].meaning, config_results[1].advice},
    {OVK_RAS_LOG_NO_MEMORY, "the driver has no memory for the log", "Free memory on the host."},
};

FwLogConfig configure(const Board& board, FwLogConfig config, const char* operation) {
  board.check(OVK_FwLogConfig(board, &config), operation, config_results);
  return config;
}

FwLogConfig query(const Board& board) {
  return configure(board, {.action = OVK_FW_LOG_QUERY}, "Asking for the firmware log");
}

ovk::RasLogExtent read_extent(const Board& board, const FwLogConfig& config) {
  FwLogRequest request{};
  board.check(OVK_GetFwLog(board, &request), "Asking for the extent of the firmware log",
              log_results);
  const ovk::RasLogExtent extent{request.extent[0], request.extent[1]};
  if (extent.available > config.buffer_size || extent.oldest > extent.available) {
    throw OperationFailed("The driver gives an extent that does not fit the size of the log.",
                          "Look in the driver's log, and run the command again.");
  }
  return extent;
}

Report status(const Board& board) {
  const FwLogConfig config = query(board);
  const ovk::RasLogExtent extent = read_extent(board, config);
  return board.report()
      .field("logging", "Logging", config.state != 0)
      .field("level", "Level", config.level)
      .field("buffer_bytes", "Memory", Size{config.buffer_size})
      .field("available_bytes", "In the log", Size{extent.available})
      .field("wrapped", "Oldest entries were overwritten", extent.oldest != 0);
}

void read_piece(const Board& board, std::uint32_t offset, std::span<std::uint8_t> piece) {
  FwLogRequest request{.offset = offset, .size = piece.size(), .buffer = piece.data()};
  board.check(OVK_GetFwLog(board, &request), "Reading the firmware log", log_results);
}

/** Reads the whole log, the oldest bytes first: they are the next to be overwritten. */
Bytes read_log(const Board& board, const ovk::RasLogExtent& extent) {
  Bytes log(extent.available);
  in_pieces(
      "Reading the firmware log", std::span{log}, piece_size, [&](std::size_t done, auto piece) {
        const std::uint32_t offset = (extent.oldest + done) % extent.available;
        const auto to_the_end = piece.first(std::min(piece.size(), extent.available - offset));
        read_piece(board, offset, to_the_end);
        if (to_the_end.size() < piece.size()) {
          read_piece(board, 0, piece.subspan(to_the_end.size()));
        }
      });
  return log;
}

Report save(const Board& board) {
  const FwLogConfig config = query(board);
  const Bytes log = read_log(board, read_extent(board, config));
  Report report = board.report()
                      .field("bytes", "Saved", Size{log.size()})
                      .field("logging", "Logging", config.state != 0)
                      .payload("", "", log);
  if (config.state != 0) {
    report.note("The firmware went on logging; what it added meanwhile may be missing.");
  }
  return report;
}

Report start(const Board& board, std::uint8_t level) {
  configure(board, {.action = OVK_FW_LOG_START, .level = level}, "Starting the firmware log");
  return status(board);
}

Report stop(const Board& board) {
  configure(board, {.action = OVK_FW_LOG_STOP}, "Stopping the firmware log");
  return status(board);
}

constexpr Setting<std::uint8_t> level_setting{"--level", "NUMBER", "how much is logged", "2", "3"};
constexpr Word<std::string> file_word{"FILE", "the file to write", "board0.log"};

}  // namespace

void add_raslog(Command root) {
  const Command raslog = root.noun("raslog", "Control and save the firmware's RAS log");
  raslog.command("status", "Show whether the firmware logs").shows(status);
  raslog.command("start", "Clear the log and start logging")
      .takes(level_setting)
      .asks("This clears the firmware log of {board}.")
      .shows(start);
  raslog.command("stop", "Stop logging; the log can still be saved")
      .asks("This ends the firmware log of {board}.")
      .shows(stop);
  raslog.command("save", "Write the log to a file, oldest entry first")
      .saves(file_word)
      .shows(save);
}

}  // namespace ovkctl
