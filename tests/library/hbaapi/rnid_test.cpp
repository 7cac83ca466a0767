#include "tests/support/library_test.h"

#include <ovk/hbaapi.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <vector>

namespace ovk::test {
namespace {

constexpr Wwn name{{0x10, 0, 0x02, 0x0a, 0x04, 0x05, 0x06, 0x07}};
constexpr std::uint8_t untouched = 0xEE;

class RnidTest : public LibraryTest {};

TEST_F(RnidTest, TheKindOfNamePlacesItInTheRequest) {
  const ByteVector blank(28);
  const std::map<std::uint32_t, ByteVector> requests{{OVK_NODE_WWN, with_at(blank, 16, name)},
                                                     {OVK_PORT_WWN, with_at(blank, 8, name)},
                                                     {2, blank}};
  for (const auto& [wwn_type, request] : requests) {
    channel.expect("RAVN_MGMT_HBA_RNID", board0).word(2, 64).word(5, wwn_type).sends(1, request);
    ByteVector reply(64);
    std::uint32_t length = 64;
    EXPECT_EQ(SendRNID(0, &name, wwn_type, reply.data(), &length), OVK_OK) << wwn_type;
  }
}

TEST_F(RnidTest, AReplyThatFitsIsHandedOutAndOfAnotherTheLength) {
  struct {
    std::uint32_t room;
    std::uint32_t answered;
    std::uint32_t status;
    int delivery;
    std::uint32_t result;
    std::size_t written;
    int allocations;
  } const cases[] = {
      {64, 52, 0, 0, OVK_OK, 64, 0},  // the driver writes to the caller's memory
      {100, 52, 0, 0, OVK_OK, 64, 0},
      {64, 65, 0, 0, OVK_MORE_DATA, 64, 0},
      {52, 52, 0, 0, OVK_OK, 52, 1},
      {63, 52, 0, 0, OVK_OK, 52, 1},
      {0, 52, 0, 0, OVK_MORE_DATA, 0, 1},
      {51, 52, 0, 0, OVK_MORE_DATA, 0, 1},
      {63, 64, 0, 0, OVK_MORE_DATA, 0, 1},
      {63, 0xFFFFFFFF, 0, 0, OVK_MORE_DATA, 0, 1},
      {60, 52, 0x0BAD0003, 0, OVK_FAILED, 0, 1},
      {60, 52, 0, 1, OVK_FAILED, 0, 1},
      {64, 52, 0, 1, OVK_FAILED, 64, 0},
  };
  for (const auto& [room, answered, status, delivery, result, written, allocations] : cases) {
    SCOPED_TRACE(testing::Message()
                 << room << " " << answered << std::hex << " " << status << " " << delivery);
    channel.expect("RAVN_MGMT_HBA_RNID", board0)
        .word(2, 64)
        .word(5, OVK_PORT_WWN)
        .sends(1, with_at(ByteVector(28), 8, name))
        .replies(2, counted_bytes(64))
        .answers(3, answered)
        .ends_with(status, delivery);
    ByteVector reply(101, untouched);
    std::uint32_t length = room;
    const AllocationWatch memory;
    EXPECT_EQ(SendRNID(0, &name, OVK_PORT_WWN, reply.data(), &length), result);
    EXPECT_EQ(memory.allocations(), allocations);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_EQ(length, result == OVK_FAILED ? room : answered) << "what there is";
    ByteVector expected = counted_bytes(written);
    expected.resize(reply.size(), untouched);
    EXPECT_THAT(reply, SameBytes(expected));
  }
}

}  // namespace
}  // namespace ovk::test
