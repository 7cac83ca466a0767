#include "ovkctl/frame/command.h"

#include <ovk/hbaapi.h>

#include <array>
#include <chrono>
#include <ctime>
#include <fmt/chrono.h>
#include <thread>

namespace ovkctl {
namespace {

struct Events {
  std::vector<EventInfo> events;
  std::uint64_t missed = 0;
};

constexpr auto event_words = words<std::uint32_t>({{OVK_EVENT_LIP, "LIP"},
                                                   {OVK_EVENT_LINK_UP, "link up"},
                                                   {OVK_EVENT_LINK_DOWN, "link down"},
                                                   {OVK_EVENT_LIP_RESET, "LIP reset"},
                                                   {OVK_EVENT_RSCN, "RSCN"},
                                                   {OVK_EVENT_PROPRIETARY, "proprietary"}});

std::string event_text(const EventInfo& event) {
  return word_or_hex(event_words, event.EventCode, 4, "event ");
}

/** The address of the board's port, in the events that carry it. */
Cell port_cell(const EventInfo& event) {
  const bool carries_port = event.EventCode >= OVK_EVENT_LIP && event.EventCode <= OVK_EVENT_RSCN;
  return carries_port ? Cell(FcAddress{event.EventData[0]}) : Cell();
}

List data_words(const EventInfo& event) { return hex_list(event.EventData, 8); }

/** Takes what fits into one buffer. */
std::uint32_t take_some(const Board& board, Events& taken) {
  std::array<EventInfo, OVK_MAX_EVENTS> events{};
  std::uint32_t count = OVK_MAX_EVENTS;
  board.check(GetEventBuffer(board, events.data(), &count), "Reading the events");
  check_room(count, events.size(), "events");
  taken.events.insert(taken.events.end(), events.begin(), events.begin() + count);
  taken.missed += EventMissedCount;
  return count;
}

/** Takes all that wait now; a driver that has ever more gets no end of turns. */
Events take_events(const Board& board) {
  static constexpr int most_turns = 1024;
  Events taken;
  for (int i = 0; i < most_turns && take_some(board, taken) == OVK_MAX_EVENTS; ++i) {
  }
  return taken;
}

void add_missed(Report& report, const Events& taken) {
  report.field("missed", "", taken.missed);
  if (taken.missed != 0) {
    report.note(
        fmt::format("The driver lost {} events, because its queue was full.", taken.missed));
  }
}

constexpr Column<EventInfo> event_columns[] = {
    {"code", "", field<&EventInfo::EventCode>},
    {"event", "EVENT", field<event_text>},
    {"port_fc_id", "PORT FC ID", field<port_cell>},
    {"data", "DATA", field<data_words>},
};

Report waiting_events(const Board& board) {
  const Events taken = take_events(board);
  Report report =
      board.listing().table("events", "", event_columns, taken.events, "No events wait.");
  add_missed(report, taken);
  return report;
}

std::string time_text() {
  return fmt::format("{:%Y-%m-%dT%H:%M:%S%z}", fmt::localtime(std::time(nullptr)));
}

/** One event on one line. */
Report event_line(const Board& board, const EventInfo& event) {
  const std::string time = time_text();
  return Report{}
      .field("time", "", time)
      .field("board", "", std::uint32_t{board})
      .field("code", "", event.EventCode)
      .field("event", "", event_text(event))
      .field("port_fc_id", "", port_cell(event))
      .field("data", "", data_words(event))
      .note(fmt::format("{}  {}  {}", time, event_text(event), Cell{data_words(event)}.text()));
}

Report missed_line(const Board& board, const Events& taken) {
  Report report = Report{}.field("time", "", time_text()).field("board", "", std::uint32_t{board});
  add_missed(report, taken);
  return report;
}

constexpr Flag follow_flag{"-f,--follow", "go on with new events until interrupted"};
constexpr Setting<std::uint32_t> interval_setting{
    "--interval", "SECONDS", "how often --follow asks the driver", "1", "", {1, 3600}};
constexpr Option<std::uint32_t> count_option{
    "--count", "NUMBER", "end --follow after so many events", "", {1}};

/** Shows events as they come, until `most` were shown; without it for ever. */
Report follow(const Board& board, std::uint32_t interval, std::optional<std::uint32_t> most) {
  for (std::uint32_t shown = 0; true;) {
    const Events taken = take_events(board);
    for (const EventInfo& event : taken.events) {
      board.show_next(event_line(board, event));
      if (++shown == most) {
        return {};
      }
    }
    if (taken.missed != 0) {
      board.show_next(missed_line(board, taken));
    }
    std::this_thread::sleep_for(std::chrono::seconds{interval});
  }
}

Report show(const Board& board, bool follows, std::uint32_t interval,
            std::optional<std::uint32_t> most) {
  if (most && !follows) {
    throw UsageError("--count goes with --follow.");
  }
  return follows ? follow(board, interval, most) : waiting_events(board);
}

}  // namespace

void add_events(Command root) {
  root.command("events",
               "Take the waiting events of a board out of the driver's queue and show them")
      .takes(follow_flag, interval_setting, count_option)
      .example("0 --follow")
      .shows(show);
}

}  // namespace ovkctl
