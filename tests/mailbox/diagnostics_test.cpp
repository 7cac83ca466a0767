// Loopback tests, reset and dump support.

#include "tests/mailbox/mailbox_script.h"
#include "tests/support/library_test.h"

#include <ovk/core.h>

#include <array>

namespace ovk::test {
namespace {

class LoopbackTest : public LibraryTest {
 protected:
  Exchange& expect_mode(std::uint32_t code, std::uint32_t arg, std::uint32_t value) {
    return channel.expect("RAVN_MGMT_LOOPBACK_MODE", board0)
        .word(5, code)
        .word(7, arg)
        .sends(1, bytes_of(value));
  }

  Exchange& expect_frame(const ByteVector& frame) {
    return channel.expect("RAVN_MGMT_LOOPBACK_TEST", board0)
        .word(2, static_cast<std::uint32_t>(frame.size()))
        .sends(1, frame);
  }
};

TEST_F(LoopbackTest, ModesAreSentByTheirCodes) {
  expect_mode(1, 9, 0xFFFFFFFF);
  EXPECT_EQ(OVK_ConfigLoopback(0, 1, 9), OVK_OK);
  expect_mode(4, 8, 0xFFFFFFFF);
  EXPECT_EQ(OVK_ConfigLoopback(0, 2, 8), OVK_OK);
  EXPECT_EQ(OVK_ConfigLoopback(0, 0, 8), 3U);
  EXPECT_EQ(OVK_ConfigLoopback(0, 3, 8), 3U);

  for (const auto& [mode, code] : {std::pair{0U, 0U}, std::pair{1U, 1U}, std::pair{2U, 4U}}) {
    expect_mode(code, 7, 0x12345678);
    EXPECT_EQ(OVK_ConfigLoopbackV2(0, 0x12345678, mode, 7), OVK_OK);
  }
  EXPECT_EQ(OVK_ConfigLoopbackV2(0, 0x12345678, 3, 7), 3U);
  EXPECT_EQ(OVK_ConfigLoopbackV2(0, 0xFFFFFFFF, 0, 7), 3U);
  expect_mode(4, 7, 0xFFFFFFFF);
  EXPECT_EQ(OVK_ConfigLoopbackV2(0, 0xFFFFFFFF, 2, 7), OVK_OK);
}

TEST_F(LoopbackTest, ModeFailuresMapTheirStatusAndTheCallLineNamesAnotherCommand) {
  log_at(OVK_LOG_CALL | OVK_LOG_ERROR);
  expect_mode(1, 0, 0xFFFFFFFF).status(0x0BAD0021);
  EXPECT_EQ(OVK_ConfigLoopback(0, 1, 0), 2U);
  expect_mode(1, 0, 5).status(0x0BAD0039);
  EXPECT_EQ(OVK_ConfigLoopbackV2(0, 5, 1, 0), 1U);
  expect_mode(1, 0, 5).delivery_error(9);
  EXPECT_EQ(OVK_ConfigLoopbackV2(0, 5, 1, 0), 1U);
  const auto lines = log_lines();
  EXPECT_EQ(lines[0], (LogLine{"OVK_ConfigLoopback", "call: RAVN_MGMT_HBA_WWPNPORTATTRIBUTES id"}));
  EXPECT_EQ(lines[1], (LogLine{"OVK_ConfigLoopback",
                               "cmd err:      RAVN_MGMT_LOOPBACK_MODE "
                               "brd[0] stat[x0:xbad0021] id"}));
  EXPECT_EQ(lines[2].function, "OVK_ConfigLoopbackV2");
}

TEST_F(LoopbackTest, AFrameGoesOutWithItsSizeAndComesBack) {
  for (const std::size_t size : {0U, 100U, 65536U}) {
    const ByteVector frame = counting_bytes(size, 3);
    ByteVector received(size + 4, 0xEE);
    ByteVector expected = counting_bytes(size, 5);
    expect_frame(frame).replies(2, counting_bytes(65536, 5));
    expected.resize(size + 4, 0xEE);
    const LoopbackRequest request{static_cast<std::uint32_t>(size), frame.data(), received.data()};
    const AllocationWatch memory;
    EXPECT_EQ(OVK_RunLoopbackTest(0, &request), OVK_OK);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_EQ(received, expected);
  }
}

TEST_F(LoopbackTest, AFrameThatDoesNotComeBackLeavesTheReceiveBufferAlone) {
  const ByteVector frame(8, 1);
  ByteVector received(8, 0xEE);
  const LoopbackRequest request{8, frame.data(), received.data()};
  struct Case {
    std::uint32_t status;
    int delivery;
    std::uint32_t result;
  };
  for (const auto& [status, delivery, result] :
       {Case{0x0BAD000A, 0, 6}, Case{0x0BAD0039, 0, 3}, Case{0x0BAD0021, 0, 1}, Case{0, 9, 1}}) {
    expect_frame(frame).replies(2, frame).status(status).delivery_error(delivery);
    EXPECT_EQ(OVK_RunLoopbackTest(0, &request), result);
  }
  for (const int failing : {0, 1}) {
    const AllocationWatch memory{failing};
    EXPECT_EQ(OVK_RunLoopbackTest(0, &request), OVK_NO_MEMORY);
    EXPECT_EQ(memory.outstanding(), 0);
  }
  EXPECT_EQ(received, ByteVector(8, 0xEE));
}

TEST_F(LoopbackTest, AFrameThatIsTooLongEndsTheProcess) {
  const LoopbackRequest request{65537, nullptr, nullptr};
  EXPECT_DEATH(OVK_RunLoopbackTest(0, &request), "pLoopback->bufSize <= 65536");
}

TEST_F(LoopbackTest, TheEndIsALinkResetOnOlderAdaptersAndACommandOfItsOwnOnSli4) {
  log_at(OVK_LOG_SUCCESS);
  expect_no_sli_mode(board0);
  EXPECT_EQ(OVK_EndLoopback(0), 1U);

  expect_sli_mode(board0, 3);
  channel.expect("RAVN_MGMT_LIP", board0).status(0x0BAD0021);
  EXPECT_EQ(OVK_EndLoopback(0), 1U);
  expect_sli_mode(board0, 3);
  channel.expect("RAVN_MGMT_LIP", board0);
  EXPECT_EQ(OVK_EndLoopback(0), OVK_OK);
  EXPECT_EQ(log_lines().back().function, "ovk_EndLoopback");

  for (const auto& [status, result] :
       {std::pair{0x0BAD0021U, 2U}, std::pair{0x0BAD0039U, 1U}, std::pair{0U, 0U}}) {
    expect_sli_mode(board0, 4);
    channel.expect("RAVN_MGMT_DIAG_MODE_END", board0).word(7, 15).status(status);
    EXPECT_EQ(OVK_EndLoopback(0), result);
  }
  EXPECT_EQ(log_lines().back().function, "ovk_EndLoopback_sli4");
}

class ResetTest : public LibraryTest {
 protected:
  /** The revision is asked of driver board 0, whichever board is reset. */
  Exchange& expect_revision(std::uint32_t word8) {
    return channel.expect("RAVN_MGMT_GET_OVK_REV", no_board)
        .replies(1, std::array<std::uint32_t, 3>{7, 7, word8});
  }
};

TEST_F(ResetTest, SendsTheModesThatTheDriverHas) {
  log_at(OVK_LOG_SUCCESS);
  for (const auto& [mode, word8] : {std::pair{1U, 0U}, std::pair{2U, 0U}, std::pair{3U, 1U}}) {
    expect_revision(word8);
    channel.expect("RAVN_MGMT_RESET", board1).word(6, mode);
    EXPECT_EQ(OVK_ResetAdapter(1, mode), OVK_OK);
  }
  EXPECT_EQ(log_lines()[0].text, "cmd ok:         RAVN_MGMT_GET_OVK_REV brd[1] id");
}

TEST_F(ResetTest, RefusesOtherModesAfterTheRevisionQuery) {
  for (const auto& [mode, word8] : {std::pair{0U, 1U}, std::pair{3U, 0U}, std::pair{4U, 1U}}) {
    expect_revision(word8);
    EXPECT_EQ(OVK_ResetAdapter(0, mode), 4U);
  }
  expect_revision(1).status(0x0BAD0001);
  EXPECT_EQ(OVK_ResetAdapter(0, 1), 1U);
  expect_revision(1);
  channel.expect("RAVN_MGMT_RESET", board0).word(6, 1).status(0x0BAD0021);
  EXPECT_EQ(OVK_ResetAdapter(0, 1), 1U);
}

class DumpTest : public LibraryTest {
 protected:
  void expect_state(std::uint32_t sub_command, std::uint32_t answered_state) {
    channel.expect("RAVN_MGMT_SETDIAG", board0).word(6, sub_command).answers(4, answered_state);
  }
};

TEST_F(DumpTest, InducingADumpGivesFourAndItsFailureNothing) {
  for (const std::uint32_t sli_mode : {3U, 4U}) {
    expect_sli_mode(board0, sli_mode);
    channel.expect("RAVN_MGMT_INDUCE_DUMP", board0);
    EXPECT_EQ(OVK_SetDumpEnv(0, 4), 4U);
    expect_sli_mode(board0, sli_mode);
    channel.expect("RAVN_MGMT_INDUCE_DUMP", board0).status(0x0BAD0001);
    EXPECT_EQ(OVK_SetDumpEnv(0, 4), 0U);
  }
  expect_no_sli_mode(board0);
  EXPECT_EQ(OVK_SetDumpEnv(0, 4), 1U);
}

TEST_F(DumpTest, OtherModesSetTheBoardsStateWhereTheSliModeIsNotFour) {
  struct Case {
    std::uint32_t sli_mode, mode, sub_command, answered_state, result;
  };
  for (const auto& [sli_mode, mode, sub_command, answered_state, result] :
       {Case{3, 2, 20, 5, 2}, Case{3, 2, 20, 4, 2}, Case{3, 1, 17, 1, 1}, Case{5, 1, 17, 3, 3},
        Case{3, 5, 20, 6, 6}, Case{3, 0, 16, 0xFFFFFFFF, 0xFFFFFFFF}}) {
    expect_sli_mode(board0, sli_mode);
    expect_state(sub_command, answered_state);
    EXPECT_EQ(OVK_SetDumpEnv(0, mode), result);
  }
  expect_sli_mode(board0, 4);
  EXPECT_EQ(OVK_SetDumpEnv(0, 1), 0U);
  expect_sli_mode(board0, 3);
  EXPECT_EQ(OVK_SetDumpEnv(0, 6), 0U);
}

TEST_F(DumpTest, TheDescriptorIsCopiedAsFarAsItGoesAndItsLengthIsReported) {
  const ByteVector descriptor = counting_bytes(16);
  for (const std::uint32_t reported : {0U, 12U, 16U, 17U, 0xFFFFFFFFU}) {
    ByteVector dest(20, 0xEE);
    ByteVector expected{descriptor.begin(), descriptor.begin() + std::min(reported, 16U)};
    expected.resize(20, 0xEE);
    std::uint32_t length = 16;
    expect_sli_mode(board0, 3);
    channel.expect("RAVN_MGMT_GET_DUMPREGION", board0)
        .word(2, 16)
        .word(6, 9)
        .answers(3, reported)
        .replies(1, descriptor);
    const AllocationWatch memory;
    EXPECT_EQ(OVK_GetDriverDumpRegion(0, 9, dest.data(), &length), OVK_OK);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_EQ(length, reported);
    EXPECT_EQ(dest, expected);
  }
}

TEST_F(DumpTest, AFailedDescriptorQueryReportsTheLengthOnly) {
  ByteVector dest(16, 0xEE);
  std::uint32_t length = 16;
  struct Case {
    std::uint32_t status;
    int delivery;
    std::uint32_t result;
  };
  for (const auto& [status, delivery, result] :
       {Case{0x0BAD0007, 0, 2}, Case{0x0BAD0014, 0, 3}, Case{0x0BAD0003, 0, 4},
        Case{0x0BAD0001, 0, 1}, Case{0, 9, 1}}) {
    length = 16;
    expect_sli_mode(board0, 3);
    channel.expect("RAVN_MGMT_GET_DUMPREGION", board0)
        .word(2, 16)
        .answers(3, 5)
        .replies(1, counting_bytes(16))
        .status(status)
        .delivery_error(delivery);
    EXPECT_EQ(OVK_GetDriverDumpRegion(0, 0, dest.data(), &length), result);
    EXPECT_EQ(length, 5U);
  }
  expect_sli_mode(board0, 4);
  EXPECT_EQ(OVK_GetDriverDumpRegion(0, 0, dest.data(), &length), 2U);
  expect_no_sli_mode(board0);
  EXPECT_EQ(OVK_GetDriverDumpRegion(0, 0, dest.data(), &length), 1U);
  const AllocationWatch no_memory{0};
  EXPECT_EQ(OVK_GetDriverDumpRegion(0, 0, dest.data(), &length), OVK_NO_MEMORY);
  EXPECT_EQ(dest, ByteVector(16, 0xEE));
}

}  // namespace
}  // namespace ovk::test
