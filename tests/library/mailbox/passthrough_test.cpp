#include "library/mailbox/passthrough.h"

#include "tests/library/mailbox/mailbox_script.h"

#include <ovk/core.h>

#include <array>
#include <vector>

namespace ovk::test {
namespace {

class PassthroughTest : public MailboxTest {};

TEST_F(PassthroughTest, PassesTheNamedWordsOnlyAndReturnsThem) {
  Mailbox mailbox = mailbox_of(0x05);
  expect_mailbox(mailbox, 10, 96).sends(1, ByteVector{}).replies(2, returned_mailbox(0));
  const AllocationWatch memory;
  EXPECT_EQ(_IssueMbox(0, &mailbox, 10, 96, 3), OVK_OK);
  EXPECT_EQ(memory.outstanding(), 0);
  EXPECT_THAT(bytes_of(mailbox), SameBytes(partly_returned(0, 10)));
}

TEST_F(PassthroughTest, RefusesWhatIsLongerThanTheModeAdmits) {
  using Case = std::array<std::uint32_t, 3>;
  for (const auto& [in_words, out_bytes, mode] :
       {Case{33, 0, 3}, Case{1, 129, 3}, Case{33, 0, 5}, Case{1, 129, 5}, Case{513, 0, 4},
        Case{1, 2049, 4}, Case{0xFFFFFFFF, 0, 4}, Case{0x40000001, 0, 3}}) {
    SCOPED_TRACE(testing::Message() << in_words << ", " << out_bytes << ", " << mode);
    Mailbox mailbox = mailbox_of(0x05);
    const AllocationWatch memory;
    EXPECT_EQ(_IssueMbox(0, &mailbox, in_words, out_bytes, mode), OVK_FAILED);
    EXPECT_EQ(mailbox.status, OVK_MAILBOX_NOT_ISSUED);
    EXPECT_EQ(memory.allocations(), 0);
  }
}

TEST_F(PassthroughTest, MovesTheCallersMemoryThatTheMailboxNames) {
  const ByteVector source = counted_bytes(4096, 3);
  for (const std::uint32_t size : {15U, 4096U}) {
    ByteVector memory(4097);
    const std::uint32_t read = address_of(memory.data());
    // The length has 24 bits; what stands above it is the firmware's.
    const std::uint32_t length = 0xAB000000 | size;
    for (Mailbox mailbox :
         {mailbox_of(0x38, {{3, length}, {4, read}}), mailbox_of(0x8D, {{3, length}, {4, read}}),
          mailbox_of(0x8F, {{3, length}, {4, read}}),
          mailbox_of(0x84, {{2, 4096}, {3, address_of(&source[0])}, {5, length}, {6, read}})}) {
      SCOPED_TRACE(+mailbox.command);
      memory.assign(4097, 1);
      expect_mailbox(mailbox, 32, 128)
          .sends(1, mailbox.command == 0x84 ? source : ByteVector{})
          .replies(1, counted_bytes(4096));
      EXPECT_EQ(_IssueMbox(0, &mailbox, 32, 128, 3), OVK_OK);
      ByteVector expected = counted_bytes(size);
      expected.resize(4097, 1);
      EXPECT_THAT(memory, SameBytes(expected));
    }
  }
  Mailbox nowhere = mailbox_of(0x84, {{2, 8}, {3, 0}, {5, 8}, {6, 0}});
  expect_mailbox(nowhere, 32, 128).sends(1, ByteVector{});
  EXPECT_EQ(_IssueMbox(0, &nowhere, 32, 128, 3), OVK_OK);
}

TEST_F(PassthroughTest, ExtensionsThatNoCallerMayNameEndTheProcess) {
  Mailbox mailbox = mailbox_of(0x38, {{3, 4097}, {4, 0}});
  EXPECT_DEATH(_IssueMbox(0, &mailbox, 32, 128, 3), "read_size <= 4096");
  mailbox = mailbox_of(0x84, {{2, 4097}, {3, 0}, {5, 0}, {6, 0}});
  EXPECT_DEATH(_IssueMbox(0, &mailbox, 32, 128, 3), "write_size <= 4096");
}

TEST_F(PassthroughTest, FailuresStandInTheReturnedMailboxAndInTheResultAndReadNothing) {
  std::uint32_t memory = 1;
  for (const auto& [status, delivery, returned, mailbox_status, result] : mailbox_failures) {
    SCOPED_TRACE(testing::Message() << std::hex << status << ", " << delivery << ", " << returned);
    Mailbox mailbox = mailbox_of(0x38, {{3, 4}, {4, address_of(&memory)}});
    expect_mailbox(mailbox, 32, 0)
        .replies(1, ByteVector(4096, 2))
        .replies(2, returned_mailbox(returned))
        .ends_with(status, delivery);
    EXPECT_EQ(_IssueMbox(0, &mailbox, 32, 0, 3), result);
    EXPECT_THAT(bytes_of(mailbox), SameBytes(partly_returned(mailbox_status, 32)));

    mailbox = mailbox_of(0x17);
    expect_extended_mailbox(mailbox, extended_data(0, 4, 0, {}))
        .replies(2, returned_mailbox(returned))
        .replies(3, ByteVector(13, 2))
        .ends_with(status, delivery);
    EXPECT_EQ(IssueMboxEx(0, &mailbox, &memory, 0, 0, 1), result);
    EXPECT_THAT(bytes_of(mailbox), SameBytes(partly_returned(mailbox_status, 32)));
  }
  EXPECT_EQ(memory, 1U);
}

TEST_F(PassthroughTest, TheResultLinesNameTheDumpCommand) {
  log_at(OVK_LOG_CALL | OVK_LOG_SUCCESS | OVK_LOG_ERROR);
  Mailbox mailbox{};
  expect_mailbox(mailbox, 1, 0);
  expect_mailbox(mailbox, 1, 0).status(0x0BAD0039);
  EXPECT_EQ(_IssueMbox(0, &mailbox, 1, 0, 3), OVK_OK);
  EXPECT_EQ(_IssueMbox(0, &mailbox, 1, 0, 3), OVK_FAILED);
  const LogLine call{"_IssueMbox", "call: RAVN_MGMT_MBOX id"};
  const std::string success = "cmd ok:         RAVN_MGMT_INDUCE_DUMP brd[0] id";
  const std::string failure = "cmd err:        RAVN_MGMT_INDUCE_DUMP brd[0] stat[x0:xbad0039] id";
  EXPECT_EQ(log_lines(),
            (std::vector<LogLine>{call, {"_IssueMbox", success}, call, {"_IssueMbox", failure}}));
}

TEST_F(PassthroughTest, TheOrdinaryCallIsForOlderAdapters) {
  Mailbox mailbox = mailbox_of(0x05);
  expect_gate([&] { return IssueMbox(0, &mailbox, 32, 128); }, 4, OVK_MAILBOX_NOT_READY);
  expect_sli_mode(board0, 3);
  EXPECT_EQ(IssueMbox(0, &mailbox, 33, 128), OVK_FAILED);
  expect_sli_mode(board0, 3);
  expect_mailbox(mailbox, 32, 128);
  EXPECT_EQ(IssueMbox(0, &mailbox, 32, 128), OVK_OK);
}

TEST_F(PassthroughTest, ExtendedDataGoesBothWaysBesideThirtyTwoWordsAsFarAsItsBufferGoes) {
  Mailbox mailbox = mailbox_of(0x17);
  std::vector<std::uint32_t> ext(513, 0x01010101);
  expect_extended_mailbox(mailbox, extended_data(8, 12, 5, ByteVector(8, 1)))
      .sends(1, ByteVector{})
      .replies(2, returned_mailbox(0))
      .replies(3, extended_data(0, 12, 0, counted_bytes(16)));
  EXPECT_EQ(IssueMboxEx(0, &mailbox, ext.data(), 5, 2, 3), OVK_OK);
  EXPECT_THAT(bytes_of(mailbox), SameBytes(partly_returned(0, 32)));
  ByteVector expected = counted_bytes(12);
  expected.resize(513 * 4, 1);
  EXPECT_THAT(bytes_of(ext), SameBytes(expected));

  expected.resize(2048);
  expect_extended_mailbox(mailbox, extended_data(0xFFFFFFFC, 2052, 1, expected))
      .replies(3, ByteVector(2057, 3));
  EXPECT_EQ(IssueMboxEx(0, &mailbox, ext.data(), 1, 0xFFFFFFFF, 513), OVK_OK);
  EXPECT_EQ(ext[511], 0x03030303U);
  EXPECT_EQ(ext[512], 0x01010101U);

  const AllocationWatch no_memory{0};
  EXPECT_EQ(IssueMboxEx(0, &mailbox, nullptr, 0, 0, 1), OVK_NO_MEMORY);
}

TEST(MailboxCompatibilityTest, TheSharedRecordsStartOutZeroAndTheStubRefuses) {
  EXPECT_THAT(ovk_sli4_nop_cmd_rsp, testing::Each(0U));
  EXPECT_THAT(ravn_sli4_dcbx_mode_cmd, testing::Each(0U));
  EXPECT_THAT(ovk_sli4_get_ctrl_attr_cmd_rsp, testing::Each(0U));
  EXPECT_THAT(ovk_sli4_get_dcbx_mode_cmd_rsp, testing::Each(0U));
  EXPECT_THAT(ravn_sli4_dcbx_mode_rsp, testing::Each(0U));
  EXPECT_THAT(ovk_sli4_read_fcf_table_cmd_rsp, testing::Each(0U));
  EXPECT_EQ(OVK_SendHarrowCommand(0, 1, 2, 3), OVK_NOT_SUPPORTED);
}

}  // namespace
}  // namespace ovk::test
