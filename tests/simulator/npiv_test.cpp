#include "driver_abi/wwn_request.h"
#include "simulator/board/board_state.h"
#include "simulator/board/link.h"
#include "simulator/board/port_list.h"
#include "tests/simulator/test_host.h"

#include <memory>

namespace ravnsim::test {

namespace {

using enum DriverStatus;

std::string npiv_board() {
  return one_board_with(R"("npiv": {
  "port_limit": 8, "login_limit": 100,
  "virtual_ports": [
    {"node_wwn": "1000022900000001", "port_wwn": "1000022800000001", "fc_id": "0x010204"},
    {"node_wwn": "1000022900000002", "port_wwn": "1000022800000002", "fc_id": "0x010205",
     "symbolic_name": "second"}
  ]})");
}

constexpr Wwn own_port{{0x10, 0, 2, 0, 0, 0, 0, 1}};
constexpr Wwn second_vport{{0x10, 0, 2, 0x28, 0, 0, 0, 2}};
constexpr Wwn unknown_port{{0x10, 0, 2, 0, 0, 0, 0, 9}};

std::uint32_t readiness(TestHost& host) { return host.send("RAVN_MGMT_NPIV_READY", {}).value; }

class NpivTest : public testing::Test {
 protected:
  TestHost host{npiv_board()};
  TestHost without;
};

TEST_F(NpivTest, ABoardIsReadyWhenItCanAndItsLinkAndItsStateLetIt) {
  EXPECT_EQ(readiness(without), 0U);
  TestHost not_ready{one_board_with(R"("npiv": {"ready": false})")};
  EXPECT_EQ(readiness(not_ready), 0U);
  EXPECT_EQ(readiness(host), 1U);
  host.state<BoardState>().set_mode(BoardMode::mode_3);
  EXPECT_EQ(readiness(host), 0U);
  host.state<BoardState>().set_mode(BoardMode::normal);
  host.state<Link>().go_down();
  EXPECT_EQ(readiness(host), 0U);
}

TEST_F(NpivTest, ResourcesCountThePortsAndTheLoginsOfEachWithEachNode) {
  Words<16> resources{};
  EXPECT_EQ(host.send("RAVN_MGMT_VPORT_GET_RESRC", {}, resources).status, success);
  EXPECT_EQ(resources, (Words<16>{8, 2, 100, 3 * 2}));
  EXPECT_EQ(without.send("RAVN_MGMT_VPORT_GET_RESRC", {}, resources).status, not_supported);
}

TEST_F(NpivTest, AListThatDoesNotFitTellsOnlyHowManyThereAre) {
  auto list = std::make_unique<Words<81924>>();
  EXPECT_EQ(host.send("RAVN_MGMT_VPORT_GET_LIST", {.request_size = 1}, *list).status,
            list_does_not_fit);
  EXPECT_EQ((*list)[0], 2U);
  EXPECT_EQ((*list)[1], 0U);
  EXPECT_EQ(host.send("RAVN_MGMT_VPORT_GET_LIST", {.request_size = 2}, *list).status, success);
  EXPECT_EQ((*list)[1], 0x28020010U) << "the first bytes of the name";
  EXPECT_EQ((*list)[5], 0x010204U);
  EXPECT_EQ((*list)[10], 0x010205U);
}

TEST_F(NpivTest, AttributesAreThoseOfTheNamedPortAndAnUnknownNameIsTheOnlyFailureWithoutAReason) {
  std::array<std::uint8_t, 340> attributes{};
  const auto ask = [&](TestHost& asked, const Wwn& name) {
    const ovk::WwnRequest request{.port_wwn = name};
    return asked.send("RAVN_MGMT_VPORT_GET_ATTRIB", {}, request, attributes);
  };
  EXPECT_EQ(ask(host, second_vport).status, success);
  EXPECT_EQ(attributes[7], 2);
  EXPECT_EQ(attributes[64], 's');
  EXPECT_EQ(ask(host, own_port).status, not_found);
  EXPECT_EQ(ask(host, unknown_port).reply_size, 0U);
  EXPECT_EQ(ask(without, second_vport).status, not_supported);
  EXPECT_NE(ask(without, second_vport).reply_size, 0U);
}

TEST_F(NpivTest, EachPortOfTheBoardIsLoggedInWithTheDiscoveredPorts) {
  auto list = std::make_unique<Words<157700>>();
  const auto ask = [&](const Wwn& name, std::uint32_t room) {
    const ovk::WwnRequest request{.port_wwn = name};
    return host.send("RAVN_MGMT_VPORT_GET_NODE_INFO", {.request_size = room}, request, *list)
        .status;
  };
  constexpr std::size_t record_words = 308 / 4;
  for (const Wwn& local : {own_port, second_vport}) {
    EXPECT_EQ(ask(local, 64), success);
    EXPECT_EQ((*list)[0], 2U);
    EXPECT_EQ((*list)[1 + 284 / 4 + 1], 0x02000000U) << "the end of the first node's port WWN";
    EXPECT_EQ((*list)[1 + record_words], 3U) << "the FC id of the second one";
  }
  EXPECT_EQ(ask(unknown_port, 64), not_found);
  EXPECT_EQ(ask(own_port, 1), list_does_not_fit);
  EXPECT_EQ((*list)[0], 2U);
  host.state<Link>().go_down();
  EXPECT_EQ(ask(own_port, 64), success);
  EXPECT_EQ((*list)[0], 0U);
}

}  // namespace

}  // namespace ravnsim::test
