#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/hbaapi.h>

#include <algorithm>
#include <cstdint>

namespace ovk::test {
namespace {

constexpr std::size_t event_size = 20;
constexpr std::size_t driver_size = 640;
constexpr std::uint8_t from_driver = 0x33;
constexpr std::uint8_t untouched = 0xEE;

class EventsTest : public LibraryTest {
 protected:
  EventsTest() { EventMissedCount = 12; }
  ~EventsTest() override { EventMissedCount = 0; }

  std::uint32_t get() {
    void* memory = events.data();
    return GetEventBuffer(0, static_cast<EventInfo*>(memory), &count);
  }

  /** Larger than any room, to show what is written behind it. */
  ByteVector events = ByteVector(48 * event_size, untouched);
  std::uint32_t count = 0;
};

TEST_F(EventsTest, EventsAndCountsAreGivenOnSuccessWithinTheCallersRoomAndTheDriversRecord) {
  struct {
    std::uint32_t room;
    std::uint32_t given;
    std::uint32_t status;
    int delivery;
    std::uint32_t result;
    std::size_t written;
    int allocations;
  } const cases[] = {
      {31, 2, 0, 0, OVK_OK, 2 * event_size, 1},      {0, 0, 0, 0, OVK_OK, 0, 1},
      {32, 5, 0, 0, OVK_OK, driver_size, 0},  // the driver writes to the caller's memory
      {40, 5, 0, 0, OVK_OK, driver_size, 0},         {1, 33, 0, 0, OVK_OK, driver_size, 1},
      {1, 0x0CCCCCCD, 0, 0, OVK_OK, driver_size, 1}, {1, 0xFFFFFFFF, 0, 0, OVK_OK, driver_size, 1},
      {4, 2, 0x0BAD0001, 0, OVK_FAILED, 0, 1},       {4, 2, 0, 3, OVK_FAILED, 0, 1},
  };
  log_at(OVK_LOG_ERROR);
  for (const auto& [room, given, status, delivery, result, written, allocations] : cases) {
    SCOPED_TRACE(testing::Message()
                 << room << " " << given << std::hex << " " << status << " " << delivery);
    std::ranges::fill(events, untouched);
    count = room;
    EventMissedCount = 12;
    channel.expect("RAVN_MGMT_HBA_GETEVENT", board0)
        .word(2, room)
        .replies(1, ByteVector(driver_size, from_driver))
        .answers(3, given)
        .answers(4, 7)
        .ends_with(status, delivery);
    const AllocationWatch memory;
    EXPECT_EQ(get(), result);
    EXPECT_EQ(memory.allocations(), allocations);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_EQ(count, result == OVK_OK ? given : room);
    EXPECT_EQ(EventMissedCount, result == OVK_OK ? 7U : 12U);
    ByteVector expected(written, from_driver);
    expected.resize(events.size(), untouched);
    EXPECT_THAT(events, SameBytes(expected));
  }
  EXPECT_EQ(log_lines().size(), 2U) << "the failures are logged";
}

}  // namespace
}  // namespace ovk::test
