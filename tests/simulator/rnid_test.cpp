#include "simulator/wwn_request.h"
#include "tests/simulator/test_host.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace ravnsim::test {

namespace {

using Reply = std::array<std::uint8_t, 64>;
using Record = std::array<std::uint8_t, 44>;

constexpr std::uint32_t node_name = 0;
constexpr std::uint32_t port_name = 1;
constexpr Wwn known_port{{0x10, 0, 0, 0, 0, 0, 0, 3}};

CommandBlock ask(TestHost& host, std::uint32_t kind, const WwnRequest& request, Reply& reply,
                 std::uint32_t room = 64) {
  return host.send(DriverCommand::hba_rnid, {.request_size = room, .code = kind}, request, reply);
}

TEST(RnidTest, APortAcceptsWithItsGeneralTopologyDataInWireOrder) {
  TestHost host{with(one_board, R"("fc_id": 3)", R"("fc_id": 3, "rnid": {
    "unit_type": 11, "physical_port": "0x01020304", "attached_nodes": 2, "udp_port": 161,
    "ip_address": "192.0.2.17", "topology_flags": "0x8001"})")};
  Reply reply{};
  const CommandBlock block = ask(host, port_name, {.port_wwn = known_port}, reply);
  EXPECT_EQ(block.status, DriverStatus::success);
  EXPECT_EQ(block.reply_size, 60U);

  Reply expected{0x02, 0, 0, 0, 0xDF, 0, 0, 52};
  expected[27] = 11;
  expected[28] = 1;
  expected[29] = 2;
  expected[30] = 3;
  expected[31] = 4;
  expected[35] = 2;
  expected[37] = 1;  // IPv4, in the last bytes of the field
  expected[39] = 161;
  expected[52] = 192;
  expected[54] = 2;
  expected[55] = 17;
  expected[58] = 0x80;
  expected[59] = 0x01;
  EXPECT_EQ(reply, expected);
}

TEST(RnidTest, ThePortIsFoundByTheKindOfNameOnly) {
  TestHost host{with(one_board, R"("fc_id": 3)", R"("fc_id": 3, "rnid": {"answers": false})")};
  Reply reply{};
  const Wwn known_node = host.board().topology().discovered_ports[0].node_wwn;
  EXPECT_EQ(ask(host, node_name, {.node_wwn = known_node}, reply).status, DriverStatus::success);
  EXPECT_EQ(ask(host, port_name, {.node_wwn = known_node}, reply).status, DriverStatus::not_found);
  EXPECT_EQ(ask(host, port_name, {.port_wwn = known_port}, reply).status,
            DriverStatus::no_response);
  EXPECT_EQ(ask(host, 2, {.port_wwn = known_port}, reply).status, DriverStatus::not_supported);
  EXPECT_EQ(ask(host, node_name, {.node_wwn = known_node}, reply, 59).status,
            DriverStatus::does_not_fit);
}

class ManagementInfoTest : public SimulatorTest {};

TEST_F(ManagementInfoTest, IsTheTopologysUntilItIsSetAndThenKeptWithoutPower) {
  Record set;
  set.fill(0x5A);
  {
    TestHost host{one_board, StateStore{folder}};
    Record record{};
    EXPECT_EQ(host.send(DriverCommand::hba_getmgmtinfo, {}, record).status, DriverStatus::success);
    EXPECT_EQ(record[7], 0x01) << "the port's name";
    EXPECT_EQ(record[8], 0x0A) << "a host";
    host.send(DriverCommand::hba_setmgmtinfo, {}, std::as_const(set));
  }
  TestHost host{one_board, StateStore{folder}};
  Record record{};
  host.send(DriverCommand::hba_getmgmtinfo, {}, record);
  EXPECT_EQ(record, set);
}

}  // namespace

}  // namespace ravnsim::test
