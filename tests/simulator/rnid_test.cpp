#include "driver_abi/wwn_request.h"
#include "tests/simulator/test_host.h"

namespace ravnsim::test {

namespace {

using enum DriverStatus;
using Reply = std::array<std::uint8_t, 64>;

constexpr std::uint32_t node_name = 0;
constexpr std::uint32_t port_name = 1;
constexpr Wwn known_port{{0x10, 0, 2, 0, 0, 0, 0, 3}};

CommandBlock ask(TestHost& host, std::uint32_t kind, const ovk::WwnRequest& request, Reply& reply,
                 std::uint32_t room = 64) {
  return host.send("RAVN_MGMT_HBA_RNID", {.request_size = room, .code = kind}, request, reply);
}

TEST(RnidTest, APortAcceptsWithItsGeneralTopologyDataInWireOrder) {
  TestHost host{with(one_board, R"("fc_id": 3)", R"("fc_id": 3, "rnid": {
    "unit_type": 11, "physical_port": "0x01020304", "attached_nodes": 2, "udp_port": 161,
    "ip_address": "192.0.2.17", "topology_flags": "0x8001"})")};
  Reply reply{};
  const CommandBlock block = ask(host, port_name, {.port_wwn = known_port}, reply);
  EXPECT_EQ(block.status, success);
  EXPECT_EQ(block.reply_size, 60U);

  const Reply expected{0x02, 0, 0, 0, 0xDF, 0, 0, 52,  0, 0, 0,    0,   0, 0, 0, 0,  //
                       0,    0, 0, 0, 0,    0, 0, 0,   0, 0, 0,    11,  1, 2, 3, 4,  //
                       0,    0, 0, 2, 0,    1, 0, 161, 0, 0, 0,    0,   0, 0, 0, 0,  //
                       0,    0, 0, 0, 192,  0, 2, 17,  0, 0, 0x80, 0x01};
  EXPECT_EQ(reply, expected);
}

TEST(RnidTest, ThePortIsFoundByTheKindOfNameOnly) {
  TestHost host{with(one_board, R"("fc_id": 3)", R"("fc_id": 3, "rnid": {"answers": false})")};
  Reply reply{};
  const Wwn known_node = host.board().topology().discovered_ports[0].node_wwn;
  EXPECT_EQ(ask(host, node_name, {.node_wwn = known_node}, reply).status, success);
  EXPECT_EQ(ask(host, port_name, {.node_wwn = known_node}, reply).status, not_found);
  EXPECT_EQ(ask(host, port_name, {.port_wwn = known_port}, reply).status, no_response);
  EXPECT_EQ(ask(host, 2, {.port_wwn = known_port}, reply).status, not_supported);
  EXPECT_EQ(ask(host, node_name, {.node_wwn = known_node}, reply, 59).status, does_not_fit);
}

TEST(RnidTest, TheBoardsOwnInformationIsThatOfAHostWithThePortsName) {
  TestHost host;
  std::array<std::uint32_t, 11> record{};
  EXPECT_EQ(host.send("RAVN_MGMT_HBA_GETMGMTINFO", {}, record).status, success);
  EXPECT_EQ(record[0], 0x00020010U);
  EXPECT_EQ(record[1], 0x01000000U);
  EXPECT_EQ(record[2], 0x0AU);
}

}  // namespace

}  // namespace ravnsim::test
