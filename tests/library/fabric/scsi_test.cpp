#include "tests/support/library_test.h"

#include <ovk/fabric.h>
#include <ovk/hbaapi.h>

#include <functional>

namespace ovk::test {
namespace {

constexpr Wwn target{{0x10, 0, 2, 0x0a, 0x54, 0, 0, 1}};
constexpr Wwn local{{0x10, 0, 2, 0, 0x54, 0, 0, 1}};
constexpr std::uint32_t lun0 = 0x00000500;  // bytes 00 05 00 00
constexpr std::uint32_t lun1 = 0x04030201;

class ScsiTest : public LibraryTest {
 protected:
  /** A call: what is its own, then where it finds and puts data and response. */
  template <typename Function, typename... Own>
  auto call(Function function, Own... own) {
    return [=, this] {
      return function(0, own..., data.data(), &data_length, response.data(), &response_length);
    };
  }

  /** Expects a command in the record that carries it to the target. */
  Exchange& expect(const char* name, std::size_t record_size, const FcpCmnd& image) {
    const ByteVector addressed = with_at(ByteVector(record_size), 0, target);
    return channel.expect(name, board0)
        .word(2, data_length)
        .sends(1, with_at(addressed, sizeof target, image));
  }

  ByteVector data = ByteVector(OVK_SCSI_MAX_TRANSFER, 0xDD);
  std::uint32_t data_length = 36;
  ByteVector response = ByteVector(OVK_FCP_RESPONSE_MAX_LENGTH, 0xEE);
  std::uint32_t response_length = 0;
};

TEST_F(ScsiTest, FcpWrappersDifferInTheOptionWordOnly) {
  constexpr FcpCmnd image{{0, 5}, 1, 2, 3, 2, {0x12, 0, 0, 0, 36}, {0, 0, 0, 36}};
  expect("RAVN_MGMT_HBA_SEND_FCP", 200, image).word(7, 0x99).answers(3, 36);
  EXPECT_EQ(SendFcpCmdEx(0, &target, &image, 32, data.data(), &data_length, response.data(),
                         &response_length, 0x99),
            0U);
  for (const auto wrapper : {OVK_SendFcpCmd, SendFcpCmd}) {
    expect("RAVN_MGMT_HBA_SEND_FCP", 200, image).answers(3, 37);
    EXPECT_EQ(call(wrapper, &target, &image, 32)(), 7U);
    data_length = 36;
  }
}

TEST_F(ScsiTest, BuiltCommandsAreExactAndGiveTheResultOfThePrimitive) {
  using Byte = std::uint8_t;
  struct {
    std::function<std::uint32_t()> send;
    std::uint32_t length;
    FcpCmnd image;
  } const commands[] = {
      {call(SendScsiRead, &target, lun0, lun1, 0x01020304U),
       4096,
       {{0, 5, 0, 0, 1, 2, 3, 4}, 0, 0, 0, 2, {0x28, 0, 1, 2, 3, 4, 0, 0, 8}, {0, 0, 0x10, 0}}},
      // A part of a block does not count.
      {call(SendScsiWrite, &target, lun0, 0U, 0xFFFFFFFE),
       0x203FF,
       {{0, 5}, 0, 0, 0, 1, {0x2A, 0, 0xFF, 0xFF, 0xFF, 0xFE, 0, 1, 1}, {0, 2, 3, 0xFF}}},
      {call(SendReportLUNs, &target),
       0x10203,
       {{}, 0, 0, 0, 2, {0xA0, 0, 0, 0, 0, 0, 0, 1, 2, 3}, {0, 1, 2, 3}}},
      {call(OVK_SendReportLUNsByWWN, &local, &target),
       16,
       {{}, 0, 0, 0, 2, {0xA0, 0, 0, 0, 0, 0, 0, 0, 0, 16}, {0, 0, 0, 16}}},
      {call(SendReadCapacity, &target, lun0, lun1),
       8,
       {{0, 5, 0, 0, 1, 2, 3, 4}, 0, 0, 0, 2, {0x25}, {0, 0, 0, 8}}},
      {call(OVK_SendReadCapacityByWWN, &local, &target, lun0),
       8,
       {{0, 5}, 0, 0, 0, 2, {0x25}, {0, 0, 0, 8}}},
      {call(SendScsiInquiry, &target, lun0, lun1, Byte{0}, Byte{0x80}),
       0x1FF,
       {{0, 5, 0, 0, 1, 2, 3, 4}, 0, 0, 0, 2, {0x12, 0, 0, 0, 0xFF}, {0, 0, 1, 0xFF}}},
      {call(OVK_SendScsiInquiryByWWN, &local, &target, lun0, lun1, Byte{1}, Byte{0x83}),
       0x100,
       {{0, 5, 0, 0, 1, 2, 3, 4}, 0, 0, 0, 2, {0x12, 1, 0x83, 0, 0}, {0, 0, 1, 0}}},
  };
  for (const auto& [send, length, sent] : commands) {
    SCOPED_TRACE(testing::PrintToString(bytes_of(sent)));
    data_length = length;
    expect("RAVN_MGMT_HBA_SEND_SCSI", 172, sent)
        .answers(3, 8)
        .replies(1, with_at(ByteVector(172), 168, 18))
        .replies(2, ByteVector(8, 0x42));
    EXPECT_EQ(send(), 0U);
    EXPECT_EQ(data_length, 8U);
    EXPECT_EQ(response_length, 18U);
    EXPECT_EQ(data[7], 0x42);

    channel.expect("RAVN_MGMT_HBA_SEND_SCSI", board0).word(2, 8).answers(3, 9);
    EXPECT_EQ(send(), 7U);
    EXPECT_EQ(data_length, 9U);
    data[7] = 0;
  }
}

}  // namespace
}  // namespace ovk::test
