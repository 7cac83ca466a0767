#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"

#include <ovk/hbaapi.h>

#include <array>
#include <chrono>
#include <ctime>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace ovkctl {
namespace {

constexpr std::uint32_t kLongestInterval = 3600;

struct Events {
  std::vector<EventInfo> events;
  std::uint64_t missed = 0;
};

std::string event_text(std::uint32_t code) {
  switch (code) {
    case OVK_EVENT_LIP:
      return "LIP";
    case OVK_EVENT_LINK_UP:
      return "link up";
    case OVK_EVENT_LINK_DOWN:
      return "link down";
    case OVK_EVENT_LIP_RESET:
      return "LIP reset";
    case OVK_EVENT_RSCN:
      return "RSCN";
    case OVK_EVENT_PROPRIETARY:
      return "proprietary";
    default:
      return "event " + hex_text(code, 4);
  }
}

/** The address of the board's port, in the events that carry it. */
Cell port_cell(const EventInfo& event) {
  const bool carries_port = event.EventCode >= OVK_EVENT_LIP && event.EventCode <= OVK_EVENT_RSCN;
  return carries_port ? Cell(FcAddress{event.EventData[0]}) : Cell();
}

List data_words(const EventInfo& event) {
  List words;
  for (const std::uint32_t word : event.EventData) {
    words.push_back(hex_text(word, 8));
  }
  return words;
}

/** Takes what fits into one buffer. */
std::uint32_t take_some(std::uint32_t board, Events& taken) {
  std::array<EventInfo, OVK_MAX_EVENTS> events{};
  std::uint32_t count = OVK_MAX_EVENTS;
  check_board(GetEventBuffer(board, events.data(), &count), board, "Reading the events");
  if (count > events.size()) {
    throw OperationFailed("The driver says that it gave " + std::to_string(count) +
                          " events where " + std::to_string(events.size()) + " have room.");
  }
  taken.events.insert(taken.events.end(), events.begin(), events.begin() + count);
  taken.missed += EventMissedCount;
  return count;
}

/** Takes all that wait now; a driver that has ever more gets no end of turns. */
Events take_events(std::uint32_t board) {
  static constexpr int most_turns = 1024;
  Events taken;
  for (int i = 0; i < most_turns && take_some(board, taken) == OVK_MAX_EVENTS; ++i) {
  }
  return taken;
}

void add_missed(Report& report, const Events& taken) {
  report.field("missed", "", taken.missed);
  if (taken.missed != 0) {
    report.note("The driver lost " + std::to_string(taken.missed) +
                " events, because its queue was full.");
  }
}

Report events_report(std::uint32_t board) {
  const Events taken = take_events(board);
  Report report;
  report.field("board", "", board);
  Table& table = report.table(
      "events", "",
      {{"code", ""}, {"event", "EVENT"}, {"port_fc_id", "PORT FC ID"}, {"data", "DATA"}},
      "No events wait.");
  for (const EventInfo& event : taken.events) {
    table.row({event.EventCode, event_text(event.EventCode), port_cell(event), data_words(event)});
  }
  add_missed(report, taken);
  return report;
}

std::string time_text() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S%z", &local);
  return text.data();
}

/** One event on one line. */
Report event_line(std::uint32_t board, const EventInfo& event) {
  const std::string time = time_text();
  const Cell port = port_cell(event);
  Report report;
  report.field("time", "", time)
      .field("board", "", board)
      .field("code", "", event.EventCode)
      .field("event", "", event_text(event.EventCode))
      .field("port_fc_id", "", port)
      .field("data", "", data_words(event))
      .note(time + "  " + event_text(event.EventCode) + "  " + Cell(data_words(event)).text());
  return report;
}

Report missed_line(std::uint32_t board, const Events& taken) {
  Report report;
  report.field("time", "", time_text()).field("board", "", board);
  add_missed(report, taken);
  return report;
}

/** Shows events as they come, until so many were shown; 0 for ever. */
void follow(const Context& context, std::uint32_t board, std::uint32_t interval,
            std::uint32_t most) {
  for (std::uint32_t shown = 0; true;) {
    const Events taken = take_events(board);
    for (const EventInfo& event : taken.events) {
      context.print_next(event_line(board, event));
      if (++shown == most) {
        return;
      }
    }
    if (taken.missed != 0) {
      context.print_next(missed_line(board, taken));
    }
    std::this_thread::sleep_for(std::chrono::seconds(interval));
  }
}

}  // namespace

void add_events(Command root) {
  const Command events = root.subcommand(
      "events", "Take the waiting events of a board out of the driver's queue and show them");
  events.example("ovkctl events 0");
  events.example("ovkctl events 0 --follow");
  const auto board = events.board();
  const auto follows = events.flag("-f,--follow", "go on with new events until interrupted");
  const auto interval =
      events.option<std::uint32_t>("--interval", "SECONDS", "how often --follow asks the driver", 1,
                                   between(1, kLongestInterval));
  const auto most = events.option<std::uint32_t>(
      "--count", "NUMBER", "end --follow after so many events", 0, between(1, 0xFFFFFFFF));
  events.action([=](const Context& context) {
    if (most.present() && !*follows) {
      throw UsageError("--count goes with --follow.");
    }
    const Session session;
    const std::uint32_t index = session.board(*board);
    if (*follows) {
      follow(context, index, *interval, *most);
    } else {
      context.print(events_report(index));
    }
  });
}

}  // namespace ovkctl
