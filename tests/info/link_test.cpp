#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/info.h>

#include <algorithm>
#include <numeric>
#include <tuple>

namespace ovk::test {
namespace {

constexpr std::uint32_t node_table_size = 14336;

/** Bytes that all differ from their neighbours. */
ByteVector numbered_bytes(std::size_t size) {
  ByteVector bytes(size);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
  return bytes;
}

class LinkTest : public LibraryTest {};

TEST_F(LinkTest, TheLinkRecordArrivesUnchangedAtAnyAddressUnderOneName) {
  log_at(OVK_LOG_SUCCESS);
  for (const auto read : {OVK_GetLinkInfo, GetLinkInfo}) {
    ByteVector memory(1 + sizeof(LinkInfo) + 1);
    void* odd_address = &memory[1];
    channel.expect("RAVN_MGMT_LINKINFO", board1).replies(1, numbered_bytes(sizeof(LinkInfo)));
    EXPECT_EQ(read(1, static_cast<LinkInfo*>(odd_address)), OVK_OK);
    ByteVector expected(memory.size());
    std::ranges::copy(numbered_bytes(sizeof(LinkInfo)), expected.begin() + 1);
    EXPECT_EQ(memory, expected);
  }
  EXPECT_THAT(
      log_lines(),
      testing::AllOf(testing::SizeIs(2),
                     testing::Each(LogLine{"OVK_GetLinkInfo",
                                           "cmd ok:            RAVN_MGMT_LINKINFO brd[1] id"})));
}

TEST_F(LinkTest, TheCountersArriveUnchanged) {
  const ByteVector record = numbered_bytes(sizeof(IoInfo));
  channel.expect("RAVN_MGMT_IOINFO", board1).replies(1, record);
  IoInfo info{};
  EXPECT_EQ(GetIOinfo(1, &info), OVK_OK);
  EXPECT_EQ(bytes_of(info), record);
}

TEST_F(LinkTest, AFailureLeavesTheRecordsUntouched) {
  LinkInfo link{};
  IoInfo io{};
  channel.expect("RAVN_MGMT_LINKINFO", board0).replies(1, numbered_bytes(168)).status(0x0BAD0021);
  EXPECT_EQ(OVK_GetLinkInfo(0, &link), OVK_FAILED);
  channel.expect("RAVN_MGMT_IOINFO", board0)
      .replies(1, numbered_bytes(sizeof io))
      .delivery_error(5);
  EXPECT_EQ(GetIOinfo(0, &io), OVK_FAILED);
  EXPECT_EQ(bytes_of(link), ByteVector(sizeof link));
  EXPECT_EQ(bytes_of(io), ByteVector(sizeof io));
}

TEST_F(LinkTest, DeliversTheWholeNodesThatTheDriverReportsAndClearsTheRest) {
  using Case = std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>;
  for (const auto& [reported_bytes, status, count] :
       {Case{0, 0, 0}, Case{27, 0, 0}, Case{28, 0, 1}, Case{56, 0, 2}, Case{83, 0, 2},
        Case{14335, 0, 511}, Case{14336, 0, 512}, Case{14364, 0, 512}, Case{0xFFFFFFFF, 0, 512},
        Case{280, 0x0BAD0001, 0}}) {
    ByteVector nodes(node_table_size + 28, 0xEE);
    void* memory = nodes.data();
    ByteVector expected = numbered_bytes(count * 28);
    expected.resize(node_table_size, 0);
    expected.resize(nodes.size(), 0xEE);
    channel.expect("RAVN_MGMT_NODEINFO", board0)
        .word(2, node_table_size)
        .answers(3, reported_bytes)
        .replies(1, numbered_bytes(node_table_size))
        .status(status);
    const AllocationWatch memory_watch;
    EXPECT_EQ(GetNodeInfo(0, static_cast<NodeInfoEntry*>(memory)), count);
    EXPECT_EQ(memory_watch.allocations(), 0);
    EXPECT_EQ(nodes, expected) << reported_bytes;
  }
}

}  // namespace
}  // namespace ovk::test
