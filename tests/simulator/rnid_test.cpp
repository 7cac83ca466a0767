#include "tests/simulator/simulator_test.h"

namespace ravnsim::test {

namespace {

using enum DriverStatus;

class RnidTest : public SimulatorTest {
 protected:
  /** Asks for the port of a node name (0) or a port name (1) that ends with this digit. */
  Answer send(std::uint32_t kind, std::uint8_t digit, std::uint32_t room = 64) {
    return ask(
        "HBA_RNID", {.request_size = room, .code = kind},
        {Bytes(8) + hex("10000200000000") + Bytes{digit} + hex("10000201000000") + Bytes{digit}});
  }
};

TEST_F(RnidTest, APortAcceptsWithItsGeneralTopologyDataInWireOrder) {
  use_topology(with(one_board, R"("fc_id": 3)", R"("fc_id": 3, "rnid": {
    "unit_type": 11, "physical_port": "0x01020304", "attached_nodes": 2, "udp_port": 161,
    "ip_address": "192.0.2.17", "topology_flags": "0x8001"})"));
  const Answer reply = send(1, 3);
  EXPECT_EQ(reply.block.reply_size, 60U);
  EXPECT_EQ(reply.payload(2), hex("02000000df000034") + Bytes(16) +
                                  hex("0000000b0102030400000002000100a1") + Bytes(12) +
                                  hex("c000021100008001") + Bytes(4));
}

TEST_F(RnidTest, ThePortIsFoundByTheKindOfNameOnly) {
  use_topology(with(one_board, R"("fc_id": 3)", R"("fc_id": 3, "rnid": {"answers": false})"));
  EXPECT_EQ(send(0, 2).block.status, success);
  EXPECT_EQ(send(0, 9).block.status, not_found);
  EXPECT_EQ(send(1, 3).block.status, no_response);
  EXPECT_EQ(send(2, 2).block.status, not_supported);
  EXPECT_EQ(send(0, 2, 59).block.status, does_not_fit);
  EXPECT_EQ(ask("HBA_GETMGMTINFO").part(0, 12), hex("10000200000000010a000000"))
      << "the board's own, a host with the port's name";
}

}  // namespace

}  // namespace ravnsim::test
