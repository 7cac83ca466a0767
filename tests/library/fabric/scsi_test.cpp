#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/fabric.h>
#include <ovk/hbaapi.h>

#include <algorithm>
#include <functional>

namespace ovk::test {
namespace {

constexpr Wwn target{{0x10, 0, 2, 0x0a, 0x54, 0, 0, 1}};
constexpr Wwn local{{0x10, 0, 2, 0, 0x54, 0, 0, 1}};
constexpr FcpCmnd image{{0, 5}, 1, 2, 3, 2, {0x12, 0, 0, 0, 36}, {0, 0, 0, 36}};
constexpr std::uint32_t image_size = 32;
constexpr std::uint32_t lun0 = 0x00000500;  // bytes 00 05 00 00
constexpr std::uint32_t lun1 = 0x04030201;

/** Where a response or sense data stands in the record of a request. */
constexpr std::size_t response_offset = 40;

/** One of the two calls that send a caller's command, and the record that it sends. */
struct Primitive {
  const char* command;
  std::size_t record_size;
  std::size_t length_offset;
  std::uint32_t length_sent;
  std::size_t response_size;
  std::uint32_t option;
};

constexpr Primitive fcp{"RAVN_MGMT_HBA_SEND_FCP", 200, 56, 24, OVK_FCP_RESPONSE_MAX_LENGTH, 0x0123};
constexpr Primitive scsi{"RAVN_MGMT_HBA_SEND_SCSI", 172, 168, 0, OVK_SENSE_MAX_LENGTH, 0};

bool is_fcp(const Primitive& primitive) { return primitive.option != 0; }

class ScsiTest : public LibraryTest {
 protected:
  Exchange& expect(const Primitive& primitive, std::uint32_t announced) {
    return channel.expect(primitive.command, board0).word(2, announced).word(7, primitive.option);
  }

  /** The record that carries a command to the target. */
  static ByteVector request(const Primitive& primitive, const FcpCmnd& command) {
    const ByteVector addressed = with_at(ByteVector(primitive.record_size), 0, target);
    return with_at(with_at(addressed, sizeof target, command), primitive.length_offset,
                   primitive.length_sent);
  }

  /** The record as it comes back with a response of this length. */
  static ByteVector reply(const Primitive& primitive, std::uint32_t length) {
    ByteVector record = request(primitive, image);
    std::fill(record.begin() + response_offset, record.end(), 0x77);
    return with_at(record, primitive.length_offset, length);
  }

  /** The caller's memory with the first bytes of the response in a record. */
  ByteVector response_from(const ByteVector& record, std::size_t size) const {
    ByteVector expected = response;
    std::copy_n(record.begin() + response_offset, size, expected.begin());
    return expected;
  }

  /** A call of a wrapper: what is its own, then where it finds and puts data and response. */
  template <typename Wrapper, typename... Own>
  auto call(Wrapper wrapper, Own... own) {
    return [=, this] {
      return wrapper(0, own..., data.data(), &data_length, response.data(), &response_length);
    };
  }

  std::uint32_t send(const Primitive& primitive) {
    return is_fcp(primitive)
               ? SendFcpCmdByWWN(0, &local, &target, &image, image_size, data.data(), &data_length,
                                 response.data(), &response_length, fcp.option)
               : call(SendScsiCmdByWWN, &local, &target, &image, image_size)();
  }

  ByteVector data = ByteVector(OVK_SCSI_MAX_TRANSFER, 0xDD);
  std::uint32_t data_length = 36;
  ByteVector response = ByteVector(OVK_FCP_RESPONSE_MAX_LENGTH, 0xEE);
  std::uint32_t response_length = 24;
};

class PrimitiveTest : public ScsiTest, public testing::WithParamInterface<Primitive> {};

TEST_P(PrimitiveTest, DataThatDoesNotFitIsCountedButNotCopied) {
  const ByteVector data_before = data;
  const ByteVector response_before = response;
  expect(GetParam(), 36).answers(3, 37).replies(1, reply(GetParam(), 20));
  EXPECT_EQ(send(GetParam()), 7U);
  EXPECT_EQ(data_length, 37U);
  EXPECT_EQ(response_length, is_fcp(GetParam()) ? 20U : 24U)
      << "FCP tells the length of the response even then";
  EXPECT_THAT(data, SameBytes(data_before));
  EXPECT_THAT(response, SameBytes(response_before));
}

TEST_P(PrimitiveTest, CopiesStayWithinTheTransferBufferAndTheRecord) {
  data_length = 300000;
  data.resize(data_length, 0xDD);
  const ByteVector answer = reply(GetParam(), 0xFFFFFFFF);
  expect(GetParam(), OVK_SCSI_MAX_TRANSFER)
      .sends(2, ByteVector(OVK_SCSI_MAX_TRANSFER, 0xDD))
      .answers(3, 300000)
      .replies(1, answer);
  const ByteVector expected_response = response_from(answer, GetParam().response_size);
  EXPECT_EQ(send(GetParam()), 0U);
  EXPECT_EQ(data_length, 300000U);
  EXPECT_EQ(response_length, 0xFFFFFFFF);
  EXPECT_THAT(response, SameBytes(expected_response));
}

INSTANTIATE_TEST_SUITE_P(Both, PrimitiveTest, testing::Values(fcp, scsi),
                         [](const auto& primitive) { return primitive.param.command; });

TEST_F(ScsiTest, FcpWrappersDifferInTheOptionWordOnly) {
  for (const std::uint32_t option : {0x99U, 0U, 0U}) {
    channel.expect(fcp.command, board0)
        .word(2, 36)
        .word(7, option)
        .sends(1, request(fcp, image))
        .answers(3, 36)
        .replies(1, reply(fcp, 24));
  }
  EXPECT_EQ(SendFcpCmdEx(0, &target, &image, image_size, data.data(), &data_length, response.data(),
                         &response_length, 0x99),
            0U);
  EXPECT_EQ(call(OVK_SendFcpCmd, &target, &image, image_size)(), 0U);
  EXPECT_EQ(call(SendFcpCmd, &target, &image, image_size)(), 0U);
}

TEST_F(ScsiTest, BuiltCommandsAreExactAndGiveTheResultOfThePrimitive) {
  using Byte = std::uint8_t;
  struct {
    const char* what;
    std::function<std::uint32_t()> send;
    std::uint32_t length;
    FcpCmnd image;
  } const commands[] = {
      {"read",
       call(SendScsiRead, &target, lun0, lun1, 0x01020304U),
       4096,
       {{0, 5, 0, 0, 1, 2, 3, 4}, 0, 0, 0, 2, {0x28, 0, 1, 2, 3, 4, 0, 0, 8}, {0, 0, 0x10, 0}}},
      // A part of a block does not count.
      {"write",
       call(SendScsiWrite, &target, lun0, 0U, 0xFFFFFFFE),
       0x203FF,
       {{0, 5}, 0, 0, 0, 1, {0x2A, 0, 0xFF, 0xFF, 0xFF, 0xFE, 0, 1, 1}, {0, 2, 3, 0xFF}}},
      {"report LUNs",
       call(SendReportLUNs, &target),
       0x10203,
       {{}, 0, 0, 0, 2, {0xA0, 0, 0, 0, 0, 0, 0, 1, 2, 3}, {0, 1, 2, 3}}},
      {"report LUNs by WWN",
       call(OVK_SendReportLUNsByWWN, &local, &target),
       16,
       {{}, 0, 0, 0, 2, {0xA0, 0, 0, 0, 0, 0, 0, 0, 0, 16}, {0, 0, 0, 16}}},
      {"read capacity",
       call(SendReadCapacity, &target, lun0, lun1),
       8,
       {{0, 5, 0, 0, 1, 2, 3, 4}, 0, 0, 0, 2, {0x25}, {0, 0, 0, 8}}},
      {"read capacity by WWN",
       call(OVK_SendReadCapacityByWWN, &local, &target, lun0),
       8,
       {{0, 5}, 0, 0, 0, 2, {0x25}, {0, 0, 0, 8}}},
      {"inquiry",
       call(SendScsiInquiry, &target, lun0, lun1, Byte{0}, Byte{0x80}),
       0x1FF,
       {{0, 5, 0, 0, 1, 2, 3, 4}, 0, 0, 0, 2, {0x12, 0, 0, 0, 0xFF}, {0, 0, 1, 0xFF}}},
      {"inquiry by WWN",
       call(OVK_SendScsiInquiryByWWN, &local, &target, lun0, lun1, Byte{1}, Byte{0x83}),
       0x100,
       {{0, 5, 0, 0, 1, 2, 3, 4}, 0, 0, 0, 2, {0x12, 1, 0x83, 0, 0}, {0, 0, 1, 0}}},
  };
  for (const auto& [what, send, length, sent] : commands) {
    SCOPED_TRACE(what);
    data_length = length;
    expect(scsi, length)
        .sends(1, request(scsi, sent))
        .answers(3, 8)
        .replies(1, reply(scsi, 18))
        .replies(2, ByteVector(8, 0x42));
    EXPECT_EQ(send(), 0U);
    EXPECT_EQ(data_length, 8U);
    EXPECT_EQ(response_length, 18U);
    EXPECT_EQ(data[7], 0x42);

    expect(scsi, 8).answers(3, 9);
    EXPECT_EQ(send(), 7U);
    EXPECT_EQ(data_length, 9U);
  }
}

TEST_F(ScsiTest, CtPassThroughGoesToTheServerOfTheServiceTypeAndFoldsAllFailuresIntoOne) {
  struct {
    std::uint8_t gs_type;
    std::uint32_t server;
    std::uint32_t answered;
    std::uint32_t status;
    std::uint32_t result;
  } const cases[] = {{0xF9, 0xFFFFFC, 16, 0, 0},          {0xFA, 0xFFFFFA, 16, 0, 0},
                     {0xFB, 0xFFFFFB, 16, 0, 0},          {0xFC, 0xFFFFFC, 16, 0, 0},
                     {0xFD, 0xFFFFFD, 16, 0, 0},          {0xFE, 0xFFFFFC, 16, 0, 0},
                     {0x20, 0xFFFFFC, 16, 0, 0},          {0xFC, 0xFFFFFC, 0, 0, 1},
                     {0xFC, 0xFFFFFC, 16, 0x0BAD0021, 1}, {0xFC, 0xFFFFFC, 16, 0x0BAD005A, 1},
                     {0xFC, 0xFFFFFC, 16, 0x0BAD0014, 1}};
  for (const auto& [gs_type, server, answered, status, result] : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << +gs_type << " " << status);
    const ByteVector iu{1, 0, 0, 0, gs_type, 0, 0, 0};
    channel.expect("RAVN_MGMT_SEND_CT", board0)
        .word(2, 8)
        .word(3, 100)
        .word(4, server)
        .sends(1, iu)
        .answers(3, answered)
        .status(status);
    std::uint32_t length = 100;
    EXPECT_EQ(SendCTPassThru(0, iu.data(), 8, data.data(), &length), result);
    EXPECT_EQ(length, result == 0 ? 16U : 100U);
  }
}

}  // namespace
}  // namespace ovk::test
