#include "tests/support/library_test.h"

#include <ovk/npiv.h>

#include <cstdint>
#include <memory>

namespace ovk::test {
namespace {

constexpr std::uint8_t untouched = 0xEE;
constexpr std::uint32_t list_does_not_fit = 0x0BAD00B4;

class VirtualPortsTest : public LibraryTest {};

TEST_F(VirtualPortsTest, TheListIsCopiedOnSuccessByTheDriversCountWithinTheDriversList) {
  struct {
    std::uint32_t capacity;
    std::uint32_t count;
    std::uint32_t status;
    int delivery;
    std::uint32_t result;
    std::uint32_t told;
    std::size_t written;
  } const cases[] = {
      {5, 3, 0, 0, OVK_OK, 3, 3},
      {5, 7, 0, 0, OVK_OK, 7, 7},  // the driver alone keeps to the capacity
      {4096, 0xFFFFFFFF, 0, 0, OVK_OK, 0xFFFFFFFF, 4096},
      {0, 3, list_does_not_fit, 0, OVK_MORE_DATA, 3, 0},
      {1, 4, list_does_not_fit, 1, OVK_MORE_DATA, 4, 0},
      {5, 3, 0x0BAD0020, 0, OVK_FAILED, 5, 0},
      {5, 3, 0, 1, OVK_FAILED, 5, 0},
  };
  const auto list = std::make_unique<VportList>();
  for (const auto& [capacity, count, status, delivery, result, told, written] : cases) {
    SCOPED_TRACE(testing::Message()
                 << capacity << " " << count << std::hex << " " << status << " " << delivery);
    *list = record_of<VportList>(untouched);
    list->count = capacity;
    channel.expect("RAVN_MGMT_VPORT_GET_LIST", board0)
        .word(2, capacity)
        .replies(1, with_at(ByteVector(sizeof(VportList), 0x44), 0, count))
        .ends_with(status, delivery);
    const AllocationWatch memory;
    EXPECT_EQ(OVK_VPGetList(0, list.get()), result);
    EXPECT_EQ(memory.outstanding(), 0);
    ByteVector expected(4 + written * sizeof(VportEntry), 0x44);
    expected.resize(sizeof(VportList), untouched);
    EXPECT_THAT(bytes_of(*list), SameBytes(with_at(expected, 0, told)));
  }
}

}  // namespace
}  // namespace ovk::test
