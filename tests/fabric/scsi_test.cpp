#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/fabric.h>
#include <ovk/hbaapi.h>

#include <cstring>
#include <functional>
#include <vector>

namespace ovk::test {
namespace {

constexpr Wwn target{{0x50, 6, 1, 0x60, 0, 0, 0, 1}};
constexpr Wwn local{{0x10, 0, 0, 0, 0xC9, 0, 0, 1}};
constexpr std::uint32_t lun0 = 0x00000500;  // bytes 00 05 00 00
constexpr std::uint32_t lun1 = 0x04030201;
constexpr std::uint32_t untouched = 0xEEEEEEEE;

constexpr std::size_t fcp_request_size = 200;
constexpr std::size_t scsi_request_size = 172;
constexpr std::size_t reply_offset = 40;
constexpr std::size_t response_length_offset = 56;
constexpr std::size_t sense_length_offset = 168;

class ScsiTest : public LibraryTest {
 protected:
  /** A request record: the target, the command, and a word. */
  static ByteVector request(std::size_t size, const FcpCmnd& command, std::size_t word_offset,
                            std::uint32_t word) {
    ByteVector record(size);
    std::memcpy(record.data(), &target, sizeof target);
    std::memcpy(record.data() + sizeof target, &command, sizeof command);
    std::memcpy(record.data() + word_offset, &word, sizeof word);
    return record;
  }

  /** A request record as it comes back: `fill` from byte 40 on, but a word. */
  static ByteVector reply(std::size_t size, std::uint8_t fill, std::size_t word_offset,
                          std::uint32_t word) {
    ByteVector record = request(size, image, word_offset, word);
    std::fill(record.begin() + reply_offset, record.end(), fill);
    std::memcpy(record.data() + word_offset, &word, sizeof word);
    return record;
  }

  Exchange& expect_fcp(std::uint32_t announced, std::uint32_t option) {
    return channel.expect("RAVN_MGMT_HBA_SEND_FCP", board0).word(2, announced).word(7, option);
  }

  Exchange& expect_scsi(std::uint32_t announced) {
    return channel.expect("RAVN_MGMT_HBA_SEND_SCSI", board0).word(2, announced);
  }

  std::uint32_t send_fcp() {
    return SendFcpCmdByWWN(0, &local, &target, &image, 32, data.data(), &data_length,
                           response.data(), &response_length, 0x0123);
  }

  std::uint32_t send_scsi() {
    return SendScsiCmdByWWN(0, &local, &target, &image, 32, data.data(), &data_length,
                            response.data(), &response_length);
  }

  static constexpr FcpCmnd image{{0, 5}, 1, 2, 3, 2, {0x12, 0, 0, 0, 36}, {0, 0, 0, 36}};

  ByteVector data = ByteVector(OVK_SCSI_MAX_TRANSFER, 0xDD);
  std::uint32_t data_length = 36;
  ByteVector response = ByteVector(OVK_FCP_RESPONSE_MAX_LENGTH, 0xEE);
  std::uint32_t response_length = 24;
};

TEST_F(ScsiTest, FcpCommandsGoOutAsGivenAndBringDataAndResponse) {
  Exchange& exchange = expect_fcp(36, 0x0123)
                           .sends(1, request(fcp_request_size, image, response_length_offset, 24))
                           .sends(2, ByteVector(36, 0xDD))
                           .answers(3, 4)
                           .replies(1, reply(fcp_request_size, 0x77, response_length_offset, 20))
                           .replies(2, ByteVector{1, 2, 3, 4, 5});
  const AllocationWatch memory;
  EXPECT_EQ(send_fcp(), 0U);
  EXPECT_EQ(memory.outstanding(), 0);
  EXPECT_EQ(data_length, 4U);
  EXPECT_EQ(ByteVector(data.begin(), data.begin() + 5), (ByteVector{1, 2, 3, 4, 0xDD}));
  EXPECT_EQ(response_length, 20U);
  ByteVector expected(16, 0x77);  // the length is part of the response
  expected.insert(expected.end(), {20, 0, 0, 0, 0xEE});
  EXPECT_EQ(ByteVector(response.begin(), response.begin() + 21), expected);
  EXPECT_EQ(exchange.sent(2).size(), OVK_SCSI_MAX_TRANSFER);
}

TEST_F(ScsiTest, ScsiCommandsGoOutAsGivenAndBringDataAndSense) {
  expect_scsi(36)
      .sends(1, request(scsi_request_size, image, sense_length_offset, 0))
      .sends(2, ByteVector(36, 0xDD))
      .answers(3, 4)
      .replies(1, reply(scsi_request_size, 0x70, sense_length_offset, 18))
      .replies(2, ByteVector{1, 2, 3, 4, 5});
  const AllocationWatch memory;
  EXPECT_EQ(send_scsi(), 0U);
  EXPECT_EQ(memory.outstanding(), 0);
  EXPECT_EQ(data_length, 4U);
  EXPECT_EQ(ByteVector(data.begin(), data.begin() + 5), (ByteVector{1, 2, 3, 4, 0xDD}));
  EXPECT_EQ(response_length, 18U);
  EXPECT_EQ(response[17], 0x70);
  EXPECT_EQ(response[18], 0xEE);
}

TEST_F(ScsiTest, DataThatDoesNotFitIsCountedButNotCopied) {
  const ByteVector data_before = data;
  const ByteVector response_before = response;
  expect_fcp(36, 0x0123)
      .answers(3, 37)
      .replies(1, reply(fcp_request_size, 0x77, response_length_offset, 20));
  EXPECT_EQ(send_fcp(), 7U);
  EXPECT_EQ(data_length, 37U);
  EXPECT_EQ(response_length, 20U) << "the length of the response is told even then";

  response_length = untouched;
  expect_scsi(37).answers(3, 38).replies(1,
                                         reply(scsi_request_size, 0x70, sense_length_offset, 18));
  EXPECT_EQ(send_scsi(), 7U);
  EXPECT_EQ(data_length, 38U);
  EXPECT_EQ(response_length, untouched);
  EXPECT_EQ(data, data_before);
  EXPECT_EQ(response, response_before);
}

TEST_F(ScsiTest, OnlyFcpTellsDataThatTheDriverCouldNotFitFromOtherFailures) {
  struct Row {
    std::uint32_t status;
    int delivery;
    std::uint32_t fcp;
  };
  for (const Row& row :
       {Row{0x0BAD005D, 0, 7}, Row{0x0BAD005D, 5, 7}, Row{0x0BAD0014, 0, 1}, Row{0, 5, 1}}) {
    SCOPED_TRACE(testing::Message() << std::hex << row.status << " " << row.delivery);
    expect_fcp(36, 0x0123).answers(3, 99).status(row.status).delivery_error(row.delivery);
    expect_scsi(36).answers(3, 99).status(row.status).delivery_error(row.delivery);
    const AllocationWatch memory;
    EXPECT_EQ(send_fcp(), row.fcp);
    EXPECT_EQ(send_scsi(), 1U);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_EQ(data_length, 36U);
    EXPECT_EQ(response_length, 24U);
  }
  {
    const AllocationWatch memory{0};
    EXPECT_EQ(send_fcp(), 1U);
  }
  const AllocationWatch memory{0};
  EXPECT_EQ(send_scsi(), 1U);
}

TEST_F(ScsiTest, CopiesStayWithinTheTransferBufferAndTheRecords) {
  data_length = 300000;
  data.resize(data_length, 0xDD);
  const ByteVector full(OVK_SCSI_MAX_TRANSFER, 0xDD);
  expect_fcp(OVK_SCSI_MAX_TRANSFER, 0x0123)
      .sends(2, full)
      .answers(3, 300000)
      .replies(1, reply(fcp_request_size, 0x77, response_length_offset, 0xFFFFFFFF));
  EXPECT_EQ(send_fcp(), 0U);
  EXPECT_EQ(data_length, 300000U);
  EXPECT_EQ(response_length, 0xFFFFFFFF);
  EXPECT_EQ(response.back(), 0x77);

  response.assign(OVK_FCP_RESPONSE_MAX_LENGTH, 0xEE);
  expect_scsi(OVK_SCSI_MAX_TRANSFER)
      .sends(2, full)
      .answers(3, 300000)
      .replies(1, reply(scsi_request_size, 0x70, sense_length_offset, 0xFFFFFFFF));
  EXPECT_EQ(send_scsi(), 0U);
  EXPECT_EQ(response[OVK_SENSE_MAX_LENGTH - 1], 0x70);
  EXPECT_EQ(response[OVK_SENSE_MAX_LENGTH], 0xEE);
}

TEST_F(ScsiTest, FcpWrappersDifferInTheOptionWordOnly) {
  const ByteVector sent = request(fcp_request_size, image, response_length_offset, 24);
  const ByteVector received = reply(fcp_request_size, 0x77, response_length_offset, 24);
  for (const std::uint32_t option : {0x99U, 0U, 0U}) {
    expect_fcp(36, option).sends(1, sent).answers(3, 36).replies(1, received);
  }
  EXPECT_EQ(SendFcpCmdEx(0, &target, &image, 32, data.data(), &data_length, response.data(),
                         &response_length, 0x99),
            0U);
  for (const auto& send : {OVK_SendFcpCmd, SendFcpCmd}) {
    EXPECT_EQ(
        send(0, &target, &image, 32, data.data(), &data_length, response.data(), &response_length),
        0U);
  }
}

/** A wrapper that builds its command itself, and the command that it builds. */
struct BuiltCommand {
  const char* what;
  std::function<std::uint32_t(ByteVector&, std::uint32_t*, void*, std::uint32_t*)> send;
  std::uint32_t data_length;
  FcpCmnd image;
};

const std::vector<BuiltCommand>& built_commands() {
  static const std::vector<BuiltCommand> commands{
      {"read",
       [](ByteVector& data, auto* length, auto* sense, auto* sense_length) {
         return SendScsiRead(0, &target, lun0, lun1, 0x01020304, data.data(), length, sense,
                             sense_length);
       },
       4096,
       {{0, 5, 0, 0, 1, 2, 3, 4}, 0, 0, 0, 2, {0x28, 0, 1, 2, 3, 4, 0, 0, 8}, {0, 0, 0x10, 0}}},
      {"write",
       [](ByteVector& data, auto* length, auto* sense, auto* sense_length) {
         return SendScsiWrite(0, &target, lun0, 0, 0xFFFFFFFE, data.data(), length, sense,
                              sense_length);
       },
       0x203FF,  // a part of a block does not count
       {{0, 5}, 0, 0, 0, 1, {0x2A, 0, 0xFF, 0xFF, 0xFF, 0xFE, 0, 1, 1}, {0, 2, 3, 0xFF}}},
      {"report LUNs",
       [](ByteVector& data, auto* length, auto* sense, auto* sense_length) {
         return SendReportLUNs(0, &target, data.data(), length, sense, sense_length);
       },
       0x10203,
       {{}, 0, 0, 0, 2, {0xA0, 0, 0, 0, 0, 0, 0, 1, 2, 3}, {0, 1, 2, 3}}},
      {"report LUNs by WWN",
       [](ByteVector& data, auto* length, auto* sense, auto* sense_length) {
         return OVK_SendReportLUNsByWWN(0, &local, &target, data.data(), length, sense,
                                        sense_length);
       },
       16,
       {{}, 0, 0, 0, 2, {0xA0, 0, 0, 0, 0, 0, 0, 0, 0, 16}, {0, 0, 0, 16}}},
      {"read capacity",
       [](ByteVector& data, auto* length, auto* sense, auto* sense_length) {
         return SendReadCapacity(0, &target, lun0, lun1, data.data(), length, sense, sense_length);
       },
       8,
       {{0, 5, 0, 0, 1, 2, 3, 4}, 0, 0, 0, 2, {0x25}, {0, 0, 0, 8}}},
      {"read capacity by WWN",
       [](ByteVector& data, auto* length, auto* sense, auto* sense_length) {
         return OVK_SendReadCapacityByWWN(0, &local, &target, lun0, data.data(), length, sense,
                                          sense_length);
       },
       8,
       {{0, 5}, 0, 0, 0, 2, {0x25}, {0, 0, 0, 8}}},
      {"inquiry",
       [](ByteVector& data, auto* length, auto* sense, auto* sense_length) {
         return SendScsiInquiry(0, &target, lun0, lun1, 0, 0x80, data.data(), length, sense,
                                sense_length);
       },
       0x1FF,
       {{0, 5, 0, 0, 1, 2, 3, 4}, 0, 0, 0, 2, {0x12, 0, 0, 0, 0xFF}, {0, 0, 1, 0xFF}}},
      {"inquiry by WWN",
       [](ByteVector& data, auto* length, auto* sense, auto* sense_length) {
         return OVK_SendScsiInquiryByWWN(0, &local, &target, lun0, lun1, 1, 0x83, data.data(),
                                         length, sense, sense_length);
       },
       0x100,
       {{0, 5, 0, 0, 1, 2, 3, 4}, 0, 0, 0, 2, {0x12, 1, 0x83, 0, 0}, {0, 0, 1, 0}}},
  };
  return commands;
}

TEST_F(ScsiTest, BuiltCommandsAreExactAndGiveTheResultOfThePrimitive) {
  for (const BuiltCommand& command : built_commands()) {
    SCOPED_TRACE(command.what);
    const ByteVector sent = request(scsi_request_size, command.image, sense_length_offset, 0);
    data_length = command.data_length;
    expect_scsi(data_length)
        .sends(1, sent)
        .answers(3, 8)
        .replies(1, reply(scsi_request_size, 0, sense_length_offset, 18))
        .replies(2, ByteVector(8, 0x42));
    EXPECT_EQ(command.send(data, &data_length, response.data(), &response_length), 0U);
    EXPECT_EQ(data_length, 8U);
    EXPECT_EQ(response_length, 18U);
    EXPECT_EQ(data[7], 0x42);

    expect_scsi(8).answers(3, 9);
    EXPECT_EQ(command.send(data, &data_length, response.data(), &response_length), 7U);
    EXPECT_EQ(data_length, 9U);
  }
}

TEST_F(ScsiTest, LogLinesNameThePrimitiveThatSends) {
  log_at(OVK_LOG_SUCCESS | OVK_LOG_ERROR);
  expect_scsi(36).status(0x0BAD0014);
  SendReportLUNs(0, &target, data.data(), &data_length, response.data(), &response_length);
  expect_fcp(36, 0);
  SendFcpCmd(0, &target, &image, 32, data.data(), &data_length, response.data(), &response_length);
  EXPECT_THAT(log_lines(),
              testing::ElementsAre(
                  LogLine{"SendScsiCmdByWWN",
                          "cmd err:      RAVN_MGMT_HBA_SEND_SCSI brd[0] stat[x0:xbad0014] id"},
                  LogLine{"SendFcpCmdByWWN", "cmd ok:        RAVN_MGMT_HBA_SEND_FCP brd[0] id"}));
}

TEST_F(ScsiTest, CtPassThroughGoesToTheServerOfTheServiceType) {
  for (const auto& [gs_type, destination] :
       {std::pair{0xFA, 0xFFFFFAU}, std::pair{0xFB, 0xFFFFFBU}, std::pair{0xFC, 0xFFFFFCU},
        std::pair{0xFD, 0xFFFFFDU}, std::pair{0xF9, 0xFFFFFCU}, std::pair{0xFE, 0xFFFFFCU},
        std::pair{0x20, 0xFFFFFCU}}) {
    const ByteVector iu{1, 0, 0, 0, static_cast<std::uint8_t>(gs_type), 0, 0, 0};
    channel.expect("RAVN_MGMT_SEND_CT", board0)
        .word(2, 8)
        .word(3, 100)
        .word(4, destination)
        .sends(1, iu)
        .answers(3, 16);
    std::uint32_t length = 100;
    EXPECT_EQ(SendCTPassThru(0, iu.data(), 8, data.data(), &length), 0U);
    EXPECT_EQ(length, 16U);
  }
}

TEST_F(ScsiTest, CtPassThroughFoldsEveryFailureAndTheEmptyResponseIntoOne) {
  const ByteVector iu{1, 0, 0, 0, 0xFC, 0, 0, 0};
  for (const std::uint32_t status : {0U, 0x0BAD0021U, 0x0BAD005AU, 0x0BAD0014U}) {
    channel.expect("RAVN_MGMT_SEND_CT", board0)
        .word(2, 8)
        .word(3, 100)
        .word(4, 0xFFFFFC)
        .answers(3, 0)
        .status(status);
    std::uint32_t length = 100;
    EXPECT_EQ(SendCTPassThru(0, iu.data(), 8, data.data(), &length), 1U);
    EXPECT_EQ(length, 100U);
  }
}

}  // namespace
}  // namespace ovk::test
