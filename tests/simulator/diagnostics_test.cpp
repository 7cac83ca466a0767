// Loopback, reset and dumps.

#include "tests/simulator/simulator_test.h"

#include <array>
#include <string>

namespace ravnsim::test {

namespace {

constexpr std::uint32_t board = 3;
constexpr std::uint32_t no_value = 0xFFFFFFFF;
constexpr std::uint32_t internal = 1;
constexpr std::uint32_t external = 4;

class DiagnosticsTest : public SimulatorTest {
 protected:
  /** The one board with other members. */
  void use_board(const std::string& members, bool sli4 = true) const {
    use_topology(with(one_board, R"("sli_mode": 4)",
                      std::string{R"("sli_mode": )"} + (sli4 ? "4, " : "3, ") + members));
  }

  static DriverStatus set_mode(const Channel& channel, std::uint32_t code,
                               std::uint32_t value = no_value) {
    CommandBlock block{.driver_board = board, .code = code};
    return channel.send(DriverCommand::loopback_mode, block, &value);
  }

  /** Sends the bytes 1 to 8 around. */
  DriverStatus run(const Channel& channel, std::uint32_t size = 8) {
    for (std::size_t i = 0; i < 8; ++i) {
      sent[i] = static_cast<std::uint8_t>(i + 1);
    }
    CommandBlock block{.driver_board = board, .request_size = size};
    return channel.send(DriverCommand::loopback_test, block, &sent, &received);
  }

  static DriverStatus end(const Channel& channel) {
    CommandBlock block{.driver_board = board, .option = 15};
    return channel.send(DriverCommand::diag_mode_end, block);
  }

  static DriverStatus reset(const Channel& channel, std::uint32_t mode) {
    CommandBlock block{.driver_board = board, .selector = mode};
    return channel.send(DriverCommand::reset, block);
  }

  static std::uint32_t mode_of_board(const Channel& channel) {
    CommandBlock block{.driver_board = board, .selector = 16};
    EXPECT_EQ(channel.send(DriverCommand::setdiag, block), DriverStatus::success);
    return block.value;
  }

  std::array<std::uint8_t, 65536> sent{};
  std::array<std::uint8_t, 65536> received{};
};

TEST_F(DiagnosticsTest, FramesComeBackOnlyAfterAModeWasSetAndUntilItEnds) {
  use_board(R"("loopback_plug": false)");
  const Channel channel;
  EXPECT_EQ(run(channel), DriverStatus::no_response);
  EXPECT_EQ(end(channel), DriverStatus::not_permitted);
  EXPECT_EQ(set_mode(channel, 2), DriverStatus::not_supported);
  EXPECT_EQ(set_mode(channel, internal, 7), DriverStatus::success);
  EXPECT_EQ(run(channel), DriverStatus::success);
  EXPECT_EQ(received, sent);
  EXPECT_EQ(run(channel, 0), DriverStatus::does_not_fit);
  EXPECT_EQ(run(channel, 65537), DriverStatus::does_not_fit);

  EXPECT_EQ(set_mode(channel, external), DriverStatus::success);
  EXPECT_EQ(run(channel), DriverStatus::no_response) << "there is no plug";
  CommandBlock lip{.driver_board = board};
  EXPECT_EQ(channel.send(DriverCommand::lip, lip), DriverStatus::not_permitted);
  EXPECT_EQ(end(channel), DriverStatus::success);
  EXPECT_EQ(channel.send(DriverCommand::lip, lip), DriverStatus::success);
  EXPECT_EQ(run(channel), DriverStatus::no_response);
}

TEST_F(DiagnosticsTest, OlderBoardsEndLoopbackWithTheLinkAndKnowNoValue) {
  use_board(R"("loopback_plug": true)", false);
  const Channel channel;
  EXPECT_EQ(set_mode(channel, external, 7), DriverStatus::not_permitted);
  EXPECT_EQ(set_mode(channel, external), DriverStatus::success);
  EXPECT_EQ(run(channel), DriverStatus::success);
  EXPECT_EQ(end(channel), DriverStatus::not_supported);
  CommandBlock lip{.driver_board = board};
  EXPECT_EQ(channel.send(DriverCommand::lip, lip), DriverStatus::success);
  EXPECT_EQ(run(channel), DriverStatus::no_response);
}

TEST_F(DiagnosticsTest, FaultsCorruptOrDropAFrame) {
  use_board(R"("ready": true)");
  use_faults(R"([
    {"command": "RAVN_MGMT_LOOPBACK_TEST", "effect": "corrupt", "value": 10},
    {"command": "RAVN_MGMT_LOOPBACK_TEST", "effect": "drop"}
  ])");
  const Channel channel;
  EXPECT_EQ(set_mode(channel, internal), DriverStatus::success);
  EXPECT_EQ(run(channel), DriverStatus::success);
  sent[10 % 8] ^= 0xFF;
  EXPECT_EQ(received, sent);
  EXPECT_EQ(run(channel), DriverStatus::no_response);
}

TEST_F(DiagnosticsTest, ABoardIsNotReadyAfterAResetForAsLongAsItTakes) {
  use_state();
  use_board(R"("reset_milliseconds": 3600000)");
  {
    const Channel channel;
    EXPECT_EQ(set_mode(channel, internal), DriverStatus::success);
    EXPECT_EQ(reset(channel, 4), DriverStatus::not_supported);
    EXPECT_EQ(reset(channel, 3), DriverStatus::success);
  }
  {
    const Channel channel;
    EXPECT_EQ(mode_of_board(channel), 2U) << "the next process finds it so";
    EXPECT_EQ(reset(channel, 1), DriverStatus::not_ready);
    EXPECT_EQ(set_mode(channel, internal), DriverStatus::not_ready);
    EXPECT_EQ(run(channel), DriverStatus::not_ready);
    CommandBlock normal{.driver_board = board, .selector = 17};
    EXPECT_EQ(channel.send(DriverCommand::setdiag, normal), DriverStatus::not_ready);
  }
  std::filesystem::remove_all(folder / "state");
  use_board(R"("reset_milliseconds": 0)");
  const Channel channel;
  EXPECT_EQ(set_mode(channel, internal), DriverStatus::success);
  EXPECT_EQ(reset(channel, 1), DriverStatus::success);
  EXPECT_EQ(mode_of_board(channel), 1U);
  EXPECT_EQ(run(channel), DriverStatus::no_response) << "it is no longer in loopback";
}

TEST_F(DiagnosticsTest, TheRevisionIsTheDriversAndTellsOfTheThirdResetMode) {
  for (const bool has : {true, false}) {
    use_topology(
        with(one_board, R"("version": "1.2.3")",
             std::string{R"("version": "1.2.3", "reset_mode_3": )"} + (has ? "true" : "false")));
    const Channel channel;
    CommandBlock block{};  // board 0, which this host does not have
    std::array<std::uint32_t, 3> revision{};
    EXPECT_EQ(channel.send(DriverCommand::get_ovk_rev, block, &revision), DriverStatus::success);
    EXPECT_EQ(revision[2] != 0, has);
    EXPECT_EQ(reset(channel, 3), has ? DriverStatus::success : DriverStatus::not_supported);
  }
}

TEST_F(DiagnosticsTest, AnInducedDumpIsCountedAndResetsTheBoard) {
  struct Region {
    std::uint64_t address;
    std::uint32_t size, dumps;
  };
  const auto describe = [](const Channel& channel, Region& region, std::uint32_t selector = 0) {
    CommandBlock block{.driver_board = board, .request_size = 16, .selector = selector};
    const DriverStatus status = channel.send(DriverCommand::get_dumpregion, block, &region);
    EXPECT_EQ(block.reply_size, status == DriverStatus::success ? 16U : 0U);
    return status;
  };
  use_state();
  use_board(R"("reset_milliseconds": 0, "dump_region_size": 4096)");
  CommandBlock induce{.driver_board = board};
  EXPECT_EQ(Channel{}.send(DriverCommand::induce_dump, induce), DriverStatus::success);
  {
    const Channel channel;
    Region region{};
    EXPECT_EQ(describe(channel, region), DriverStatus::success);
    EXPECT_EQ(region.size, 4096U);
    EXPECT_EQ(region.dumps, 1U);
    EXPECT_EQ(describe(channel, region, 1), DriverStatus::not_found);
  }
  use_board(R"("reset_milliseconds": 3600000, "dump_region_size": 4096)");
  Region region{};
  {
    const Channel channel;
    EXPECT_EQ(channel.send(DriverCommand::induce_dump, induce), DriverStatus::success);
    EXPECT_EQ(channel.send(DriverCommand::induce_dump, induce), DriverStatus::not_ready);
    EXPECT_EQ(describe(channel, region), DriverStatus::transport_failed);
  }
  use_board(R"("dump_region_size": 0)");
  EXPECT_EQ(describe(Channel{}, region), DriverStatus::no_dump_region);
}

}  // namespace

}  // namespace ravnsim::test
