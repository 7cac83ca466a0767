// events, once and followed, on a host to which something happens.

#include "tests/end_to_end/ovkctl.h"

namespace ovk::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

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
  EXPECT_THAT(run("events 0").out, HasSubstr("The driver lost 4 events"))
      << "44 more on an empty queue";
}

TEST_F(EventsTest, PortsThatComeAndGoMoveTheListAndAreHeardOf) {
  set_board(R"({"discovered_ports": [
      {"node_wwn": "1000020100000002", "port_wwn": "1000020000000002", "fc_id": 2},
      {"node_wwn": "1000020100000003", "port_wwn": "1000020000000003", "fc_id": 3}], "timeline": [
      {"after_commands": 2, "happens": "port_leaves", "port_wwn": "1000020000000002"},
      {"after_commands": 2, "happens": "port_arrives",
       "port": {"node_wwn": "1000020100000009", "port_wwn": "1000020000000009", "fc_id": 9}},
      {"after_commands": 2, "happens": "port_leaves", "port_wwn": "1000020000000009"},
      {"after_commands": 2, "happens": "port_arrives",
       "port": {"node_wwn": "1000020100000009", "port_wwn": "1000020000000009", "fc_id": 10}}]})"_json);
  const json ports = json_of("ports 0");
  EXPECT_EQ(ports.at("restarts"), 1);
  EXPECT_THAT(column(ports.at("discovered_ports"), "fc_id"), ElementsAre("0x000003", "0x00000a"));
  std::vector<json> about;
  const json events = json_of("events 0").at("events");
  for (const json& event : events) {
    about.push_back(event.at("data")[1]);
  }
  EXPECT_THAT(about,
              ElementsAre("0x00000000", "0x00000002", "0x00000009", "0x00000009", "0x0000000a"));
}

TEST_F(EventsTest, ALinkThatGoesDownTakesEverythingWithIt) {
  set_board(R"({"trunk": {"ports": [0, 1]}, "npiv": {}, "port": {"speed": 16}, "discovered_ports": [
      {"node_wwn": "1000020100000002", "port_wwn": "1000020000000002", "fc_id": 2}],
      "timeline": [{"after_commands": 0, "happens": "link_down"},
                   {"after_commands": 0, "happens": "rscn", "fc_id": 5}]})"_json);
  EXPECT_THAT(json_of("link 0"), Holds(R"({"state": "down", "speed_gbit": null, "nodes": [],
      "logical_speed_gbit": null, "link_failures": 1, "losses_of_sync": 1, "losses_of_signal": 1,
      "lips": 0})"_json));
  const json ports = json_of("ports 0");
  EXPECT_THAT(ports.at("own_port"), Holds({{"state", "link down"}, {"speed_gbit", nullptr}}));
  EXPECT_THAT(ports.at("discovered_ports"), testing::IsEmpty());
  EXPECT_THAT(run("trunk 0").out, testing::Not(HasSubstr("  up")));
  EXPECT_EQ(json_of("vports ready 0").at("ready"), false);
  EXPECT_THAT(json_of("nodes 0").at("nodes"), testing::IsEmpty());
  EXPECT_THAT(column(json_of("events 0").at("events"), "event"),
              ElementsAre("link up", "link down", "link down", "link down", "link down",
                          "link down", "link down"));
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
  EXPECT_THAT(events, ElementsAre("link up", "link down", "link up"));
}

}  // namespace
}  // namespace ovk::test
