// Loopback, reset and dumps.

#include "tests/simulator/simulator_test.h"

namespace ravnsim::test {

namespace {

using enum DriverStatus;

constexpr std::uint32_t internal = 1;
constexpr std::uint32_t external = 4;
const Bytes frame{1, 2, 3, 4, 5, 6, 7, 8};

class DiagnosticsTest : public SimulatorTest {
 protected:
  DriverStatus set_mode(std::uint32_t code, std::uint32_t value = 0xFFFFFFFF) {
    return status_of("LOOPBACK_MODE", {.code = code}, {words({value})});
  }
  Answer run(std::uint32_t size = 8) {
    return ask("LOOPBACK_TEST", {.request_size = size}, {frame});
  }
  DriverStatus status_of_run() { return run().block.status; }
  DriverStatus end() { return status_of("DIAG_MODE_END", {.option = 15}); }
  DriverStatus reset(std::uint32_t mode) { return status_of("RESET", {.selector = mode}); }
};

TEST_F(DiagnosticsTest, FramesComeBackOnlyAfterAModeWasSetAndUntilItEnds) {
  use_topology(one_board_with(R"("loopback_plug": false)"));
  use_faults(
      R"([{"command": "RAVN_MGMT_LOOPBACK_TEST", "skip": 1, "effect": "corrupt", "value": 10}])");
  EXPECT_EQ(status_of_run(), no_response);
  EXPECT_EQ(end(), not_permitted);
  EXPECT_EQ(set_mode(2), not_supported);
  EXPECT_EQ(set_mode(internal, 7), success);
  EXPECT_EQ(run().part(0, 9, 2), hex("0102fc040506070800")) << "a fault beyond a frame hits it too";
  EXPECT_EQ(run().part(0, 9, 2), hex("010203040506070800"));
  EXPECT_EQ(run(0).block.status, does_not_fit);
  EXPECT_EQ(run(65537).block.status, does_not_fit);
  EXPECT_EQ(set_mode(external), success);
  EXPECT_EQ(status_of_run(), no_response) << "there is no plug";
  EXPECT_EQ(status_of("LIP"), not_permitted);
  EXPECT_EQ(end(), success);
  EXPECT_EQ(status_of("LIP"), success);

  use_faults("[]");
  use_topology(with(sli3_board(), R"("device")", R"("loopback_plug": true, "device")"));
  EXPECT_EQ(set_mode(external, 7), not_permitted) << "an older board knows no value";
  EXPECT_EQ(set_mode(external), success);
  EXPECT_EQ(end(), not_supported);
  EXPECT_EQ(status_of("LIP"), success);
  EXPECT_EQ(status_of_run(), no_response) << "the link ended it";
}

TEST_F(DiagnosticsTest, AResetBoardIsOutOfLoopbackAndNotReadyForAsLongAsItTakes) {
  use_topology(one_board_with(R"("reset_milliseconds": 3600000, "dump_region_size": 4096)"));
  EXPECT_EQ(reset(4), not_supported);
  EXPECT_EQ(reset(1), success);
  for (const DriverStatus refused :
       {reset(1), set_mode(internal), status_of_run(), status_of("SETDIAG", {.selector = 17}),
        status_of("INDUCE_DUMP")}) {
    EXPECT_EQ(refused, not_ready);
  }
  EXPECT_EQ(status_of("GET_DUMPREGION", {.request_size = 16}), transport_failed);
  use_topology(one_board_with(R"("reset_milliseconds": 0)"));
  EXPECT_EQ(set_mode(internal), success);
  EXPECT_EQ(reset(1), success);
  EXPECT_EQ(status_of_run(), no_response);
}

TEST_F(DiagnosticsTest, TheRevisionIsTheDriversAndTellsOfTheThirdResetMode) {
  for (const bool has : {true, false}) {
    use_topology(
        with(one_board, R"("version": "1.2.3")",
             std::string{R"("version": "1.2.3", "reset_mode_3": )"} + (has ? "true" : "false")));
    EXPECT_EQ(ask("GET_OVK_REV").payload(), words({4, 0, has}));
    EXPECT_EQ(reset(3), has ? success : not_supported);
  }
}

TEST_F(DiagnosticsTest, AnInducedDumpIsDescribedOnceTheBoardIsReadyAgain) {
  use_topology(one_board_with(R"("reset_milliseconds": 0, "dump_region_size": 4096)"));
  EXPECT_EQ(status_of("INDUCE_DUMP"), success);
  const Answer region = ask("GET_DUMPREGION", {.request_size = 16});
  EXPECT_EQ(region.block.reply_size, 16U);
  EXPECT_EQ(region.part(8, 8), words({4096, 1})) << "its size, and the dumps";
  EXPECT_EQ(status_of("GET_DUMPREGION", {.request_size = 16, .selector = 1}), not_found);
  use_topology(one_board_with(R"("dump_region_size": 0)"));
  const Answer none = ask("GET_DUMPREGION", {.request_size = 16, .reply_size = 9});
  EXPECT_EQ(none.block.status, no_dump_region);
  EXPECT_EQ(none.block.reply_size, 0U);
}

}  // namespace

}  // namespace ravnsim::test
