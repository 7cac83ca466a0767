#include "simulator/board/link.h"

#include "simulator/board/io_counters.h"
#include "tests/simulator/test_host.h"

#include <algorithm>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using testing::ElementsAre;
using enum DriverStatus;

Words<168> link_of(TestHost& host) {
  Words<168> record{};
  EXPECT_EQ(host.send("RAVN_MGMT_LINKINFO", {}, record).status, success);
  return record;
}

Words<12> trunk_of(TestHost& host) {
  Words<12> record{};
  EXPECT_EQ(host.send("RAVN_MGMT_GET_TRUNK_INFO", {.selector = 0x1016}, record).status, success);
  return record;
}

std::uint32_t logical_speed(TestHost& host) {
  const CommandBlock block = host.send("RAVN_MGMT_GET_LOGICAL_LINK_SPEED", {});
  EXPECT_EQ(block.status, success);
  return block.value;
}

/** Asks for the nodes that have room in so many bytes. */
CommandBlock nodes_of(TestHost& host, Words<14336>& table, std::uint32_t room = 14336) {
  return host.send("RAVN_MGMT_NODEINFO", {.request_size = room}, table);
}

TEST(SimulatedLinkTest, ALinkThatGoesDownTakesSpeedAddressAndNodesAlong) {
  TestHost host;
  EXPECT_TRUE(same(link_of(host), {2, 1, 16000, 0x010203, 1}));
  EXPECT_EQ(logical_speed(host), 160U);

  host.state<Link>().go_down();
  Words<168> down{1};
  std::fill_n(down.begin() + 38, 3, 1U);  // a failure, and losses of synchronisation and signal
  EXPECT_TRUE(same(link_of(host), down));
  EXPECT_EQ(logical_speed(host), 0U);
  Words<14336> nodes{};
  EXPECT_EQ(nodes_of(host, nodes).reply_size, 0U);
}

TEST(SimulatedLinkTest, ALoopGivesItsPositionMap) {
  TestHost host{
      with(with(one_board, R"("fc_id": "0x010203",)", R"("fc_id": "0x0102e8", "type": "nl_port",)"),
           R"("fc_id": 3})", R"("fc_id": "0x0102ef", "type": "nl_port"})")};
  EXPECT_TRUE(same(link_of(host), {2, 2, 16000, 0x0102E8, 1, 0xE8, 0x00EFE802}))
      << "two positions: the board's own and one port's";
}

TEST(SimulatedLinkTest, NodesAreTheDiscoveredPortsAsManyAsHaveRoom) {
  TestHost host{with(one_board, R"("fc_id": 3})", R"("fc_id": 3, "fc4_types": ["fcp"]})")};
  Words<14336> nodes{};
  EXPECT_EQ(nodes_of(host, nodes).reply_size, 56U);
  EXPECT_TRUE(
      same(nodes, {0x00010001, 2, 0x00020010, 0x02000000, 0x01020010, 0x02000000, 0xFFFFFFFF,  //
                   0x00020002, 3, 0x00020010, 0x03000000, 0x01020010, 0x03000000, 0}))
      << "the second one is an FCP target, with an id";
  EXPECT_EQ(nodes_of(host, nodes, 55).reply_size, 28U);
}

TEST(SimulatedLinkTest, CommandsAndTheirDataAreCounted) {
  TestHost host;
  auto& counters = host.state<IoCounters>();
  counters.add(0, 4096, true);
  counters.add(0, 1024, true);
  counters.add(2048, 0, false);
  counters.add(0, 0, true);
  Words<96> io{};
  EXPECT_EQ(host.send("RAVN_MGMT_IOINFO", {}, io).status, success);
  EXPECT_THAT(std::vector(io.begin() + 5, io.begin() + 12), ElementsAre(2, 1, 1, 1, 5, 2, 2));
}

TEST(SimulatedLinkTest, ATrunkAddsTheSpeedsOfThePortsThatAreUp) {
  TestHost host{one_board_with(R"("trunk": {"ports": [0, 1, 3], "ports_up": [0, 3]})")};
  EXPECT_THAT(trunk_of(host), ElementsAre(0xB, 0x9, 16000));
  EXPECT_EQ(logical_speed(host), 320U);
  host.state<Link>().go_down();
  EXPECT_THAT(trunk_of(host), ElementsAre(0xB, 0, 16000));

  TestHost plain;
  EXPECT_THAT(trunk_of(plain), ElementsAre(0, 0, 16000));
}

TEST(SimulatedLinkTest, OlderBoardsHaveNeitherTrunkNorLogicalSpeed) {
  TestHost host{sli3_board()};
  Words<12> trunk{};
  EXPECT_EQ(host.send("RAVN_MGMT_GET_TRUNK_INFO", {.selector = 0x1016}, trunk).status,
            not_supported);
  EXPECT_EQ(host.send("RAVN_MGMT_GET_LOGICAL_LINK_SPEED", {}).status, not_supported);
  EXPECT_EQ(host.send("RAVN_MGMT_GET_TRUNK_INFO", {.selector = 1}, trunk).status, not_permitted)
      << "the block has to name the command";
}

}  // namespace

}  // namespace ravnsim::test
