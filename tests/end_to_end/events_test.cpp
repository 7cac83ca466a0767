// events, once and followed, on a host to which something happens.

#include "tests/end_to_end/ovkctl.h"

#include <string>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace ovk::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

/** A host whose board has a timeline. */
std::string host_with(const std::string& timeline) {
  return R"({"driver": {"name": "ravn", "version": "14"}, "boards": [{
    "driver_number": 7, "device": "0x32005456", "sli_mode": 4, "manufacturer": "Tarvos",
    "serial_number": "1", "model": "M", "event_queue_capacity": 40, "port": {
    "node_wwn": "20:00:00:00:00:00:00:01", "port_wwn": "10:00:00:00:00:00:00:01",
    "fc_id": "0x010200"}, "timeline": )" +
         timeline + "}]}";
}

TEST(EventsTest, AreShownOnceWithTheNumberOfThoseThatWereLost) {
  const Folder folder;
  const Environment host{{"RAVNSIM_TOPOLOGY", folder.file("host.json", host_with(R"([
         {"after_commands": 1, "happens": "rscn", "fc_id": "0x0A0B0C", "times": 44}])"))},
                         {"RAVNSIM_STATE", folder.path("state")}};
  const json first = run_json({"events", "0"}, host);
  ASSERT_EQ(first.at("events").size(), 40U) << "more than the driver gives at a time";
  EXPECT_EQ(first.at("events")[0].at("event"), "link up");
  EXPECT_EQ(first.at("events")[0].at("port_fc_id"), "0x010200");
  EXPECT_EQ(first.at("events")[39].at("event"), "RSCN");
  EXPECT_EQ(first.at("events")[39].at("data")[1], "0x000a0b0c");
  EXPECT_EQ(first.at("missed"), "5");

  const Outcome second = run_ovkctl({"events", "0"}, host);
  EXPECT_THAT(second.out, HasSubstr("The driver lost 4 events")) << "44 more on an empty queue";
}

TEST(EventsTest, FollowingShowsWhatHappensMeanwhile) {
  const Folder folder;
  const Environment host{{"RAVNSIM_TOPOLOGY", folder.file("host.json", host_with(R"([
      {"after_seconds": 1, "happens": "link_down"},
      {"after_seconds": 2, "happens": "link_up"}])"))}};
  const Outcome run = run_ovkctl({"events", "0", "--follow", "--count", "3", "--json"}, host);
  ASSERT_EQ(run.exit_code, 0) << run.err;
  std::vector<std::string> events;
  for (const std::string& line : lines_of(run.out)) {
    events.push_back(json::parse(line).at("event"));
  }
  EXPECT_THAT(events, testing::ElementsAre("link up", "link down", "link up"));
}

TEST(EventsTest, ADriverThatClaimsMoreThanThereIsRoomForIsNotBelieved) {
  const Folder folder;
  const Outcome run =
      run_ovkctl({"events", "0"}, {{"RAVNSIM_FAULTS", folder.file("faults.json", R"([
      {"command": "RAVN_MGMT_HBA_GETEVENT", "effect": "count", "value": "0xFFFFFFFF"}])")}});
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_THAT(run.err, HasSubstr("4294967295 events where 32 have room"));
}

}  // namespace
}  // namespace ovk::test
