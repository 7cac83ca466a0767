// Loopback tests, reset and dump support.

#include "tests/library/mailbox/mailbox_script.h"

#include <ovk/core.h>

#include <array>
#include <utility>

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
  constexpr std::uint32_t no_value = 0xFFFFFFFF;
  for (const auto& [mode, code] : {std::pair{0U, 0U}, std::pair{1U, 1U}, std::pair{2U, 4U}}) {
    expect_mode(code, 7, 0x12345678);
    EXPECT_EQ(OVK_ConfigLoopbackV2(0, 0x12345678, mode, 7), OVK_OK);
  }
  EXPECT_EQ(OVK_ConfigLoopbackV2(0, 0x12345678, 3, 7), 3U);

  for (const auto& [mode, code] : {std::pair{1U, 1U}, std::pair{2U, 4U}}) {
    expect_mode(code, 9, no_value);
    EXPECT_EQ(OVK_ConfigLoopback(0, mode, 9), OVK_OK);
    expect_mode(code, 9, no_value);
    EXPECT_EQ(OVK_ConfigLoopbackV2(0, no_value, mode, 9), OVK_OK);
  }
  for (const std::uint32_t mode : {0U, 3U}) {
    EXPECT_EQ(OVK_ConfigLoopback(0, mode, 9), 3U);
    EXPECT_EQ(OVK_ConfigLoopbackV2(0, no_value, mode, 9), 3U);
  }
}

TEST_F(LoopbackTest, ModeFailuresMapTheirStatusAndTheCallLineNamesAnotherCommand) {
  log_at(OVK_LOG_CALL | OVK_LOG_ERROR);
  expect_mode(1, 0, 0xFFFFFFFF).status(0x0BAD0021);
  EXPECT_EQ(OVK_ConfigLoopback(0, 1, 0), 2U);
  EXPECT_THAT(log_lines(),
              testing::ElementsAre(
                  LogLine{"OVK_ConfigLoopback", "call: RAVN_MGMT_HBA_WWPNPORTATTRIBUTES id"},
                  LogLine{"OVK_ConfigLoopback",
                          "cmd err:      RAVN_MGMT_LOOPBACK_MODE brd[0] stat[x0:xbad0021] id"}));
  expect_mode(1, 0, 5).status(0x0BAD0039);
  EXPECT_EQ(OVK_ConfigLoopbackV2(0, 5, 1, 0), 1U);
  expect_mode(1, 0, 5).delivery_error(9);
  EXPECT_EQ(OVK_ConfigLoopbackV2(0, 5, 1, 0), 1U);
  EXPECT_EQ(log_lines().back().function, "OVK_ConfigLoopbackV2");
}

TEST_F(LoopbackTest, AFrameGoesOutWithItsSizeAndComesBack) {
  for (const std::size_t size : {0U, 100U, 65536U}) {
    const ByteVector frame = counted_bytes(size, 3);
    ByteVector received(size + 4, 0xEE);
    ByteVector expected = counted_bytes(size, 5);
    expected.resize(size + 4, 0xEE);
    expect_frame(frame).replies(2, counted_bytes(65536, 5));
    const LoopbackRequest request{static_cast<std::uint32_t>(size), frame.data(), received.data()};
    const AllocationWatch memory;
    EXPECT_EQ(OVK_RunLoopbackTest(0, &request), OVK_OK);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_THAT(received, SameBytes(expected));
  }
}

TEST_F(LoopbackTest, AFrameThatDoesNotComeBackLeavesTheReceiveBufferAlone) {
  const ByteVector frame(8, 1);
  ByteVector received(8, 0xEE);
  const LoopbackRequest request{8, frame.data(), received.data()};
  for (const auto& [status, delivery, result] : {Ending{0x0BAD000A, 0, 6}, Ending{0x0BAD0039, 0, 3},
                                                 Ending{0x0BAD0021, 0, 1}, Ending{0, 9, 1}}) {
    expect_frame(frame).replies(2, frame).ends_with(status, delivery);
    EXPECT_EQ(OVK_RunLoopbackTest(0, &request), result) << std::hex << status;
  }
  for (const int failing : {0, 1}) {
    const AllocationWatch memory{failing};
    EXPECT_EQ(OVK_RunLoopbackTest(0, &request), OVK_NO_MEMORY);
    EXPECT_EQ(memory.outstanding(), 0);
  }
  EXPECT_THAT(received, SameBytes(ByteVector(8, 0xEE)));

  const LoopbackRequest too_long{65537, nullptr, nullptr};
  EXPECT_DEATH(OVK_RunLoopbackTest(0, &too_long), "pLoopback->bufSize <= 65536");
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
    EXPECT_EQ(OVK_EndLoopback(0), result) << std::hex << status;
  }
  EXPECT_EQ(log_lines().back().function, "ovk_EndLoopback_sli4");
}

class ResetTest : public LibraryTest {
 protected:
  /** The revision is asked of driver board 0, whichever board is reset. */
  Exchange& expect_revision(std::uint32_t has_mode3) {
    return channel.expect("RAVN_MGMT_GET_OVK_REV", no_board)
        .replies(1, std::array{7U, 7U, has_mode3});
  }
};

TEST_F(ResetTest, SendsTheModesThatTheDriverHas) {
  log_at(OVK_LOG_SUCCESS);
  for (const auto& [mode, has_mode3] : {std::pair{1U, 0U}, std::pair{2U, 0U}, std::pair{3U, 1U}}) {
    expect_revision(has_mode3);
    channel.expect("RAVN_MGMT_RESET", board1).word(6, mode);
    EXPECT_EQ(OVK_ResetAdapter(1, mode), OVK_OK);
  }
  EXPECT_EQ(log_lines().front().text, "cmd ok:         RAVN_MGMT_GET_OVK_REV brd[1] id");
}

TEST_F(ResetTest, RefusesOtherModesAfterTheRevisionQuery) {
  for (const auto& [mode, has_mode3] : {std::pair{0U, 1U}, std::pair{3U, 0U}, std::pair{4U, 1U}}) {
    expect_revision(has_mode3);
    EXPECT_EQ(OVK_ResetAdapter(0, mode), 4U) << mode;
  }
  expect_revision(1).status(0x0BAD0001);
  EXPECT_EQ(OVK_ResetAdapter(0, 1), 1U);
  expect_revision(1);
  channel.expect("RAVN_MGMT_RESET", board0).word(6, 1).status(0x0BAD0021);
  EXPECT_EQ(OVK_ResetAdapter(0, 1), 1U);
}

class DumpTest : public MailboxTest {
 protected:
  /** Expects the question for a descriptor of 16 bytes, and answers that it has this length. */
  Exchange& expect_descriptor(std::uint32_t selector, std::uint32_t reported) {
    expect_sli_mode(board0, 3);
    return channel.expect("RAVN_MGMT_GET_DUMPREGION", board0)
        .word(2, 16)
        .word(6, selector)
        .answers(3, reported)
        .replies(1, counted_bytes(16));
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
  struct {
    std::uint32_t sli_mode;
    std::uint32_t mode;
    std::uint32_t sub_command;
    std::uint32_t answered_state;
    std::uint32_t result;
  } const cases[] = {{3, 2, 20, 5, 2}, {3, 2, 20, 4, 2}, {3, 1, 17, 1, 1},
                     {5, 1, 17, 3, 3}, {3, 5, 20, 6, 6}, {3, 0, 16, 0xFFFFFFFF, 0xFFFFFFFF}};
  for (const auto& [sli_mode, mode, sub_command, answered_state, result] : cases) {
    expect_sli_mode(board0, sli_mode);
    channel.expect("RAVN_MGMT_SETDIAG", board0).word(6, sub_command).answers(4, answered_state);
    EXPECT_EQ(OVK_SetDumpEnv(0, mode), result)
        << sli_mode << ", " << mode << ", " << answered_state;
  }
  expect_sli_mode(board0, 4);
  EXPECT_EQ(OVK_SetDumpEnv(0, 1), 0U);
  expect_sli_mode(board0, 3);
  EXPECT_EQ(OVK_SetDumpEnv(0, 6), 0U);
}

TEST_F(DumpTest, TheDescriptorIsCopiedAsFarAsItGoesAndItsLengthIsReported) {
  for (const std::uint32_t reported : {0U, 12U, 16U, 17U, 0xFFFFFFFFU}) {
    ByteVector dest(20, 0xEE);
    ByteVector expected = counted_bytes(std::min(reported, 16U));
    expected.resize(20, 0xEE);
    std::uint32_t length = 16;
    expect_descriptor(9, reported);
    const AllocationWatch memory;
    EXPECT_EQ(OVK_GetDriverDumpRegion(0, 9, dest.data(), &length), OVK_OK);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_EQ(length, reported);
    EXPECT_EQ(dest, expected) << reported;
  }
}

TEST_F(DumpTest, AFailedDescriptorQueryReportsTheLengthOnly) {
  ByteVector dest(16, 0xEE);
  std::uint32_t length = 16;
  for (const auto& [status, delivery, result] :
       {Ending{0x0BAD0007, 0, 2}, Ending{0x0BAD0014, 0, 3}, Ending{0x0BAD0003, 0, 4},
        Ending{0x0BAD0001, 0, 1}, Ending{0, 9, 1}}) {
    length = 16;
    expect_descriptor(0, 5).ends_with(status, delivery);
    EXPECT_EQ(OVK_GetDriverDumpRegion(0, 0, dest.data(), &length), result) << std::hex << status;
    EXPECT_EQ(length, 5U);
  }
  const auto query = [&] { return OVK_GetDriverDumpRegion(0, 0, dest.data(), &length); };
  expect_gate(query, 4, 2);
  const AllocationWatch no_memory{0};
  EXPECT_EQ(query(), OVK_NO_MEMORY);
  EXPECT_EQ(dest, ByteVector(16, 0xEE));
}

}  // namespace
}  // namespace ovk::test
