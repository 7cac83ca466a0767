#include "tests/support/library_test.h"

#include <ovk/hbaapi.h>

#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

namespace ovk::test {
namespace {

constexpr Wwn name{{0x50, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07}};
constexpr std::uint8_t untouched = 0xEE;

ByteVector counted_bytes(std::size_t size) {
  ByteVector bytes(size);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
  return bytes;
}

/** A request that carries the name at an offset. */
ByteVector request_with_name_at(std::size_t offset) {
  ByteVector request(28);
  std::memcpy(request.data() + offset, name.bytes, sizeof name);
  return request;
}

class SendRnidTest : public LibraryTest {
 protected:
  Exchange& expect_rnid(std::uint32_t wwn_type, const ByteVector& request, std::uint32_t answered) {
    return channel.expect("RAVN_MGMT_HBA_RNID", board0)
        .word(2, 64)
        .word(5, wwn_type)
        .sends(1, request)
        .replies(2, counted_bytes(64))
        .answers(3, answered);
  }

  Exchange& expect_rnid(std::uint32_t answered) {
    return expect_rnid(OVK_PORT_WWN, request_with_name_at(8), answered);
  }

  /** Sends an RNID whose caller has this room, and keeps how it ended. */
  void send(std::uint32_t room, std::uint32_t wwn_type = OVK_PORT_WWN) {
    reply.assign(std::max<std::size_t>(room, 64) + 1, untouched);
    length = room;
    const AllocationWatch memory;
    result = SendRNID(0, &name, wwn_type, reply.data(), &length);
    allocations = memory.allocations();
    EXPECT_EQ(memory.outstanding(), 0);
  }

  /** The reply is so many bytes of the driver's, and nothing behind them was written. */
  void expect_written(std::size_t count) {
    ByteVector expected = counted_bytes(count);
    expected.resize(reply.size(), untouched);
    EXPECT_EQ(reply, expected);
  }

  ByteVector reply;
  std::uint32_t length = 0;
  std::uint32_t result = 0;
  int allocations = 0;
};

TEST_F(SendRnidTest, TheKindOfNamePlacesItInTheRequest) {
  expect_rnid(OVK_NODE_WWN, request_with_name_at(16), 4);
  send(64, OVK_NODE_WWN);
  expect_rnid(OVK_PORT_WWN, request_with_name_at(8), 4);
  send(64, OVK_PORT_WWN);
  expect_rnid(2, ByteVector(28), 4);
  send(64, 2);
  EXPECT_EQ(result, OVK_OK);
}

TEST_F(SendRnidTest, TheDriverWritesToACallerWithRoomForAllItCopies) {
  for (const std::uint32_t room : {64U, 100U}) {
    expect_rnid(52);
    send(room);
    EXPECT_EQ(result, OVK_OK);
    EXPECT_EQ(length, 52U);
    EXPECT_EQ(allocations, 0);
    expect_written(64);
  }
}

TEST_F(SendRnidTest, ACallerWithLessRoomGetsTheLengthOfTheReplyAndNoByteMore) {
  for (const std::uint32_t room : {52U, 63U}) {
    expect_rnid(52);
    send(room);
    EXPECT_EQ(result, OVK_OK);
    EXPECT_EQ(length, 52U);
    expect_written(52);
  }
}

TEST_F(SendRnidTest, AReplyThatDoesNotFitIsNotCopiedAndItsLengthIsReported) {
  struct {
    std::uint32_t room;
    std::uint32_t reported;
  } const cases[] = {{0, 52}, {51, 52}, {63, 64}, {63, 0xFFFFFFFF}};
  for (const auto& [room, reported] : cases) {
    expect_rnid(reported);
    send(room);
    EXPECT_EQ(result, OVK_MORE_DATA);
    EXPECT_EQ(length, reported);
    expect_written(0);
  }
  expect_rnid(65);
  send(64);
  EXPECT_EQ(result, OVK_MORE_DATA);
  EXPECT_EQ(length, 65U);
}

TEST_F(SendRnidTest, AFailureOrNoMemoryLeavesTheCallersLength) {
  expect_rnid(52).status(0x0BAD0003);
  send(60);
  EXPECT_EQ(result, OVK_FAILED);
  EXPECT_EQ(length, 60U);
  expect_written(0);
  expect_rnid(52).delivery_error(1);
  send(64);
  EXPECT_EQ(result, OVK_FAILED);
  EXPECT_EQ(length, 64U);

  const AllocationWatch memory{0};
  length = 63;
  EXPECT_EQ(SendRNID(0, &name, OVK_PORT_WWN, reply.data(), &length), OVK_NO_MEMORY);
  EXPECT_EQ(length, 63U);
}

class RnidMgmtInfoTest : public LibraryTest {
 protected:
  static constexpr std::size_t reserved_at = 40;

  static RnidMgmtInfo counted_info() {
    RnidMgmtInfo info;
    std::memcpy(&info, counted_bytes(sizeof info).data(), sizeof info);
    return info;
  }
};

TEST_F(RnidMgmtInfoTest, AllButTheReservedFieldIsSentAndHandedOut) {
  ByteVector sent = counted_bytes(44);
  sent[reserved_at] = sent[reserved_at + 1] = 0;
  channel.expect("RAVN_MGMT_HBA_SETMGMTINFO", board0).sends(1, sent);
  const RnidMgmtInfo info = counted_info();
  EXPECT_EQ(SetRNIDMgmtInfo(0, &info), OVK_OK);

  channel.expect("RAVN_MGMT_HBA_GETMGMTINFO", board0).replies(1, info);
  RnidMgmtInfo read;
  std::memset(&read, untouched, sizeof read);
  EXPECT_EQ(GetRNIDMgmtInfo(0, &read), OVK_OK);
  ByteVector expected = counted_bytes(44);
  expected[reserved_at] = expected[reserved_at + 1] = untouched;
  EXPECT_EQ(bytes_of(read), expected);
}

TEST_F(RnidMgmtInfoTest, AFailedReadingTouchesNothingAndIsLoggedAsASetting) {
  log_at(0xE);
  RnidMgmtInfo info = counted_info();
  channel.expect("RAVN_MGMT_HBA_GETMGMTINFO", board0).replies(1, ByteVector(44)).status(0x0BAD0001);
  EXPECT_EQ(GetRNIDMgmtInfo(0, &info), OVK_FAILED);
  EXPECT_EQ(bytes_of(info), counted_bytes(44));
  channel.expect("RAVN_MGMT_HBA_SETMGMTINFO", board0).delivery_error(2);
  EXPECT_EQ(SetRNIDMgmtInfo(0, &info), OVK_FAILED);

  EXPECT_EQ(
      log_lines(),
      (std::vector<LogLine>{
          {"GetRNIDMgmtInfo", "call: RAVN_MGMT_HBA_GETMGMTINFO id"},
          {"GetRNIDMgmtInfo", "cmd err:    RAVN_MGMT_HBA_SETMGMTINFO brd[0] stat[x0:xbad0001] id"},
          {"SetRNIDMgmtInfo", "call: RAVN_MGMT_HBA_SETMGMTINFO id"},
          {"SetRNIDMgmtInfo", "cmd err:    RAVN_MGMT_HBA_SETMGMTINFO brd[0] stat[x2:x0] id"}}));
}

}  // namespace
}  // namespace ovk::test
