// Loopback tests, reset and dump support.

#include "tests/library/mailbox/mailbox_script.h"

#include <array>

namespace ovk::test {
namespace {

using DiagnosticsTest = LibraryTest;

TEST_F(DiagnosticsTest, LoopbackWithoutAValueHasNoModeZero) {
  constexpr std::uint32_t none = 0xFFFFFFFF;
  channel.expect("RAVN_MGMT_LOOPBACK_MODE", board0).word(7, 9).sends(1, 8U);
  EXPECT_EQ(OVK_ConfigLoopbackV2(0, 8, 0, 9), OVK_OK);
  channel.expect("RAVN_MGMT_LOOPBACK_MODE", board0).word(5, 1).word(7, 9).sends(1, none);
  EXPECT_EQ(OVK_ConfigLoopbackV2(0, none, 1, 9), OVK_OK);
  for (const std::uint32_t mode : {0U, 3U}) {
    EXPECT_EQ(OVK_ConfigLoopback(0, mode, 9), 3U);
    EXPECT_EQ(OVK_ConfigLoopbackV2(0, none, mode, 9), 3U);
  }
  EXPECT_EQ(OVK_ConfigLoopbackV2(0, 8, 3, 9), 3U);
}

TEST_F(DiagnosticsTest, TheLongestLoopbackFrameGoesOutWholeAndALongerOneEndsTheProgram) {
  const ByteVector frame = counted_bytes(65536, 3);
  ByteVector received(65536);
  LoopbackRequest request{65536, frame.data(), received.data()};
  channel.expect("RAVN_MGMT_LOOPBACK_TEST", board0)
      .word(2, 65536)
      .sends(1, frame)
      .replies(2, counted_bytes(65536, 5));
  EXPECT_EQ(OVK_RunLoopbackTest(0, &request), OVK_OK);
  EXPECT_THAT(received, SameBytes(counted_bytes(65536, 5)));
  request.bufSize = 65537;
  EXPECT_DEATH(OVK_RunLoopbackTest(0, &request), "pLoopback->bufSize <= 65536");
}

TEST_F(DiagnosticsTest, AResetSendsTheModesThatTheDriverHasAndAsksForThemAtItsBoard0) {
  log_at(OVK_LOG_SUCCESS);
  const auto expect_revision = [this](std::uint32_t has_mode3) -> Exchange& {
    return channel.expect("RAVN_MGMT_GET_OVK_REV", no_board)
        .replies(1, std::array{7U, 7U, has_mode3});
  };
  using Case = std::array<std::uint32_t, 3>;
  for (const auto& [mode, has_mode3, result] :
       {Case{1, 0, 0}, Case{2, 0, 0}, Case{3, 1, 0}, Case{0, 1, 4}, Case{3, 0, 4}, Case{4, 1, 4}}) {
    expect_revision(has_mode3);
    if (result == OVK_OK) {
      channel.expect("RAVN_MGMT_RESET", board1).word(6, mode);
    }
    EXPECT_EQ(OVK_ResetAdapter(1, mode), result) << mode;
  }
  EXPECT_EQ(log_lines().front().text, "cmd ok:         RAVN_MGMT_GET_OVK_REV brd[1] id");

  expect_revision(1).status(0x0BAD0001);
  EXPECT_EQ(OVK_ResetAdapter(0, 1), 1U);
  expect_revision(1);
  channel.expect("RAVN_MGMT_RESET", board0).word(6, 1).status(0x0BAD0021);
  EXPECT_EQ(OVK_ResetAdapter(0, 1), 1U);
}

TEST_F(DiagnosticsTest, OtherDumpModesSetTheBoardsStateWhereTheSliModeIsNotFour) {
  using Case = std::array<std::uint32_t, 5>;
  for (const auto& [sli_mode, mode, sub_command, answered_state, result] :
       {Case{3, 2, 20, 5, 2}, Case{3, 2, 20, 4, 2}, Case{5, 1, 17, 3, 3}, Case{3, 5, 20, 6, 6}}) {
    expect_sli_mode(board0, sli_mode);
    channel.expect("RAVN_MGMT_SETDIAG", board0).word(6, sub_command).answers(4, answered_state);
    EXPECT_EQ(OVK_SetDumpEnv(0, mode), result) << mode << ", " << answered_state;
  }
  expect_sli_mode(board0, 4);
  EXPECT_EQ(OVK_SetDumpEnv(0, 1), 0U);
  expect_sli_mode(board0, 3);
  EXPECT_EQ(OVK_SetDumpEnv(0, 6), 0U);
}

}  // namespace
}  // namespace ovk::test
