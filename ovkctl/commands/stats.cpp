#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/subjects/board_text.h"
#include "ovkctl/subjects/stats_baseline.h"

#include <ovk/hbaapi.h>

#include <array>
#include <bit>
#include <chrono>
#include <optional>
#include <thread>

namespace ovkctl {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::int64_t kNotCounted = -1;
constexpr std::uint32_t kLongestInterval = 86400;

struct CounterName {
  const char* key;
  const char* label;
};

/** In the order of the record. */
constexpr std::array<CounterName, std::tuple_size_v<CounterRow>> kCounters = {{
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
  Reader(std::uint32_t board, bool since_load)
      : board_(board), port_wwn_(read_own_port(board).PortWWN) {
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

  void reset() const {
    check_board(ResetStatistics(board_), board_, "Resetting the statistics");
    save_baseline(port_wwn_, ovk_rststatistics[board_]);
  }

  void describe(Section& section) const {
    section.field("board", "Board", board_)
        .field("port_wwn", "Port WWN", port_wwn_)
        .field("since", "Counted since", since_reset_ ? "reset" : "driver load");
    if (reloaded_) {
      section.note("The driver was loaded anew since the last reset, which counts no more.");
    }
  }

 private:
  PortStatistics read_statistics() const {
    PortStatistics stats{};
    check_board(GetPortStatistics(board_, 0, &stats), board_, "Reading the statistics");
    return stats;
  }

  std::uint32_t board_;
  Wwn port_wwn_;
  bool since_reset_ = false;
  bool reloaded_ = false;
};

Cell counter_cell(std::int64_t counter) { return counter != kNotCounted ? Cell(counter) : Cell(); }

Report stats_report(Reader& reader) {
  const Reading reading = reader.read();
  Report report;
  reader.describe(report);
  Section& section = report.section("counters", "Counters");
  for (std::size_t i = 0; i < kCounters.size(); ++i) {
    section.field(kCounters[i].key, kCounters[i].label, counter_cell(reading.counters[i]));
  }
  return report;
}

/** How much a counter grew each second; nothing when it does not count or went back. */
std::optional<double> rate(std::int64_t before, std::int64_t now, Seconds time) {
  if (before == kNotCounted || now == kNotCounted || now < before) {
    return std::nullopt;
  }
  return static_cast<double>(now - before) / time.count();
}

Report rates_report(const Reader& reader, const Reading& before, const Reading& now) {
  const Seconds time = now.time - before.time;
  Report report;
  reader.describe(report);
  report.field("interval_seconds", "Interval in seconds", time.count());
  Table& table = report.table(
      "counters", "",
      {{"counter", ""}, {"label", "COUNTER"}, {"value", "VALUE"}, {"per_second", "PER SECOND"}},
      "");
  for (std::size_t i = 0; i < kCounters.size(); ++i) {
    table.row({kCounters[i].key, kCounters[i].label, counter_cell(now.counters[i]),
               rate(before.counters[i], now.counters[i], time)});
  }
  return report;
}

void watch(const Context& context, Reader& reader, std::uint32_t interval,
           std::optional<std::uint32_t> reports) {
  Reading before = reader.read();
  for (std::uint32_t i = 0; !reports || i < *reports; ++i) {
    std::this_thread::sleep_for(std::chrono::seconds(interval));
    const Reading now = reader.read();
    context.print_next(rates_report(reader, before, now));
    before = now;
  }
}

Report reset_report(std::uint32_t board) {
  Reader reader(board, true);
  reader.reset();
  Report report;
  report.field("board", "", board)
      .note("The statistics of board " + std::to_string(board) + " count from now on.");
  return report;
}

void add_reset(Command stats) {
  add_board_report(stats, "reset", "Have the statistics of a board's port count from now on",
                   "ovkctl stats reset 0", reset_report);
}

}  // namespace

void add_stats(Command root) {
  const Command stats = root.subcommand("stats", "Show the statistics of a board's port");
  stats.example("ovkctl stats 0");
  stats.example("ovkctl stats 0 --watch 5");
  const auto board = stats.board();
  const auto interval = stats.option<std::uint32_t>(
      "--watch", "SECONDS", "show values and rates every so many seconds, until interrupted", 0,
      between(1, kLongestInterval));
  const auto count = stats.option<std::uint32_t>(
      "--count", "NUMBER", "end --watch after so many reports", 0, between(1, 0xFFFFFFFF));
  const auto since_load =
      stats.flag("--since-load", "count since the driver was loaded, not since the last reset");
  add_reset(stats);
  stats.action([=](const Context& context) {
    if (count.present() && !interval.present()) {
      throw UsageError("--count goes with --watch.");
    }
    const Session session;
    Reader reader(session.board(*board), *since_load);
    if (!interval.present()) {
      context.print(stats_report(reader));
      return;
    }
    watch(context, reader, *interval, count.present() ? std::optional(*count) : std::nullopt);
  });
}

}  // namespace ovkctl
