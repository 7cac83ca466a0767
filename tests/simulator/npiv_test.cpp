#include "simulator/board/board_state.h"
#include "simulator/board/link.h"
#include "tests/simulator/test_host.h"

namespace ravnsim::test {

namespace {

using enum DriverStatus;

const Bytes own_port = hex("1000020000000001");
const Bytes second_vport = hex("1000022800000002");

Bytes naming(const Bytes& port) { return Bytes(8) + port; }

class NpivTest : public testing::Test {
 protected:
  std::uint32_t readiness() { return host.ask("NPIV_READY").block.value; }
  Answer nodes(const Bytes& port, std::uint32_t room = 64) {
    return host.ask("VPORT_GET_NODE_INFO", {.request_size = room}, {naming(port)});
  }

  TestHost host{one_board_with(R"("npiv": {"port_limit": 8, "login_limit": 100, "virtual_ports": [
    {"node_wwn": "1000022900000001", "port_wwn": "1000022800000001", "fc_id": "0x010204"},
    {"node_wwn": "1000022900000002", "port_wwn": "1000022800000002", "fc_id": "0x010205",
     "symbolic_name": "second"}
  ]})")};
};

TEST_F(NpivTest, ABoardIsReadyWhenItsLinkAndItsStateLetIt) {
  EXPECT_EQ(TestHost{}.ask("NPIV_READY").block.value, 0U);
  EXPECT_EQ(readiness(), 1U);
  host.state<BoardState>().set_mode(BoardMode::mode_3);
  EXPECT_EQ(readiness(), 0U);
  host.state<BoardState>().set_mode(BoardMode::normal);
  host.state<Link>().go_down();
  EXPECT_EQ(readiness(), 0U);
  EXPECT_EQ(nodes(own_port).block.status, success);
  EXPECT_EQ(nodes(own_port).word(0, 2), 0U);
}

TEST_F(NpivTest, VirtualPortsAreCountedListedWithinTheRoomAndDescribed) {
  EXPECT_EQ(host.ask("VPORT_GET_RESRC").payload(), words({8, 2, 100, 3 * 2})) << "logins of each";
  const Answer small = host.ask("VPORT_GET_LIST", {.request_size = 1});
  EXPECT_EQ(small.block.status, list_does_not_fit);
  EXPECT_EQ(small.part(0, 8), words({2, 0})) << "only how many there are";
  const Answer list = host.ask("VPORT_GET_LIST", {.request_size = 2});
  EXPECT_EQ(list.part(4, 20), hex("10000228000000011000022900000001") + words({0x010204}));
  EXPECT_EQ(list.word(40), 0x010205U);

  const auto describe = [](TestHost& asked, const Bytes& port) {
    return asked.ask("VPORT_GET_ATTRIB", {}, {naming(port)});
  };
  EXPECT_EQ(describe(host, second_vport).part(0, 8, 2), second_vport);
  EXPECT_EQ(describe(host, second_vport).part(64, 2, 2), (Bytes{'s', 'e'}));
  EXPECT_EQ(describe(host, own_port).block.status, not_found);
  EXPECT_EQ(describe(host, own_port).block.reply_size, 0U)
      << "an unknown name is the only failure without a reason";
  TestHost without;
  EXPECT_NE(describe(without, second_vport).block.reply_size, 0U);
}

TEST_F(NpivTest, EachPortOfTheBoardIsLoggedInWithTheDiscoveredPorts) {
  for (const Bytes& local : {own_port, second_vport}) {
    const Answer list = nodes(local);
    EXPECT_EQ(list.word(0, 2), 2U);
    EXPECT_EQ(list.part(4 + 284, 8, 2), hex("1000020000000002"));
    EXPECT_EQ(list.word(4 + 308, 2), 3U) << "the FC id of the second one";
  }
  EXPECT_EQ(nodes(hex("1000020000000009")).block.status, not_found);
  EXPECT_EQ(nodes(own_port, 1).block.status, list_does_not_fit);
  EXPECT_EQ(nodes(own_port, 1).word(0, 2), 2U);
}

}  // namespace

}  // namespace ravnsim::test
