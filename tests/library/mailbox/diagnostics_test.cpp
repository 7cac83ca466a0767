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

TEST_F(LoopbackTest, AFrameThatIsTooLongEndsTheProgram) {
  const LoopbackRequest too_long{65537, nullptr, nullptr};
  EXPECT_DEATH(OVK_RunLoopbackTest(0, &too_long), "pLoopback->bufSize <= 65536");
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

}  // namespace
}  // namespace ovk::test
