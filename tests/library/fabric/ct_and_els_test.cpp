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
