#include "simulator/board/port_list.h"
#include "simulator/topology/wwn.h"
#include "tests/simulator/test_host.h"

namespace ravnsim::test {

namespace {

using enum DriverStatus;

TEST(PortsTest, IndicesCountTheDiscoveredPortsAndByIndexTheOwnPortBeforeThem) {
  TestHost host;
  EXPECT_EQ(host.discovered(0, 0), stale) << "never refreshed";
  const std::uint32_t tag = host.refresh();
  const auto by_index = [&](std::uint32_t index, std::uint32_t tag_of_list) {
    return host.port("HBA_INDEXPORTATTRIBUTES", tag_of_list, index);
  };
  EXPECT_EQ(host.discovered(tag, 0), PortAnswer(success, 2));
  EXPECT_EQ(host.discovered(tag, 1), PortAnswer(success, 3));
  EXPECT_EQ(host.discovered(tag, 2).first, not_found);
  EXPECT_EQ(by_index(0, tag), PortAnswer(success, 0x010203));
  EXPECT_EQ(by_index(2, tag), PortAnswer(success, 3));
  EXPECT_EQ(by_index(3, tag).first, does_not_fit);
  EXPECT_EQ(by_index(0xFFFFFFFF, tag).first, does_not_fit);
  EXPECT_EQ(by_index(0, tag - 1), stale);
  EXPECT_EQ(host.discovered(tag + 1, 99), stale) << "whatever the index";
  EXPECT_EQ(host.refresh(), tag) << "a refresh that finds nothing new moves nobody's list";
}

TEST(PortsTest, PortsThatComeAndGoMakeTheTagStaleUntilTheNextRefresh) {
  TestHost host;
  auto& ports = host.state<PortList>();
  const std::uint32_t before = host.refresh();
  const Wwn second = *parse_wwn("1000020000000003");
  PortTopology returning = *ports.find(second);
  ports.remove(second);
  EXPECT_EQ(host.discovered(before, 0), stale);

  const std::uint32_t without = host.refresh();
  EXPECT_EQ(host.discovered(without, 1).first, not_found);
  ports.remove(second);
  EXPECT_EQ(host.discovered(without, 0), PortAnswer(success, 2)) << "nothing went";

  returning.fc_id = 33;
  ports.add(returning);
  EXPECT_EQ(host.discovered(without, 0), stale);
  EXPECT_EQ(host.discovered(host.refresh(), 1), PortAnswer(success, 33));
}

}  // namespace

}  // namespace ravnsim::test
