#include "simulator/board/event_queue.h"
#include "simulator/board/link.h"
#include "simulator/board/port_counters.h"
#include "simulator/board/timeline.h"
#include "tests/simulator/test_host.h"

#include <chrono>

namespace ravnsim::test {

namespace {

using namespace std::chrono_literals;
using enum DriverStatus;

constexpr std::uint32_t own_fc_id = 0x010203;

/** An event of the board's port: its code, and what it is about. */
using Happened = std::pair<EventCode, std::uint32_t>;
using Events = std::vector<Happened>;

/** Asks the driver for events with so much room, and for how many it missed. */
Events events_of(TestHost& host, std::uint32_t room = 32, std::uint32_t missed = 0) {
  const Answer answer = host.ask("HBA_GETEVENT", {.request_size = room});
  EXPECT_EQ(answer.block.value, missed);
  Events events;
  for (std::uint32_t i = 0; i < answer.block.reply_size; ++i) {
    const auto* record = reinterpret_cast<const EventRecord*>(answer.payload().data()) + i;
    EXPECT_EQ(record->data[0], own_fc_id);
    events.emplace_back(record->code, record->data[1]);
  }
  return events;
}

const Happened came_up{EventCode::link_up, 0};
const Happened went_down{EventCode::link_down, 0};

TEST(EventsTest, AreGivenOldestFirstWithinTheRoomStartingWithTheLink) {
  TestHost host;
  EXPECT_EQ(host.ask("EVENT_TEST", {.value = 1, .selector = 5}).block.status, success);
  EXPECT_EQ(host.ask("EVENT_TEST", {.value = 1, .selector = 6}).block.status, not_found);
  for (std::uint32_t i = 2; i <= 40; ++i) {
    host.state<EventQueue>().push(EventCode::rscn, i);
  }
  EXPECT_EQ(events_of(host, 0), Events{});
  EXPECT_EQ(events_of(host, 2), (Events{came_up, {EventCode::rscn, 1}}));
  EXPECT_EQ(events_of(host, 100).size(), 32U) << "as many as the record holds";
  EXPECT_EQ(events_of(host).size(), 7U);
  EXPECT_EQ(events_of(host), Events{});
}

class SavedEventsTest : public SimulatorTest {};

TEST_F(SavedEventsTest, WaitForTheNextProcess) {
  const std::string topology = one_board_with(R"("event_queue_capacity": 2)");
  {
    TestHost host{topology, StateStore{folder}};
    host.state<Link>().go_down();
    host.state<Link>().come_up();
  }
  {
    TestHost host{topology, StateStore{folder}};
    EXPECT_EQ(events_of(host, 32, 1), (Events{came_up, went_down}));
  }
  TestHost host{topology, StateStore{folder}};
  EXPECT_EQ(events_of(host), Events{}) << "the link came up once";
}

TEST(TimelineTest, PortsComeAndGoBeforeTheCommandThatIsDueAndSnapshotsGetStale) {
  TestHost host{one_board_with(R"("timeline": [
    {"after_commands": 2, "happens": "port_leaves", "port_wwn": "10:00:02:00:00:00:00:02"},
    {"after_commands": 4, "happens": "port_arrives",
     "port": {"node_wwn": "1000020100000009", "port_wwn": "1000020000000009", "fc_id": 9}},
    {"after_commands": 6, "happens": "port_leaves", "port_wwn": "1000020000000009"}
  ])")};
  const std::uint32_t tag = host.refresh();
  EXPECT_EQ(host.discovered(tag, 0).second, 2U);
  EXPECT_EQ(host.discovered(tag, 0), stale) << "the third command";
  EXPECT_EQ(host.discovered(host.refresh(), 0), stale) << "one arrived in between";
  EXPECT_EQ(host.discovered(host.refresh(), 1), stale) << "and left again";
  const Events heard{came_up, {EventCode::rscn, 2}, {EventCode::rscn, 9}, {EventCode::rscn, 9}};
  EXPECT_EQ(events_of(host), heard);
  EXPECT_EQ(host.discovered(host.refresh(), 0).second, 3U);
}

TEST(TimelineTest, TimeCountsFromTheFirstCommandAndNothingHappensTwice) {
  TestHost host{one_board_with(R"("timeline": [
    {"after_seconds": 20, "happens": "rscn", "fc_id": "0x33", "times": 2},
    {"after_seconds": 10, "happens": "lip"}
  ])")};
  const auto now = Timeline::Clock::now();
  std::vector<std::size_t> heard;
  for (const auto later : {9s, 11s, 19s, 21s, 100s}) {
    host.state<Timeline>().advance(now + later);
    heard.push_back(host.state<EventQueue>().take(32).size());
  }
  EXPECT_EQ(heard, (std::vector<std::size_t>{1, 1, 0, 2, 0})) << "the link, a LIP, and two RSCNs";
}

TEST(LinkTest, ALinkThatGoesDownTakesThePortsWithItAndShowsInStateAndEvents) {
  TestHost host{one_board_with(R"("timeline": [
    {"after_commands": 1, "happens": "link_down"},
    {"after_commands": 1, "happens": "rscn", "fc_id": 5},
    {"after_commands": 1, "happens": "port_leaves", "port_wwn": "1000020000000002"}
  ])")};
  const std::uint32_t tag = host.refresh();
  EXPECT_EQ(host.discovered(tag, 0), stale);
  EXPECT_EQ(host.discovered(host.refresh(), 0).first, not_found) << "no port is there";
  constexpr std::uint32_t link_down = 6;
  Answer own = host.ask("HBA_PORTATTRIBUTES");
  EXPECT_EQ(own.word(24), link_down);
  EXPECT_EQ(own.word(486), 0U) << "discovered ports";

  host.state<Link>().come_up();
  EXPECT_EQ(host.discovered(host.refresh(), 0).second, 3U) << "but for the one that left";
  own = host.ask("HBA_PORTATTRIBUTES");
  EXPECT_NE(own.word(24), link_down);
  EXPECT_EQ(events_of(host), (Events{came_up, went_down, came_up}))
      << "nobody hears of a change without a link";
}

TEST(LinkTest, ALipAndAResetAreHeardOf) {
  TestHost host;
  const std::uint32_t tag = host.refresh();
  EXPECT_EQ(host.ask("LIP").block.status, success);
  EXPECT_EQ(host.discovered(tag, 0).second, 2U) << "a LIP keeps the ports";
  EXPECT_EQ(host.ask("RESET", {.selector = 1}).block.status, success);
  EXPECT_EQ(host.discovered(tag, 0), stale) << "a reset discovers them anew";
  EXPECT_EQ(events_of(host), (Events{came_up, {EventCode::lip, 0}, went_down, came_up}));
  EXPECT_EQ(host.state<PortCounters>().read()[index_of(Counter::lip)], 1U);
}

}  // namespace

}  // namespace ravnsim::test
