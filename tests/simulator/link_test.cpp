#include "simulator/board/link.h"

#include "simulator/board/io_counters.h"
#include "tests/simulator/test_host.h"

namespace ravnsim::test {

namespace {

using enum DriverStatus;

constexpr std::uint32_t trunk_command = 0x1016;

std::uint32_t logical_speed(TestHost& host) {
  return host.ask("GET_LOGICAL_LINK_SPEED").block.value;
}

Bytes trunk_of(TestHost& host) {
  return host.ask("GET_TRUNK_INFO", {.selector = trunk_command}).payload();
}

TEST(SimulatedLinkTest, ALinkThatGoesDownTakesSpeedAddressAndNodesAlong) {
  TestHost host{with(one_board, R"("fc_id": 3})", R"("fc_id": 3, "fc4_types": ["fcp"]})")};
  EXPECT_EQ(host.ask("LINKINFO").payload(), words({2, 1, 16000, 0x010203, 1}) + Bytes(148));
  EXPECT_EQ(logical_speed(host), 160U);
  const Answer nodes = host.ask("NODEINFO", {.request_size = 14336});
  EXPECT_EQ(nodes.block.reply_size, 56U);
  EXPECT_EQ(nodes.part(0, 56), words({0x00010001, 2}) + hex("10000200000000021000020100000002") +
                                   words({0xFFFFFFFF, 0x00020002, 3}) +
                                   hex("10000200000000031000020100000003") + words({0}))
      << "the second one is an FCP target, with an id";
  EXPECT_EQ(host.ask("NODEINFO", {.request_size = 55}).block.reply_size, 28U) << "what has room";

  host.state<Link>().go_down();
  EXPECT_EQ(host.ask("LINKINFO").payload(), words({1}) + Bytes(148) + words({1, 1, 1, 0}))
      << "a failure, and losses of synchronisation and signal";
  EXPECT_EQ(logical_speed(host), 0U);
  EXPECT_EQ(host.ask("NODEINFO", {.request_size = 14336}).block.reply_size, 0U);
}

TEST(SimulatedLinkTest, ALoopGivesItsPositionMap) {
  TestHost host{
      with(with(one_board, R"("fc_id": "0x010203",)", R"("fc_id": "0x0102e8", "type": "nl_port",)"),
           R"("fc_id": 3})", R"("fc_id": "0x0102ef", "type": "nl_port"})")};
  EXPECT_EQ(host.ask("LINKINFO").part(0, 32),
            words({2, 2, 16000, 0x0102E8, 1, 0xE8, 0x00EFE802, 0}))
      << "two positions: the board's own and one port's";
}

TEST(SimulatedLinkTest, CommandsAndTheirDataAreCounted) {
  TestHost host;
  auto& counters = host.state<IoCounters>();
  counters.add(0, 4096, true);
  counters.add(0, 1024, true);
  counters.add(2048, 0, false);
  counters.add(0, 0, true);
  EXPECT_EQ(host.ask("IOINFO").part(20, 28), words({2, 1, 1, 1, 5, 2, 2}));
}

TEST(SimulatedLinkTest, ATrunkAddsTheSpeedsOfThePortsThatAreUpAndOlderBoardsHaveNone) {
  TestHost host{one_board_with(R"("trunk": {"ports": [0, 1, 3], "ports_up": [0, 3]})")};
  EXPECT_EQ(trunk_of(host), words({0xB, 0x9, 16000}));
  EXPECT_EQ(logical_speed(host), 320U);
  host.state<Link>().go_down();
  EXPECT_EQ(trunk_of(host), words({0xB, 0, 16000}));
  TestHost plain;
  EXPECT_EQ(trunk_of(plain), words({0, 0, 16000}));
  TestHost older{sli3_board()};
  EXPECT_EQ(older.ask("GET_TRUNK_INFO", {.selector = trunk_command}).block.status, not_supported);
  EXPECT_EQ(older.ask("GET_TRUNK_INFO", {.selector = 1}).block.status, not_permitted)
      << "the block has to name the command";
  EXPECT_EQ(older.ask("GET_LOGICAL_LINK_SPEED").block.status, not_supported);
}

}  // namespace

}  // namespace ravnsim::test
