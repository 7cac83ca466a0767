#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/fabric.h>

namespace ovk::test {
namespace {

constexpr std::uint32_t name_server = 0xFFFFFC;
constexpr Wwn port_name{{0x10, 0, 2, 0, 0x54, 1, 2, 3}};
constexpr ElsDestination destination{{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}};
constexpr std::uint32_t untouched = 0xEEEEEEEE;

/** The four calls that carry a request and a reply as they are; one has no reply. */
class CtAndElsTest : public LibraryTest {
 protected:
  Exchange& expect_ct() {
    return channel.expect("RAVN_MGMT_SEND_CT", board0)
        .word(2, request.size())
        .word(3, 16)
        .word(4, name_server)
        .sends(1, request);
  }
  Exchange& expect_command() {
    return channel.expect("RAVN_MGMT_HBA_SEND_MGMT_CMD", board0)
        .word(2, request.size())
        .word(3, OVK_CT_MAX_LENGTH)
        .word(7, 0xC0DE)
        .sends(1, port_name)
        .sends(2, request);
  }
  Exchange& expect_response() {
    return channel.expect("RAVN_MGMT_HBA_SEND_MGMT_RSP", board0)
        .word(2, OVK_CT_MAX_LENGTH)
        .word(4, 0xC0DE)
        .sends(1, request);
  }
  Exchange& expect_els() {
    return channel.expect("RAVN_MGMT_SEND_ELS", board0)
        .word(2, request.size())
        .word(3, OVK_ELS_MAX_LENGTH)
        .sends(1, destination)
        .sends(2, request);
  }

  std::int32_t send_ct() {
    return GetCTInfo(0, name_server, request.data(), request.size(), response.data(), 16);
  }
  std::uint32_t send_command() {
    length = untouched;
    return SendMgmtCommand(0, &port_name, request.data(), request.size(), response.data(), &length,
                           0xC0DE);
  }
  std::uint32_t send_response() {
    return SendMgmtResponse(0, request.data(), request.size(), 0xC0DE);
  }
  std::uint32_t send_els() {
    length = untouched;
    return OVK_SendELSCmd(0, &destination, request.data(), request.size(), response.data(),
                          &length);
  }

  /** Expects this response in the caller's memory and cleans up. */
  void expect_received(const ByteVector& expected) {
    EXPECT_THAT(response, SameBytes(expected));
    response.assign(OVK_CT_MAX_LENGTH, 0xEE);
  }

  ByteVector request{1, 0, 0, 0, 0xFC, 2, 0, 0, 1, 0, 0, 0};
  ByteVector response = ByteVector(OVK_CT_MAX_LENGTH, 0xEE);
  std::uint32_t length = untouched;
};

TEST_F(CtAndElsTest, ARequestTravelsInZeroedBuffersAndTheReportedBytesComeBack) {
  const ByteVector reply{9, 8, 7, 6, 5};
  const ByteVector received = with_at(response, 0, ByteVector{9, 8, 7, 6});
  const Exchange& ct = expect_ct().answers(3, 4).replies(2, reply);
  const Exchange& command = expect_command().answers(3, 4).replies(3, reply);
  const Exchange& els = expect_els().answers(3, 4).replies(3, reply);
  expect_response();

  const AllocationWatch memory;
  EXPECT_EQ(send_ct(), 4);
  expect_received(received);
  EXPECT_EQ(send_command(), 0U);
  EXPECT_EQ(length, 4U);
  expect_received(received);
  EXPECT_EQ(send_els(), 0U);
  EXPECT_EQ(length, 4U);
  expect_received(received);
  EXPECT_EQ(send_response(), 0U);
  EXPECT_EQ(memory.outstanding(), 0);
  EXPECT_THAT(ct.sent(2), SameBytes(ByteVector(OVK_CT_MAX_LENGTH)));
  EXPECT_THAT(command.sent(3), SameBytes(ByteVector(OVK_CT_MAX_LENGTH)));
  EXPECT_THAT(els.sent(3), SameBytes(ByteVector(OVK_ELS_MAX_LENGTH)));
}

TEST_F(CtAndElsTest, OtherAddressesAndTooLongCtRequestsAreRefusedBeforeAnything) {
  const AllocationWatch memory;
  EXPECT_EQ(GetCTInfo(0, 0x01FFFC, request.data(), 1, response.data(), 16), OVK_CT_FAILED);
  EXPECT_EQ(GetCTInfo(0, 0xFFFC01, request.data(), 1, response.data(), 16), OVK_CT_FAILED);
  EXPECT_EQ(GetCTInfo(0, 0xFFFFFC, request.data(), OVK_CT_MAX_LENGTH + 1, response.data(), 16),
            OVK_CT_TOO_LONG);
  EXPECT_EQ(memory.allocations(), 0);

  request.assign(OVK_CT_MAX_LENGTH, 0xAB);
  expect_ct().answers(3, 0);
  EXPECT_EQ(send_ct(), 0);
}

TEST_F(CtAndElsTest, EachCallMapsTheStatusesInItsOwnWayAndCopiesNothing) {
  struct {
    std::uint32_t status;
    int delivery;
    std::int32_t ct;
    std::uint32_t command;
    std::uint32_t response;
    std::uint32_t els;
  } const cases[] = {{0x0BAD0021, 0, 0, 254, 250, 1},  {0x0BAD0021, 5, 0, 254, 250, 1},
                     {0x0BAD005A, 0, -1, 253, 253, 1}, {0x0BAD005A, 5, -1, 253, 253, 1},
                     {0x0BAD005D, 0, -3, 255, 255, 7}, {0x0BAD005D, 5, -3, 255, 255, 7},
                     {0x0BAD0014, 0, -2, 252, 252, 1}, {0x0BAD0014, 5, -2, 252, 252, 1},
                     {0x0BAD000A, 0, -4, 252, 252, 3}, {0x0BAD000A, 5, -4, 252, 252, 3},
                     {0x0BAD0003, 0, -4, 252, 252, 1}, {0, 5, -4, 252, 252, 1}};
  for (const auto& [status, delivery, ct, command, mgmt_response, els] : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << status << " " << delivery);
    const ByteVector reply(8, 1);
    const std::uint32_t told = status == 0x0BAD005D ? 8U : untouched;
    expect_ct().answers(3, 8).replies(2, reply).ends_with(status, delivery);
    expect_command().answers(3, 8).replies(3, reply).ends_with(status, delivery);
    expect_response().ends_with(status, delivery);
    expect_els().answers(3, 8).replies(3, reply).ends_with(status, delivery);

    const AllocationWatch memory;
    EXPECT_EQ(send_ct(), ct);
    EXPECT_EQ(send_command(), command);
    EXPECT_EQ(length, told);
    EXPECT_EQ(send_response(), mgmt_response);
    EXPECT_EQ(send_els(), els);
    EXPECT_EQ(length, told);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_THAT(response, SameBytes(ByteVector(OVK_CT_MAX_LENGTH, 0xEE)));
  }
}

TEST_F(CtAndElsTest, WithoutMemoryNothingIsSent) {
  const auto without = [](int failing, auto send, auto result) {
    const AllocationWatch memory{failing};
    EXPECT_EQ(send(), result);
    EXPECT_EQ(memory.outstanding(), 0);
  };
  for (const int failing : {0, 1}) {
    without(
        failing, [this] { return send_ct(); }, OVK_CT_NO_RESOURCES);
    without(
        failing, [this] { return send_command(); }, 252U);
    without(
        failing, [this] { return send_els(); }, 1U);
  }
  without(
      0, [this] { return send_response(); }, 252U);
  EXPECT_EQ(length, untouched);
}

TEST_F(CtAndElsTest, CopiesStayWithinTheTransferBuffersWhateverTheLengths) {
  expect_ct().answers(3, 0x7FFFFFFF).replies(2, ByteVector(OVK_CT_MAX_LENGTH, 0x11));
  EXPECT_EQ(send_ct(), 0x7FFFFFFF);
  expect_received(ByteVector(OVK_CT_MAX_LENGTH, 0x11));

  request.assign(OVK_CT_MAX_LENGTH + 100, 0x33);
  expect_command().answers(3, 0xFFFFFFFF).replies(3, ByteVector(OVK_CT_MAX_LENGTH, 0x22));
  EXPECT_EQ(send_command(), 0U);
  EXPECT_EQ(length, 0xFFFFFFFF);
  expect_received(ByteVector(OVK_CT_MAX_LENGTH, 0x22));

  expect_response();
  EXPECT_EQ(send_response(), 0U);

  for (const std::uint32_t reported : {0U, 0x80000000U}) {
    expect_els().answers(3, reported).replies(3, ByteVector(OVK_ELS_MAX_LENGTH, 0x55));
    EXPECT_EQ(send_els(), 0U);
    EXPECT_EQ(length, reported);
    ByteVector received(reported == 0 ? 0 : OVK_ELS_MAX_LENGTH, 0x55);
    received.resize(OVK_CT_MAX_LENGTH, 0xEE);
    expect_received(received);
  }
}

}  // namespace
}  // namespace ovk::test
