#include "ovkctl/frame/command.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/subjects/board_text.h"

#include <ovk/hbaapi.h>

#include <array>
#include <bit>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <sstream>
#include <thread>

namespace ovkctl {
namespace {

namespace fs = std::filesystem;

// ---- The baseline ---------------------------------------------------------------------------

// What the counters of a port read at its last reset is kept from one run of ovkctl to the next:
// the library keeps it for the life of a process only.

/** The counters of a record in their order. */
using CounterRow = std::array<std::int64_t, sizeof(PortStatistics) / sizeof(std::int64_t)>;

fs::path state_folder() {
  if (const char* const state = std::getenv("XDG_STATE_HOME"); state != nullptr && *state != '\0') {
    return fs::path(state) / "ovkctl";
  }
  if (const char* const home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    return fs::path(home) / ".local" / "state" / "ovkctl";
  }
  throw OperationFailed("There is no place to keep what the counters read.",
                        "Set XDG_STATE_HOME to a folder.");
}

std::string baseline_path(const Wwn& port_wwn) {
  return state_folder() / ("statistics-" + wwn_text(port_wwn));
}

/** The baseline of a port; nothing when it was never reset. */
std::optional<PortStatistics> load_baseline(const Wwn& port_wwn) {
  static constexpr std::size_t longest_file = 4096;
  const std::string path = baseline_path(port_wwn);
  if (!fs::exists(path)) {
    return std::nullopt;
  }
  const Bytes bytes = read_file(path, longest_file);
  std::istringstream text(std::string(bytes.begin(), bytes.end()));
  CounterRow counters{};
  for (std::int64_t& counter : counters) {
    text >> counter;
  }
  if (!text) {
    throw OperationFailed(path + " does not hold the counters of a port.",
                          "Reset the statistics of this port anew.");
  }
  return std::bit_cast<PortStatistics>(counters);
}

void save_baseline(const Wwn& port_wwn, const PortStatistics& baseline) {
  const auto counters = std::bit_cast<CounterRow>(baseline);
  const std::string text = fmt::format("{}\n", fmt::join(counters, "\n"));
  const std::string path = baseline_path(port_wwn);
  std::error_code error;
  fs::create_directories(fs::path(path).parent_path(), error);
  if (error) {
    throw OperationFailed(path + " cannot be written: " + error.message() + ".");
  }
  write_file(path, Bytes(text.begin(), text.end()));
}

// ---- Reading --------------------------------------------------------------------------------

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::int64_t not_counted = -1;

struct CounterName {
  const char* key;
  const char* label;
};

/** In the order of the record. */
constexpr std::array<CounterName, std::tuple_size_v<CounterRow>> counter_names = {{
    {"seconds", "Seconds"},
    {"tx_frames", "Frames sent"},
    {"tx_words", "Words sent"},
    {"rx_frames", "Frames received"},
    {"rx_words", "Words received"},
    {"lip_count", "LIPs"},
    {"nos_count", "NOSs"},
    {"error_frames", "Frames in error"},
    {"dumped_frames", "Frames dumped"},
    {"link_failures", "Link failures"},
    {"losses_of_sync", "Losses of sync"},
    {"losses_of_signal", "Losses of signal"},
    {"primitive_sequence_errors", "Primitive sequence errors"},
    {"invalid_tx_words", "Invalid words"},
    {"invalid_crcs", "Invalid CRCs"},
}};

struct Reading {
  CounterRow counters;
  Clock::time_point time;
};

/** Reads the counters of a board, since the last reset that ovkctl made or since the driver was
    loaded. */
class Reader {
 public:
  Reader(const Board& board, bool since_load)
      : board_{board}, port_wwn_{read_own_port(board).PortWWN} {
    if (const auto baseline = since_load ? std::nullopt : load_baseline(port_wwn_)) {
      ovk_rststatistics[board] = *baseline;
      since_reset_ = true;
    }
  }

  Reading read() {
    PortStatistics stats = read_statistics();
    if (since_reset_ && stats.SecondsSinceLastReset < 0) {
      ovk_rststatistics[board_] = {};
      since_reset_ = false;
      reloaded_ = true;
      stats = read_statistics();
    }
    return {std::bit_cast<CounterRow>(stats), Clock::now()};
  }

  [[nodiscard]] Report report() const {
    Report report = board_.report()
                        .field("port_wwn", "Port WWN", port_wwn_)
                        .field("since", "Counted since", since_reset_ ? "reset" : "driver load");
    if (reloaded_) {
      report.note("The driver was loaded anew since the last reset, which counts no more.");
    }
    return report;
  }

 private:
  PortStatistics read_statistics() const {
    PortStatistics stats{};
    board_.check(GetPortStatistics(board_, 0, &stats), "Reading the statistics");
    return stats;
  }

  Board board_;
  Wwn port_wwn_;
  bool since_reset_ = false;
  bool reloaded_ = false;
};

Cell counter_cell(std::int64_t counter) { return counter != not_counted ? Cell(counter) : Cell(); }

Report counters_report(Reader& reader) {
  const Reading reading = reader.read();
  Report report = reader.report();
  Section& section = report.section("counters", "Counters");
  for (std::size_t i = 0; i < counter_names.size(); ++i) {
    section.field(counter_names[i].key, counter_names[i].label, counter_cell(reading.counters[i]));
  }
  return report;
}

/** A counter now and before. */
struct Growth {
  CounterName name;
  std::int64_t before;
  std::int64_t now;
  Seconds time;
};

/** How much a counter grew each second; nothing when it does not count or went back. */
std::optional<double> rate(const Growth& growth) {
  if (growth.before == not_counted || growth.now == not_counted || growth.now < growth.before) {
    return std::nullopt;
  }
  return static_cast<double>(growth.now - growth.before) / growth.time.count();
}

constexpr Column<Growth> growth_columns[] = {
    {"counter", "", field<&Growth::name, &CounterName::key>},
    {"label", "COUNTER", field<&Growth::name, &CounterName::label>},
    {"value", "VALUE", field<&Growth::now, counter_cell>},
    {"per_second", "PER SECOND", field<rate>},
};

Report rates_report(const Reader& reader, const Reading& before, const Reading& now) {
  const Seconds time = now.time - before.time;
  std::vector<Growth> rows;
  for (std::size_t i = 0; i < counter_names.size(); ++i) {
    rows.push_back({counter_names[i], before.counters[i], now.counters[i], time});
  }
  return reader.report()
      .field("interval_seconds", "Interval in seconds", time.count())
      .table("counters", "", growth_columns, rows, "");
}

constexpr Option<std::uint32_t> watch_option{
    "--watch",
    "SECONDS",
    "show values and rates every so many seconds, until interrupted",
    "",
    {1, 86400}};
constexpr Option<std::uint32_t> count_option{
    "--count", "NUMBER", "end --watch after so many reports", "", {1}};
constexpr Flag since_load_flag{"--since-load",
                               "count since the driver was loaded, not since the last reset"};

/** Shows rates every so many seconds, until `most` were shown; without it for ever. */
Report watch(const Board& board, Reader& reader, std::uint32_t interval,
             std::optional<std::uint32_t> most) {
  Reading before = reader.read();
  for (std::uint32_t i = 0; !most || i < *most; ++i) {
    std::this_thread::sleep_for(std::chrono::seconds{interval});
    const Reading now = reader.read();
    board.show_next(rates_report(reader, before, now));
    before = now;
  }
  return {};
}

Report show(const Board& board, std::optional<std::uint32_t> interval,
            std::optional<std::uint32_t> most, bool since_load) {
  if (most && !interval) {
    throw UsageError("--count goes with --watch.");
  }
  Reader reader{board, since_load};
  return interval ? watch(board, reader, *interval, most) : counters_report(reader);
}

Report reset(const Board& board) {
  const Wwn port_wwn = read_own_port(board).PortWWN;
  board.check(ResetStatistics(board), "Resetting the statistics");
  save_baseline(port_wwn, ovk_rststatistics[board]);
  return board.done("The statistics of {board} count from now on.");
}

}  // namespace

void add_stats(Command root) {
  const auto stats = root.command("stats", "Show the statistics of a board's port")
                         .takes(watch_option, count_option, since_load_flag)
                         .example("0 --watch 5");
  stats.command("reset", "Have the statistics of a board's port count from now on").shows(reset);
  stats.shows(show);
}

}  // namespace ovkctl
