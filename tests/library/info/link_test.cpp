#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/info.h>

#include <algorithm>

namespace ovk::test {
namespace {

constexpr std::uint32_t node_table_size = 14336;

class LinkTest : public LibraryTest {};

TEST_F(LinkTest, DeliversTheWholeNodesThatTheDriverReportsAndClearsTheRest) {
  struct {
    std::uint32_t reported_bytes;
    std::uint32_t status;
    std::uint32_t count;
  } const cases[] = {{0, 0, 0},           {27, 0, 0},      {28, 0, 1},
                     {56, 0, 2},          {83, 0, 2},      {14335, 0, 511},
                     {14336, 0, 512},     {14364, 0, 512}, {0xFFFFFFFF, 0, 512},
                     {280, 0x0BAD0001, 0}};
  for (const auto& [reported_bytes, status, count] : cases) {
    ByteVector nodes(node_table_size + 28, 0xEE);
    void* memory = nodes.data();
    ByteVector expected = counted_bytes(count * 28);
    expected.resize(node_table_size, 0);
    expected.resize(nodes.size(), 0xEE);
    channel.expect("RAVN_MGMT_NODEINFO", board0)
        .word(2, node_table_size)
        .answers(3, reported_bytes)
        .replies(1, counted_bytes(node_table_size))
        .status(status);
    const AllocationWatch memory_watch;
    EXPECT_EQ(GetNodeInfo(0, static_cast<NodeInfoEntry*>(memory)), count);
    EXPECT_EQ(memory_watch.allocations(), 0);
    EXPECT_THAT(nodes, SameBytes(expected)) << reported_bytes;
  }
}

}  // namespace
}  // namespace ovk::test
