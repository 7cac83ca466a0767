#include "simulator/board/event_queue.h"
#include "simulator/board/link.h"
#include "simulator/board/port_counters.h"
#include "simulator/board/port_list.h"
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

struct Answer {
  std::vector<Happened> events;
  std::uint32_t missed;
  bool operator==(const Answer&) const = default;
};

/** Asks the driver for events with so much room. */
Answer events_of(TestHost& host, std::uint32_t room = 32) {
  std::array<EventRecord, 32> records{};
  const CommandBlock block = host.send("RAVN_MGMT_HBA_GETEVENT", {.request_size = room}, records);
  EXPECT_EQ(block.status, success);
  EXPECT_LE(block.reply_size, records.size());
  Answer answer{.events = {}, .missed = block.value};
  for (std::uint32_t i = 0; i < block.reply_size; ++i) {
    EXPECT_EQ(records[i].data[0], own_fc_id);
    answer.events.emplace_back(records[i].code, records[i].data[1]);
  }
  return answer;
}

const Happened came_up{EventCode::link_up, 0};
const Happened went_down{EventCode::link_down, 0};

TEST(EventsTest, AreGivenOldestFirstWithinTheRoomStartingWithTheLink) {
  TestHost host;
  auto& queue = host.state<EventQueue>();
  for (std::uint32_t i = 1; i <= 40; ++i) {
    queue.push(EventCode::rscn, i);
  }
  EXPECT_EQ(events_of(host, 0), (Answer{{}, 0}));
  EXPECT_EQ(events_of(host, 2), (Answer{{came_up, {EventCode::rscn, 1}}, 0}));
  EXPECT_EQ(events_of(host, 100).events.size(), 32U) << "as many as the record holds";
  EXPECT_EQ(events_of(host).events.size(), 7U);
  EXPECT_EQ(events_of(host), (Answer{{}, 0}));
}

TEST(EventsTest, ATestEventIsOneOfTheEventsThatThereAre) {
  TestHost host;
  EXPECT_EQ(host.send("RAVN_MGMT_EVENT_TEST", {.value = 0xB0B, .selector = 5}).status, success);
  EXPECT_EQ(host.send("RAVN_MGMT_EVENT_TEST", {.value = 0xB0B, .selector = 6}).status, not_found);
  EXPECT_EQ(events_of(host), (Answer{{came_up, {EventCode::rscn, 0xB0B}}, 0}));
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
    EXPECT_EQ(events_of(host), (Answer{{came_up, went_down}, 1}));
  }
  TestHost host{topology, StateStore{folder}};
  EXPECT_EQ(events_of(host), (Answer{{}, 0})) << "the link came up once";
}

TEST(TimelineTest, PortsComeAndGoBeforeTheCommandThatIsDueAndSnapshotsGetStale) {
  TestHost host{one_board_with(R"("timeline": [
    {"after_commands": 2, "happens": "port_leaves", "port_wwn": "10:00:02:00:00:00:00:02"},
    {"after_commands": 4, "happens": "port_arrives",
     "port": {"node_wwn": "1000020100000009", "port_wwn": "1000020000000009", "fc_id": 9}},
    {"after_commands": 6, "happens": "port_leaves", "port_wwn": "1000020000000009"}
  ])")};
  const std::uint32_t tag = refresh(host);
  EXPECT_EQ(discovered(host, tag, 0).second, 2U);
  EXPECT_EQ(discovered(host, tag, 0), stale) << "the third command";
  EXPECT_EQ(discovered(host, refresh(host), 0), stale) << "one arrived in between";
  EXPECT_EQ(discovered(host, refresh(host), 1), stale) << "and left again";
  const std::vector<Happened> heard{
      came_up, {EventCode::rscn, 2}, {EventCode::rscn, 9}, {EventCode::rscn, 9}};
  EXPECT_EQ(events_of(host).events, heard);
  EXPECT_EQ(discovered(host, refresh(host), 0).second, 3U);
}

TEST(TimelineTest, TimeCountsFromTheFirstCommandAndNothingHappensTwice) {
  TestHost host{one_board_with(R"("timeline": [
    {"after_seconds": 20, "happens": "rscn", "fc_id": "0x33", "times": 2},
    {"after_seconds": 10, "happens": "lip"}
  ])")};
  auto& timeline = host.state<Timeline>();
  const auto now = Timeline::Clock::now();
  std::vector<std::size_t> heard;
  for (const auto later : {9s, 11s, 19s, 21s, 100s}) {
    timeline.advance(now + later);
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
  const std::uint32_t tag = refresh(host);
  EXPECT_EQ(discovered(host, tag, 0), stale);
  EXPECT_EQ(discovered(host, refresh(host), 0).first, not_found) << "no port is there";

  constexpr std::size_t state_at = 24;
  constexpr std::uint8_t link_down = 6;
  std::array<std::uint8_t, 490> own{};
  host.send("RAVN_MGMT_HBA_PORTATTRIBUTES", {}, own);
  EXPECT_EQ(own[state_at], link_down);
  EXPECT_EQ(own[486], 0) << "discovered ports";

  host.state<Link>().come_up();
  EXPECT_EQ(discovered(host, refresh(host), 0).second, 3U) << "but for the one that left";
  host.send("RAVN_MGMT_HBA_PORTATTRIBUTES", {}, own);
  EXPECT_NE(own[state_at], link_down);
  EXPECT_EQ(events_of(host).events, (std::vector<Happened>{came_up, went_down, came_up}))
      << "nobody hears of a change without a link";
}

TEST(LinkTest, ALipAndAResetAreHeardOf) {
  TestHost host;
  const std::uint32_t tag = refresh(host);
  EXPECT_EQ(host.send("RAVN_MGMT_LIP", {}).status, success);
  EXPECT_EQ(discovered(host, tag, 0).second, 2U) << "a LIP keeps the ports";
  EXPECT_EQ(host.send("RAVN_MGMT_RESET", {.selector = 1}).status, success);
  EXPECT_EQ(discovered(host, tag, 0), stale) << "a reset discovers them anew";
  EXPECT_EQ(events_of(host).events,
            (std::vector<Happened>{came_up, {EventCode::lip, 0}, went_down, came_up}));
  EXPECT_EQ(host.state<PortCounters>().read()[index_of(Counter::lip)], 1U);
}

}  // namespace

}  // namespace ravnsim::test
