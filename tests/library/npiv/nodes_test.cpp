#include "tests/support/library_test.h"

#include <ovk/npiv.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>

namespace ovk::test {
namespace {

constexpr Wwn port{{0x10, 0x00, 0x02, 0, 0x54, 0x01, 0x02, 0x03}};
constexpr std::uint8_t untouched = 0xEE;
constexpr std::uint8_t from_driver = 0x44;
constexpr std::size_t record_size = 308;
constexpr std::size_t copied_size = 304;
constexpr std::uint32_t list_does_not_fit = 0x0BAD00B4;
constexpr std::uint32_t not_supported = 0x0BAD0020;

class NodesTest : public LibraryTest {};

TEST_F(NodesTest, TheCountIsTheDriversAndRecordsAreCopiedOnSuccessButForTheirLastWord) {
  struct {
    std::uint32_t capacity;
    std::optional<std::uint32_t> answered;
    std::uint32_t status;
    int delivery;
    std::uint32_t result;
    std::size_t written;
  } const cases[] = {
      {8, 0, 0, 0, OVK_OK, 0},
      {8, 3, 0, 0, OVK_OK, 3},
      {2, 4, 0, 0, OVK_OK, 2},
      {600, 0xFFFFFFFF, 0, 0, OVK_OK, 512},
      {4, 5, list_does_not_fit, 0, OVK_MORE_DATA, 0},
      {4, 4, list_does_not_fit, 0, OVK_FAILED, 0},
      {4, 5, not_supported, 0, OVK_NOT_SUPPORTED, 0},
      {4, 5, 0x0BAD0001, 0, OVK_FAILED, 0},
      {9, std::nullopt, 0, 1, OVK_FAILED, 0},  // the driver is told the capacity twice
  };
  const auto nodes = std::make_unique<NodeInformationList>();
  for (const auto& [capacity, answered, status, delivery, result, written] : cases) {
    const std::uint32_t count = answered.value_or(capacity);
    SCOPED_TRACE(testing::Message() << capacity << " " << count << std::hex << " " << status);
    *nodes = record_of<NodeInformationList>(untouched);
    nodes->count = capacity;
    const ByteVector reply(sizeof *nodes, from_driver);
    channel.expect("RAVN_MGMT_VPORT_GET_NODE_INFO", board0)
        .word(2, capacity)
        .sends(1, with_at(ByteVector(28), 8, port))
        .replies(2, answered ? with_at(reply, 0, count) : ByteVector{})
        .ends_with(status, delivery);
    const AllocationWatch memory;
    EXPECT_EQ(OVK_GetAllNodeInfoByWWN(0, &port, nodes.get()), result);
    EXPECT_EQ(memory.outstanding(), 0);
    ByteVector expected = with_at(ByteVector(sizeof *nodes, untouched), 0, count);
    for (std::size_t i = 0; i < written; ++i) {
      std::memset(&expected[4 + i * record_size], from_driver, copied_size);
    }
    EXPECT_THAT(bytes_of(*nodes), SameBytes(expected));
  }
}

}  // namespace
}  // namespace ovk::test
