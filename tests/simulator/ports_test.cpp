#include "simulator/board/port_list.h"
#include "tests/simulator/test_host.h"

namespace ravnsim::test {

namespace {

using enum DriverStatus;

TEST(PortsTest, IndicesCountTheDiscoveredPortsAndByIndexTheOwnPortBeforeThem) {
  TestHost host;
  const std::uint32_t tag = refresh(host);
  const auto by_index = [&](std::uint32_t index) {
    return ask_for_port(host, "RAVN_MGMT_HBA_INDEXPORTATTRIBUTES", tag, index);
  };
  EXPECT_EQ(discovered(host, tag, 0), PortAnswer(success, 2));
  EXPECT_EQ(discovered(host, tag, 1), PortAnswer(success, 3));
  EXPECT_EQ(discovered(host, tag, 2).first, not_found);
  EXPECT_EQ(by_index(0), PortAnswer(success, 0x010203));
  EXPECT_EQ(by_index(2), PortAnswer(success, 3));
  EXPECT_EQ(by_index(3).first, does_not_fit);
  EXPECT_EQ(by_index(0xFFFFFFFF).first, does_not_fit);
}

TEST(PortsTest, ATagThatIsNotTheListsIsStaleWhateverTheIndex) {
  TestHost host;
  EXPECT_EQ(discovered(host, 0, 0), stale) << "never refreshed";
  const std::uint32_t tag = refresh(host);
  EXPECT_EQ(discovered(host, tag + 1, 0), stale);
  EXPECT_EQ(discovered(host, tag + 1, 99), stale);
  EXPECT_EQ(ask_for_port(host, "RAVN_MGMT_HBA_INDEXPORTATTRIBUTES", tag - 1, 0), stale);
  EXPECT_EQ(refresh(host), tag) << "a refresh that finds nothing new moves nobody's list";
}

TEST(PortsTest, PortsThatComeAndGoMakeTheTagStaleUntilTheNextRefresh) {
  TestHost host;
  auto& ports = host.state<PortList>();
  const std::uint32_t before = refresh(host);
  const Wwn second = *parse_wwn("1000020000000003");
  PortTopology returning = *ports.find(second);
  ports.remove(second);
  EXPECT_EQ(discovered(host, before, 0), stale);

  const std::uint32_t without = refresh(host);
  EXPECT_EQ(discovered(host, without, 1).first, not_found);
  ports.remove(second);
  EXPECT_EQ(discovered(host, without, 0), PortAnswer(success, 2)) << "nothing went";

  returning.fc_id = 33;
  ports.add(returning);
  EXPECT_EQ(discovered(host, without, 0), stale);
  EXPECT_EQ(discovered(host, refresh(host), 1), PortAnswer(success, 33));
}

}  // namespace

}  // namespace ravnsim::test
