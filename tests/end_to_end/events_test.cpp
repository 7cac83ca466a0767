// events, once and followed, on a host to which something happens.

#include "tests/end_to_end/ovkctl.h"

namespace ovk::test {
namespace {

using EventsTest = OvkctlTest;

TEST_F(EventsTest, AreShownOnceWithTheNumberOfThoseThatWereLost) {
  set_board(R"({"event_queue_capacity": 40, "timeline": [
      {"after_commands": 1, "happens": "rscn", "fc_id": "0x0A0B0C", "times": 44}]})"_json);
  const json first = json_of("events 0");
  ASSERT_EQ(first.at("events").size(), 40U) << "more than the driver gives at a time";
  EXPECT_THAT(first.at("events")[0], Holds({{"event", "link up"}, {"port_fc_id", "0x010200"}}));
  EXPECT_EQ(first.at("events")[39].at("event"), "RSCN");
  EXPECT_EQ(first.at("events")[39].at("data")[1], "0x000a0b0c");
  EXPECT_EQ(first.at("missed"), "5");
  EXPECT_THAT(run("events 0").out, testing::HasSubstr("The driver lost 4 events"))
      << "44 more on an empty queue";
}

TEST_F(EventsTest, FollowingShowsWhatHappensMeanwhile) {
  set_board(R"({"timeline": [{"after_seconds": 1, "happens": "link_down"},
                                         {"after_seconds": 2, "happens": "link_up"}]})"_json);
  const Outcome followed = run("events 0 --follow --count 3 --json");
  EXPECT_THAT(followed, Exits(0));
  std::vector<std::string> events;
  for (const std::string& line : lines_of(followed.out)) {
    events.push_back(json::parse(line).at("event"));
  }
  EXPECT_THAT(events, testing::ElementsAre("link up", "link down", "link up"));
}

TEST_F(EventsTest, ADriverThatClaimsMoreThanThereIsRoomForIsNotBelieved) {
  set_faults(
      R"([{"command": "RAVN_MGMT_HBA_GETEVENT", "effect": "count", "value": "0xFFFFFFFF"}])");
  EXPECT_THAT(run("events 0"), Exits(1, "4294967295 events where 32 have room"));
}

}  // namespace
}  // namespace ovk::test
