// Loopback, reset and dumps.

#include "tests/simulator/simulator_test.h"

namespace ravnsim::test {

namespace {

using enum DriverStatus;

constexpr std::uint32_t no_value = 0xFFFFFFFF;
constexpr std::uint32_t internal = 1;
constexpr std::uint32_t external = 4;

class DiagnosticsTest : public SimulatorTest {
 protected:
  DriverStatus set_mode(std::uint32_t code, std::uint32_t value = no_value) {
    return send("RAVN_MGMT_LOOPBACK_MODE", {.code = code}, &value);
  }

  /** Sends the bytes 1 to 8 around. */
  DriverStatus run(std::uint32_t size = 8) {
    sent = {1, 2, 3, 4, 5, 6, 7, 8};
    return send("RAVN_MGMT_LOOPBACK_TEST", {.request_size = size}, &sent, &received);
  }

  DriverStatus lip() { return send("RAVN_MGMT_LIP", {}); }
  DriverStatus end() { return send("RAVN_MGMT_DIAG_MODE_END", {.option = 15}); }
  DriverStatus reset(std::uint32_t mode) { return send("RAVN_MGMT_RESET", {.selector = mode}); }

  std::array<std::uint8_t, 65536> sent{};
  std::array<std::uint8_t, 65536> received{};
};

TEST_F(DiagnosticsTest, FramesComeBackOnlyAfterAModeWasSetAndUntilItEnds) {
  use_topology(one_board_with(R"("loopback_plug": false)"));
  EXPECT_EQ(run(), no_response);
  EXPECT_EQ(end(), not_permitted);
  EXPECT_EQ(set_mode(2), not_supported);
  EXPECT_EQ(set_mode(internal, 7), success);
  EXPECT_EQ(run(), success);
  EXPECT_EQ(received, sent);
  EXPECT_EQ(run(0), does_not_fit);
  EXPECT_EQ(run(65537), does_not_fit);

  EXPECT_EQ(set_mode(external), success);
  EXPECT_EQ(run(), no_response) << "there is no plug";
  EXPECT_EQ(lip(), not_permitted);
  EXPECT_EQ(end(), success);
  EXPECT_EQ(lip(), success);
  EXPECT_EQ(run(), no_response);
}

TEST_F(DiagnosticsTest, OlderBoardsEndLoopbackWithTheLinkAndKnowNoValue) {
  use_topology(with(sli3_board(), R"("device")", R"("loopback_plug": true, "device")"));
  EXPECT_EQ(set_mode(external, 7), not_permitted);
  EXPECT_EQ(set_mode(external), success);
  EXPECT_EQ(run(), success);
  EXPECT_EQ(end(), not_supported);
  EXPECT_EQ(lip(), success);
  EXPECT_EQ(run(), no_response);
}

TEST_F(DiagnosticsTest, AFaultThatCorruptsBeyondAFrameCorruptsTheFrame) {
  use_topology(one_board);
  use_faults(R"([{"command": "RAVN_MGMT_LOOPBACK_TEST", "effect": "corrupt", "value": 10}])");
  EXPECT_EQ(set_mode(internal), success);
  EXPECT_EQ(run(), success);
  sent[10 % 8] ^= 0xFF;
  EXPECT_EQ(received, sent);
}

TEST_F(DiagnosticsTest, AResetBoardIsOutOfLoopbackAndNotReadyForAsLongAsItTakes) {
  use_topology(one_board_with(R"("reset_milliseconds": 3600000)"));
  EXPECT_EQ(reset(4), not_supported);
  EXPECT_EQ(reset(1), success);
  EXPECT_EQ(reset(1), not_ready);
  EXPECT_EQ(set_mode(internal), not_ready);
  EXPECT_EQ(run(), not_ready);
  EXPECT_EQ(send("RAVN_MGMT_SETDIAG", {.selector = 17}), not_ready);

  use_topology(one_board_with(R"("reset_milliseconds": 0)"));
  EXPECT_EQ(set_mode(internal), success);
  EXPECT_EQ(reset(1), success);
  EXPECT_EQ(run(), no_response);
}

TEST_F(DiagnosticsTest, TheRevisionIsTheDriversAndTellsOfTheThirdResetMode) {
  for (const bool has : {true, false}) {
    use_topology(
        with(one_board, R"("version": "1.2.3")",
             std::string{R"("version": "1.2.3", "reset_mode_3": )"} + (has ? "true" : "false")));
    CommandBlock block{.driver_board = 0};
    std::array<std::uint32_t, 3> revision{};
    EXPECT_EQ(Channel{}.send("RAVN_MGMT_GET_OVK_REV", block, &revision), success)
        << "of a host without board 0";
    EXPECT_EQ(revision, (std::array{4U, 0U, has ? 1U : 0U}));
    EXPECT_EQ(reset(3), has ? success : not_supported);
  }
}

TEST_F(DiagnosticsTest, AnInducedDumpIsDescribedOnceTheBoardIsReadyAgain) {
  std::array<std::uint32_t, 4> region{};  // its address, its size, the dumps
  const auto describe = [&](std::uint32_t selector = 0) {
    const auto status =
        send("RAVN_MGMT_GET_DUMPREGION", {.request_size = 16, .selector = selector}, &region);
    EXPECT_EQ(answer.reply_size, status == success ? 16U : 0U);
    return status;
  };
  use_topology(one_board_with(R"("reset_milliseconds": 0, "dump_region_size": 4096)"));
  EXPECT_EQ(send("RAVN_MGMT_INDUCE_DUMP", {}), success);
  EXPECT_EQ(describe(), success);
  EXPECT_EQ(region[2], 4096U);
  EXPECT_EQ(region[3], 1U);
  EXPECT_EQ(describe(1), not_found);

  use_topology(one_board_with(R"("reset_milliseconds": 3600000, "dump_region_size": 4096)"));
  EXPECT_EQ(send("RAVN_MGMT_INDUCE_DUMP", {}), success);
  EXPECT_EQ(send("RAVN_MGMT_INDUCE_DUMP", {}), not_ready);
  EXPECT_EQ(describe(), transport_failed);
  use_topology(one_board_with(R"("dump_region_size": 0)"));
  EXPECT_EQ(describe(), no_dump_region);
}

}  // namespace

}  // namespace ravnsim::test
