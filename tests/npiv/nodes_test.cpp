#include "tests/support/library_test.h"

#include <ovk/npiv.h>

#include <cstdint>
#include <cstring>
#include <memory>

namespace ovk::test {
namespace {

constexpr Wwn port{{0x10, 0x00, 0x00, 0x10, 0x9B, 0x01, 0x02, 0x03}};
constexpr std::uint8_t untouched = 0xEE;
constexpr std::uint8_t from_driver = 0x44;
constexpr std::size_t record_size = 308;
constexpr std::size_t copied_size = 304;
constexpr std::uint32_t list_does_not_fit = 0x0BAD00B4;
constexpr std::uint32_t not_supported = 0x0BAD0020;

class NodesTest : public LibraryTest {
 protected:
  NodesTest() : nodes{std::make_unique<NodeInformationList>()} {
    std::memset(nodes.get(), untouched, sizeof *nodes);
  }

  /** Asks with this capacity, of which the driver is told twice. */
  Exchange& expect_question(std::uint32_t capacity) {
    nodes->count = capacity;
    ByteVector request(28);
    std::memcpy(request.data() + 8, port.bytes, sizeof port);
    return channel.expect("RAVN_MGMT_VPORT_GET_NODE_INFO", board0)
        .word(2, capacity)
        .sends(1, request);
  }

  /** The same; the driver answers a count and a list full of records. */
  Exchange& expect_nodes(std::uint32_t capacity, std::uint32_t count) {
    ByteVector reply(sizeof(NodeInformationList), from_driver);
    std::memcpy(reply.data(), &count, sizeof count);
    return expect_question(capacity).replies(2, reply);
  }

  std::uint32_t get() {
    const AllocationWatch memory;
    const std::uint32_t result = OVK_GetAllNodeInfoByWWN(0, &port, nodes.get());
    EXPECT_EQ(memory.outstanding(), 0);
    return result;
  }

  void expect_written(std::uint32_t count, std::size_t records) {
    ByteVector expected(sizeof(NodeInformationList), untouched);
    std::memcpy(expected.data(), &count, sizeof count);
    for (std::size_t i = 0; i < records; ++i) {
      std::memset(expected.data() + 4 + i * record_size, from_driver, copied_size);
    }
    EXPECT_EQ(bytes_of(*nodes), expected);
  }

  std::unique_ptr<NodeInformationList> nodes;
};

TEST_F(NodesTest, RecordsAreCopiedButForTheirLastWordWithinAllThreeBounds) {
  struct {
    std::uint32_t capacity;
    std::uint32_t count;
    std::size_t written;
  } const cases[] = {{8, 0, 0}, {8, 3, 3}, {2, 4, 2}, {600, 0xFFFFFFFF, 512}};
  for (const auto& [capacity, count, written] : cases) {
    std::memset(nodes.get(), untouched, sizeof *nodes);
    expect_nodes(capacity, count);
    EXPECT_EQ(get(), OVK_OK);
    expect_written(count, written);
  }
}

TEST_F(NodesTest, TheCountIsTheDriversOnEveryFailure) {
  struct {
    std::uint32_t status;
    std::uint32_t capacity;
    std::uint32_t count;
    std::uint32_t result;
  } const cases[] = {{list_does_not_fit, 4, 5, OVK_MORE_DATA},
                     {list_does_not_fit, 4, 4, OVK_FAILED},
                     {not_supported, 4, 5, OVK_NOT_SUPPORTED},
                     {0x0BAD0001, 4, 5, OVK_FAILED}};
  for (const auto& [status, capacity, count, result] : cases) {
    expect_nodes(capacity, count).status(status);
    EXPECT_EQ(get(), result) << std::hex << status;
    expect_written(count, 0);
  }
}

TEST_F(NodesTest, ADriverThatWritesNoCountLeavesTheCapacity) {
  expect_question(9).delivery_error(1);
  EXPECT_EQ(get(), OVK_FAILED);
  expect_written(9, 0);
}

TEST_F(NodesTest, WithoutMemoryNothingIsSentAndTheCountStays) {
  nodes->count = 9;
  const AllocationWatch memory{0};
  EXPECT_EQ(OVK_GetAllNodeInfoByWWN(0, &port, nodes.get()), OVK_NO_MEMORY);
  EXPECT_EQ(nodes->count, 9U);
}

}  // namespace
}  // namespace ovk::test
