#include "tests/support/library_test.h"

#include <ovk/hbaapi.h>

#include <cstdint>
#include <cstring>
#include <vector>

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

  Exchange& expect_events(std::uint32_t room, std::uint32_t given, std::uint32_t missed) {
    return channel.expect("RAVN_MGMT_HBA_GETEVENT", board0)
        .word(2, room)
        .replies(1, ByteVector(driver_size, from_driver))
        .answers(3, given)
        .answers(4, missed);
  }

  /** Asks with this room; the caller's memory is larger, to show what is written behind it. */
  std::uint32_t get(std::uint32_t room) {
    events.resize(48);
    std::memset(events.data(), untouched, events.size() * event_size);
    count = room;
    const AllocationWatch memory;
    const std::uint32_t result = GetEventBuffer(0, events.data(), &count);
    allocations = memory.allocations();
    EXPECT_EQ(memory.outstanding(), 0);
    return result;
  }

  void expect_written(std::size_t bytes) {
    ByteVector expected(bytes, from_driver);
    expected.resize(events.size() * event_size, untouched);
    ByteVector written(expected.size());
    std::memcpy(written.data(), events.data(), written.size());
    EXPECT_EQ(written, expected);
  }

  std::vector<EventInfo> events;
  std::uint32_t count = 0;
  int allocations = 0;
};

TEST_F(EventsTest, ACallerWithLittleRoomGetsTheEventsGivenAndNothingBehindThem) {
  expect_events(31, 2, 7);
  EXPECT_EQ(get(31), OVK_OK);
  EXPECT_EQ(count, 2U);
  EXPECT_EQ(EventMissedCount, 7U);
  EXPECT_EQ(allocations, 1);
  expect_written(2 * event_size);

  expect_events(0, 0, 3);
  EXPECT_EQ(get(0), OVK_OK);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(EventMissedCount, 3U);
  expect_written(0);
}

TEST_F(EventsTest, TheDriverWritesToACallerWithRoomForAllItCopies) {
  for (const std::uint32_t room : {32U, 40U}) {
    expect_events(room, 5, 0);
    EXPECT_EQ(get(room), OVK_OK);
    EXPECT_EQ(count, 5U);
    EXPECT_EQ(EventMissedCount, 0U);
    EXPECT_EQ(allocations, 0);
    expect_written(driver_size);
  }
}

TEST_F(EventsTest, ACountBeyondTheWorkBufferIsReportedButNotReadPastItsEnd) {
  for (const std::uint32_t given : {33U, 0x0CCCCCCDU, 0xFFFFFFFFU}) {
    expect_events(1, given, 0);
    EXPECT_EQ(get(1), OVK_OK);
    EXPECT_EQ(count, given);
    expect_written(driver_size);
  }
}

TEST_F(EventsTest, AFailureOrNoMemoryLeavesBothCounts) {
  log_at(0x4);
  expect_events(4, 2, 99).status(0x0BAD0001);
  EXPECT_EQ(get(4), OVK_FAILED);
  expect_events(4, 2, 99).delivery_error(3);
  EXPECT_EQ(get(4), OVK_FAILED);
  expect_written(0);
  EXPECT_EQ(log_lines().size(), 2U);

  const AllocationWatch memory{0};
  EXPECT_EQ(GetEventBuffer(0, events.data(), &count), OVK_NO_MEMORY);
  EXPECT_EQ(count, 4U);
  EXPECT_EQ(EventMissedCount, 12U);
}

}  // namespace
}  // namespace ovk::test
