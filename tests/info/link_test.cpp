#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/info.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <numeric>
#include <vector>

namespace ovk::test {
namespace {

constexpr std::uint32_t node_table_size = 14336;

/** Bytes that all differ from their neighbours. */
ByteVector numbered_bytes(std::size_t size) {
  ByteVector bytes(size);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
  return bytes;
}

class LinkTest : public LibraryTest {
 protected:
  Exchange& expect_nodes(std::uint32_t reported_bytes) {
    return channel.expect("RAVN_MGMT_NODEINFO", board0)
        .word(2, node_table_size)
        .answers(3, reported_bytes)
        .replies(1, numbered_bytes(node_table_size));
  }

  std::vector<NodeInfoEntry> nodes{OVK_MAX_NODE_INFO_ENTRIES + 1,
                                   NodeInfoEntry{0xEEEE, 0xEEEE, {}}};

  ByteVector node_bytes() {
    ByteVector bytes(node_table_size);
    std::memcpy(bytes.data(), nodes.data(), bytes.size());
    return bytes;
  }
};

TEST_F(LinkTest, TheLinkRecordArrivesUnchangedAtAnyAddress) {
  const ByteVector record = numbered_bytes(sizeof(LinkInfo));
  for (const auto read : {OVK_GetLinkInfo, GetLinkInfo}) {
    std::array<std::uint8_t, sizeof(LinkInfo) + 2> memory{};
    void* odd_address = &memory[1];
    channel.expect("RAVN_MGMT_LINKINFO", board0).replies(1, record);
    EXPECT_EQ(read(0, static_cast<LinkInfo*>(odd_address)), OVK_OK);
    EXPECT_TRUE(std::equal(record.begin(), record.end(), memory.begin() + 1));
    EXPECT_EQ(memory.front(), 0);
    EXPECT_EQ(memory.back(), 0);
  }
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
  const auto written = [](std::size_t size) { return ByteVector(size, 0x55); };
  channel.expect("RAVN_MGMT_LINKINFO", board0).replies(1, written(sizeof link)).status(0x0BAD0021);
  EXPECT_EQ(OVK_GetLinkInfo(0, &link), OVK_FAILED);
  channel.expect("RAVN_MGMT_IOINFO", board0).replies(1, written(sizeof io)).delivery_error(5);
  EXPECT_EQ(GetIOinfo(0, &io), OVK_FAILED);
  EXPECT_EQ(bytes_of(link), ByteVector(sizeof link));
  EXPECT_EQ(bytes_of(io), ByteVector(sizeof io));
}

TEST_F(LinkTest, DeliversTheWholeNodesThatTheDriverReportsAndClearsTheRest) {
  struct Case {
    std::uint32_t reported_bytes;
    std::uint32_t count;
  };
  for (const Case& c :
       {Case{0, 0}, Case{27, 0}, Case{28, 1}, Case{56, 2}, Case{83, 2}, Case{14335, 511},
        Case{14336, 512}, Case{14364, 512}, Case{0xFFFFFFFF, 512}}) {
    expect_nodes(c.reported_bytes);
    const AllocationWatch memory;
    EXPECT_EQ(GetNodeInfo(0, nodes.data()), c.count);
    EXPECT_EQ(memory.allocations(), 0);

    ByteVector expected = numbered_bytes(node_table_size);
    std::fill(expected.begin() + c.count * 28, expected.end(), std::uint8_t{0});
    EXPECT_EQ(node_bytes(), expected) << c.reported_bytes;
    EXPECT_EQ(nodes.back().half0, 0xEEEE);
  }
}

TEST_F(LinkTest, AFailureReadsLikeAnEmptyNodeTable) {
  expect_nodes(280).status(0x0BAD0001);
  EXPECT_EQ(GetNodeInfo(0, nodes.data()), 0U);
  EXPECT_EQ(node_bytes(), ByteVector(node_table_size));
}

TEST_F(LinkTest, TheOlderNameLogsWhatItForwardsTo) {
  log_at(OVK_LOG_SUCCESS);
  channel.expect("RAVN_MGMT_LINKINFO", board1);
  LinkInfo link{};
  GetLinkInfo(1, &link);
  EXPECT_THAT(log_lines(),
              testing::ElementsAre(
                  LogLine{"OVK_GetLinkInfo", "cmd ok:            RAVN_MGMT_LINKINFO brd[1] id"}));
}

}  // namespace
}  // namespace ovk::test
