#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/fabric.h>

#include <algorithm>
#include <vector>

namespace ovk::test {
namespace {

constexpr std::uint32_t name_server = 0xFFFFFC;
constexpr Wwn port_name{{0x10, 0, 0, 0, 0xC9, 1, 2, 3}};
constexpr std::uint32_t untouched = 0xEEEEEEEE;

class CtTest : public LibraryTest {
 protected:
  Exchange& expect_ct() {
    return channel.expect("RAVN_MGMT_SEND_CT", board0)
        .word(2, static_cast<std::uint32_t>(request.size()))
        .word(3, 16)
        .word(4, name_server)
        .sends(1, request);
  }

  Exchange& expect_command() {
    return channel.expect("RAVN_MGMT_HBA_SEND_MGMT_CMD", board0)
        .word(2, static_cast<std::uint32_t>(request.size()))
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

  std::int32_t send_ct() {
    return GetCTInfo(0, name_server, request.data(), static_cast<std::uint32_t>(request.size()),
                     response.data(), 16);
  }

  std::uint32_t send_command() {
    length = untouched;
    return SendMgmtCommand(0, &port_name, request.data(),
                           static_cast<std::uint32_t>(request.size()), response.data(), &length,
                           0xC0DE);
  }

  std::uint32_t send_response() {
    return SendMgmtResponse(0, request.data(), static_cast<std::uint32_t>(request.size()), 0xC0DE);
  }

  ByteVector request{1, 0, 0, 0, 0xFC, 2, 0, 0, 1, 0, 0, 0};
  ByteVector response = ByteVector(OVK_CT_MAX_LENGTH, 0xEE);
  std::uint32_t length = untouched;
};

TEST_F(CtTest, ARequestTravelsInZeroedBuffersAndTheReportedBytesComeBack) {
  const ByteVector reply{9, 8, 7, 6, 5};
  Exchange& ct = expect_ct().answers(3, 4).replies(2, reply);
  Exchange& command = expect_command().answers(3, 4).replies(3, reply);
  expect_response();

  const AllocationWatch memory;
  EXPECT_EQ(send_ct(), 4);
  EXPECT_EQ(ByteVector(response.begin(), response.begin() + 5), (ByteVector{9, 8, 7, 6, 0xEE}));
  EXPECT_EQ(send_command(), 0U);
  EXPECT_EQ(length, 4U);
  EXPECT_EQ(ByteVector(response.begin(), response.begin() + 5), (ByteVector{9, 8, 7, 6, 0xEE}));
  EXPECT_EQ(send_response(), 0U);
  EXPECT_EQ(memory.outstanding(), 0);
  EXPECT_EQ(ct.sent(2), ByteVector(OVK_CT_MAX_LENGTH));
  EXPECT_EQ(command.sent(3), ByteVector(OVK_CT_MAX_LENGTH));
}

TEST_F(CtTest, OtherAddressesAndTooLongRequestsAreRefusedBeforeAnything) {
  log_at(OVK_LOG_CALL);
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

TEST_F(CtTest, EachCallMapsTheStatusesInItsOwnWayAndCopiesNothing) {
  struct Row {
    std::uint32_t status;
    int delivery;
    std::int32_t ct;
    std::uint32_t command;
    std::uint32_t response;
  };
  for (const int delivery : {0, 5}) {
    for (const Row& row :
         {Row{0x0BAD0021, delivery, 0, 254, 250}, Row{0x0BAD005A, delivery, -1, 253, 253},
          Row{0x0BAD005D, delivery, -3, 255, 255}, Row{0x0BAD0014, delivery, -2, 252, 252},
          Row{0x0BAD0003, delivery, -4, 252, 252}, Row{0, 5, -4, 252, 252}}) {
      SCOPED_TRACE(testing::Message() << std::hex << row.status << " " << delivery);
      const ByteVector reply(8, 1);
      expect_ct().answers(3, 8).replies(2, reply).status(row.status).delivery_error(row.delivery);
      expect_command()
          .answers(3, 8)
          .replies(3, reply)
          .status(row.status)
          .delivery_error(row.delivery);
      expect_response().status(row.status).delivery_error(row.delivery);

      const AllocationWatch memory;
      EXPECT_EQ(send_ct(), row.ct);
      EXPECT_EQ(send_command(), row.command);
      EXPECT_EQ(length, row.command == 255 ? 8U : untouched);
      EXPECT_EQ(send_response(), row.response);
      EXPECT_EQ(memory.outstanding(), 0);
      EXPECT_EQ(response, ByteVector(OVK_CT_MAX_LENGTH, 0xEE));
    }
  }
}

TEST_F(CtTest, WithoutMemoryNothingIsSent) {
  for (const int failing : {0, 1}) {
    const AllocationWatch memory{failing};
    EXPECT_EQ(send_ct(), OVK_CT_NO_RESOURCES);
    EXPECT_EQ(memory.outstanding(), 0);
  }
  for (const int failing : {0, 1}) {
    const AllocationWatch memory{failing};
    EXPECT_EQ(send_command(), 252U);
    EXPECT_EQ(memory.outstanding(), 0);
  }
  const AllocationWatch memory{0};
  EXPECT_EQ(send_response(), 252U);
  EXPECT_EQ(length, untouched);
}

TEST_F(CtTest, CopiesStayWithinTheTransferBuffersWhateverTheLengths) {
  expect_ct().answers(3, 0x7FFFFFFF).replies(2, ByteVector(OVK_CT_MAX_LENGTH, 0x11));
  EXPECT_EQ(send_ct(), 0x7FFFFFFF);
  EXPECT_EQ(response, ByteVector(OVK_CT_MAX_LENGTH, 0x11));

  ByteVector buffer_full(OVK_CT_MAX_LENGTH, 0x33);
  request.assign(OVK_CT_MAX_LENGTH + 100, 0x33);
  channel.expect("RAVN_MGMT_HBA_SEND_MGMT_CMD", board0)
      .word(2, OVK_CT_MAX_LENGTH + 100)
      .word(3, OVK_CT_MAX_LENGTH)
      .word(7, 0xC0DE)
      .sends(2, buffer_full)
      .answers(3, 0xFFFFFFFF)
      .replies(3, ByteVector(OVK_CT_MAX_LENGTH, 0x22));
  EXPECT_EQ(send_command(), 0U);
  EXPECT_EQ(length, 0xFFFFFFFF);
  EXPECT_EQ(response, ByteVector(OVK_CT_MAX_LENGTH, 0x22));

  channel.expect("RAVN_MGMT_HBA_SEND_MGMT_RSP", board0)
      .word(2, OVK_CT_MAX_LENGTH)
      .word(4, 0xC0DE)
      .sends(1, buffer_full);
  EXPECT_EQ(send_response(), 0U);
}

class ElsTest : public LibraryTest {
 protected:
  Exchange& expect_els(std::uint32_t request_length) {
    return channel.expect("RAVN_MGMT_SEND_ELS", board0)
        .word(2, request_length)
        .word(3, OVK_ELS_MAX_LENGTH)
        .sends(1, destination);
  }

  std::uint32_t send(const ByteVector& request) {
    length = untouched;
    return OVK_SendELSCmd(0, &destination, request.data(),
                          static_cast<std::uint32_t>(request.size()), reply.data(), &length);
  }

  const ElsDestination destination{{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}};
  const ByteVector echo{0x10, 0, 0, 0, 0x55};
  ByteVector reply = ByteVector(OVK_ELS_MAX_LENGTH, 0xEE);
  std::uint32_t length = untouched;
};

TEST_F(ElsTest, ARequestTravelsInZeroedBuffersAndTheReportedBytesComeBack) {
  Exchange& exchange = expect_els(5).sends(2, echo).answers(3, 2).replies(3, ByteVector{2, 3, 4});
  const AllocationWatch memory;
  EXPECT_EQ(send(echo), 0U);
  EXPECT_EQ(memory.outstanding(), 0);
  EXPECT_EQ(length, 2U);
  EXPECT_EQ(ByteVector(reply.begin(), reply.begin() + 3), (ByteVector{2, 3, 0xEE}));
  EXPECT_EQ(exchange.sent(3), ByteVector(OVK_ELS_MAX_LENGTH));

  expect_els(5).answers(3, 0);
  EXPECT_EQ(send(echo), 0U);
  EXPECT_EQ(length, 0U);
}

TEST_F(ElsTest, OnlyAReplyThatDoesNotFitReportsALengthOnFailure) {
  struct Row {
    std::uint32_t status;
    int delivery;
    std::uint32_t result;
  };
  for (const Row& row : {Row{0x0BAD005D, 0, 7}, Row{0x0BAD005D, 5, 7}, Row{0x0BAD000A, 0, 3},
                         Row{0x0BAD000A, 5, 3}, Row{0x0BAD0014, 0, 1}, Row{0, 5, 1}}) {
    SCOPED_TRACE(testing::Message() << std::hex << row.status << " " << row.delivery);
    expect_els(5)
        .answers(3, 2000)
        .replies(3, ByteVector(8))
        .status(row.status)
        .delivery_error(row.delivery);
    const AllocationWatch memory;
    EXPECT_EQ(send(echo), row.result);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_EQ(length, row.result == 7 ? 2000 : untouched);
    EXPECT_EQ(reply, ByteVector(OVK_ELS_MAX_LENGTH, 0xEE));
  }
}

TEST_F(ElsTest, CopiesStayWithinTheBuffersAndWithoutMemoryNothingIsSent) {
  const ByteVector too_long(OVK_ELS_MAX_LENGTH + 1, 0x44);
  expect_els(OVK_ELS_MAX_LENGTH + 1)
      .sends(2, ByteVector(OVK_ELS_MAX_LENGTH, 0x44))
      .answers(3, 0x80000000)
      .replies(3, ByteVector(OVK_ELS_MAX_LENGTH, 0x55));
  EXPECT_EQ(send(too_long), 0U);
  EXPECT_EQ(length, 0x80000000);
  EXPECT_EQ(reply, ByteVector(OVK_ELS_MAX_LENGTH, 0x55));

  for (const int failing : {0, 1}) {
    const AllocationWatch memory{failing};
    EXPECT_EQ(send(echo), 1U);
    EXPECT_EQ(memory.outstanding(), 0);
  }
}

}  // namespace
}  // namespace ovk::test
