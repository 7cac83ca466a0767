// stats and stats reset, whose baseline outlives a run.

#include "tests/end_to_end/ovkctl.h"

#include <string>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace ovk::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class StatsTest : public testing::Test {
 protected:
  /** A host whose board counts from here on, and goes on counting from run to run. */
  Environment host_with(const std::string& statistics) const {
    const std::string topology = R"({"driver": {"name": "ravn", "version": "14"}, "boards": [{
      "driver_number": 7, "device": "0x32005456", "sli_mode": 4, "manufacturer": "Tarvos",
      "serial_number": "1", "model": "M", "port": {"node_wwn": "20:00:00:00:00:00:00:01",
      "port_wwn": "10:00:00:00:00:00:00:01", "fc_id": 1}, "statistics": )" +
                                 statistics + "}]}";
    return {{"RAVNSIM_TOPOLOGY", folder_.file("host.json", topology)},
            {"XDG_STATE_HOME", folder_.path("baselines")}};
  }

  Folder folder_;
};

const char* const busy = R"({
  "seconds": {"start": 5000}, "tx_frames": {"start": "0x7000000000000000", "per_second": 0},
  "error_frames": {"start": 7}, "lip": "not_counted", "invalid_crc": "not_counted"})";

TEST_F(StatsTest, ReadSinceTheLastResetOfAnyRunOrSinceTheLoad) {
  const Environment host = host_with(busy);
  const json before = run_json({"stats", "0"}, host);
  EXPECT_EQ(before.at("since"), "driver load");
  EXPECT_EQ(before.at("counters").at("tx_frames"), "8070450532247928832");
  EXPECT_EQ(before.at("counters").at("error_frames"), "7");
  EXPECT_TRUE(before.at("counters").at("invalid_crcs").is_null());

  EXPECT_EQ(run_json({"stats", "reset", "0"}, host).at("board"), 0);
  const json after = run_json({"stats", "0"}, host);
  EXPECT_EQ(after.at("since"), "reset");
  EXPECT_EQ(after.at("counters").at("tx_frames"), "0");
  EXPECT_EQ(after.at("counters").at("error_frames"), "0");
  EXPECT_TRUE(after.at("counters").at("lip_count").is_null());
  EXPECT_LT(std::stoi(after.at("counters").at("seconds").get<std::string>()), 1000);

  const json load = run_json({"stats", "0", "--since-load"}, host);
  EXPECT_EQ(load.at("counters").at("error_frames"), "7");
}

TEST_F(StatsTest, AResetBeforeTheDriverWasLoadedAnewCountsNoMore) {
  run_json({"stats", "reset", "0"}, host_with(busy));
  const Environment reloaded = host_with(R"({"error_frames": {"start": 2}})");
  const json shown = run_json({"stats", "0"}, reloaded);
  EXPECT_EQ(shown.at("since"), "driver load");
  EXPECT_EQ(shown.at("counters").at("error_frames"), "2");
  EXPECT_THAT(run_ovkctl({"stats", "0"}, reloaded).out, HasSubstr("loaded anew"));
}

TEST_F(StatsTest, WatchingShowsRatesOneDocumentALine) {
  const Environment host =
      host_with(R"({"rx_frames": {"per_second": 1000}, "lip": "not_counted"})");
  const Outcome run = run_ovkctl({"stats", "0", "--watch", "1", "--count", "2", "--json"}, host);
  ASSERT_EQ(run.exit_code, 0) << run.err;
  const auto lines = lines_of(run.out);
  ASSERT_EQ(lines.size(), 2U);
  for (const std::string& line : lines) {
    const json counters = json::parse(line).at("counters");
    EXPECT_EQ(counters.at(3).at("counter"), "rx_frames");
    EXPECT_NEAR(counters.at(3).at("per_second").get<double>(), 1000, 100);
    EXPECT_TRUE(counters.at(5).at("per_second").is_null()) << "LIPs are not counted";
  }
}

TEST_F(StatsTest, ABaselineThatIsNoneIsNamed) {
  const Environment host = host_with(busy);
  run_json({"stats", "reset", "0"}, host);
  const std::string file = "baselines/ovkctl/statistics-10:00:00:00:00:00:00:01";
  const std::string path = folder_.file(file, "12\n13\n");
  const Outcome run = run_ovkctl({"stats", "0"}, host);
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_THAT(run.err, HasSubstr(path + " does not hold the counters of a port."));
}

}  // namespace
}  // namespace ovk::test
