// stats and stats reset, whose baseline outlives a run.

#include "tests/end_to_end/ovkctl.h"

namespace ovk::test {
namespace {

/** A host whose board counts from here on, and goes on counting from run to run. */
class StatsTest : public OvkctlTest {
 protected:
  StatsTest() { environment = {{"XDG_STATE_HOME", folder / "baselines"}}; }

  void set_counters(const std::string& statistics) {
    set_board({{"statistics", json::parse(statistics)}});
  }
};

const char* const busy = R"({
  "seconds": {"start": 5000}, "tx_frames": {"start": "0x7000000000000000", "per_second": 0},
  "error_frames": {"start": 7}, "lip": "not_counted", "invalid_crc": "not_counted"})";

TEST_F(StatsTest, ReadSinceTheLastResetOfAnyRunOrSinceTheLoad) {
  set_counters(busy);
  const json before = json_of("stats 0");
  EXPECT_EQ(before.at("since"), "driver load");
  EXPECT_THAT(before.at("counters"), Holds({{"tx_frames", "8070450532247928832"},
                                            {"error_frames", "7"},
                                            {"invalid_crcs", nullptr}}));

  EXPECT_EQ(json_of("stats reset 0").at("board"), 0);
  const json after = json_of("stats 0");
  EXPECT_EQ(after.at("since"), "reset");
  EXPECT_THAT(after.at("counters"),
              Holds({{"tx_frames", "0"}, {"error_frames", "0"}, {"lip_count", nullptr}}));
  EXPECT_LT(std::stoi(after.at("counters").at("seconds").get<std::string>()), 1000);
  EXPECT_EQ(json_of("stats 0 --since-load").at("counters").at("error_frames"), "7");
}

TEST_F(StatsTest, AResetBeforeTheDriverWasLoadedAnewCountsNoMoreAndABaselineThatIsNoneIsNamed) {
  set_counters(busy);
  json_of("stats reset 0");
  set_counters(R"({"error_frames": {"start": 2}})");
  const json shown = json_of("stats 0");
  EXPECT_EQ(shown.at("since"), "driver load");
  EXPECT_EQ(shown.at("counters").at("error_frames"), "2");
  EXPECT_THAT(run("stats 0").out, testing::HasSubstr("loaded anew"));
  const std::string file = "baselines/ovkctl/statistics-10:00:02:00:00:00:00:01";
  write(file, "12\n13\n");
  EXPECT_THAT(run("stats 0"), Exits(1, file + " does not hold the counters of a port."));
}

TEST_F(StatsTest, WatchingShowsRatesOneDocumentALine) {
  set_counters(R"({"rx_frames": {"per_second": 1000}, "lip": "not_counted"})");
  const Outcome watched = run("stats 0 --watch 1 --count 2 --json");
  EXPECT_THAT(watched, Exits(0));
  const auto lines = lines_of(watched.out);
  ASSERT_EQ(lines.size(), 2U);
  for (const std::string& line : lines) {
    const json counters = json::parse(line).at("counters");
    EXPECT_EQ(counters.at(3).at("counter"), "rx_frames");
    EXPECT_NEAR(counters.at(3).at("per_second").get<double>(), 1000, 100);
    EXPECT_TRUE(counters.at(5).at("per_second").is_null()) << "LIPs are not counted";
  }
}

}  // namespace
}  // namespace ovk::test
