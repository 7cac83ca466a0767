#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/info.h>

#include <algorithm>

namespace ovk::test {
namespace {

constexpr std::uint32_t node_table_size = 14336;

class LinkTest : public LibraryTest {};

TEST_F(LinkTest, TheLinkRecordArrivesUnchangedAtAnyAddressUnderOneName) {
  log_at(OVK_LOG_SUCCESS);
  for (const auto read : {OVK_GetLinkInfo, GetLinkInfo}) {
    ByteVector memory(1 + sizeof(LinkInfo) + 1);
    void* odd_address = &memory[1];
    channel.expect("RAVN_MGMT_LINKINFO", board1).replies(1, counted_bytes(sizeof(LinkInfo)));
    EXPECT_EQ(read(1, static_cast<LinkInfo*>(odd_address)), OVK_OK);
    ByteVector expected(memory.size());
    std::ranges::copy(counted_bytes(sizeof(LinkInfo)), expected.begin() + 1);
    EXPECT_THAT(memory, SameBytes(expected));
  }
  EXPECT_THAT(
      log_lines(),
      testing::AllOf(testing::SizeIs(2),
                     testing::Each(LogLine{"OVK_GetLinkInfo",
                                           "cmd ok:            RAVN_MGMT_LINKINFO brd[1] id"})));
}

TEST_F(LinkTest, TheCountersArriveUnchanged) {
  const ByteVector record = counted_bytes(sizeof(IoInfo));
  channel.expect("RAVN_MGMT_IOINFO", board1).replies(1, record);
  IoInfo info{};
  EXPECT_EQ(GetIOinfo(1, &info), OVK_OK);
  EXPECT_THAT(bytes_of(info), SameBytes(record));
}

TEST_F(LinkTest, AFailureLeavesTheRecordsUntouched) {
  LinkInfo link{};
  IoInfo io{};
  channel.expect("RAVN_MGMT_LINKINFO", board0).replies(1, counted_bytes(168)).status(0x0BAD0021);
  EXPECT_EQ(OVK_GetLinkInfo(0, &link), OVK_FAILED);
  channel.expect("RAVN_MGMT_IOINFO", board0).replies(1, counted_bytes(sizeof io)).delivery_error(5);
  EXPECT_EQ(GetIOinfo(0, &io), OVK_FAILED);
  EXPECT_THAT(bytes_of(link), SameBytes(ByteVector(sizeof link)));
  EXPECT_THAT(bytes_of(io), SameBytes(ByteVector(sizeof io)));
}

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
