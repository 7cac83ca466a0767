#include "library/mailbox/passthrough.h"

#include "tests/library/mailbox/mailbox_script.h"

#include <ovk/core.h>

#include <array>
#include <vector>

namespace ovk::test {
namespace {

using Words = std::vector<std::uint32_t>;

constexpr MailboxEnding failures[] = {
    {0x0BAD005A, 0, 77, 252, 3}, {0x0BAD0039, 0, 77, 253, 1}, {0x0BAD0004, 0, 77, 254, 1},
    {0x0BAD0001, 0, 77, 252, 1}, {0, 19, 77, 252, 1},         {0x0BAD0039, 19, 77, 253, 1},
    {0, 0, 0xFFFD, 0xFFFD, 1},
};

class PassthroughTest : public MailboxTest {};

TEST_F(PassthroughTest, PassesTheNamedWordsOnlyAndReturnsThem) {
  Mailbox mailbox = mailbox_of(0x05);
  expect_mailbox(mailbox, 10, 96).sends(1, ByteVector{}).replies(2, returned_mailbox(0));
  ByteVector expected = bytes_of(returned_mailbox(0));
  expected.resize(40);
  expected.resize(sizeof mailbox, 0x5A);
  const AllocationWatch memory;
  EXPECT_EQ(_IssueMbox(0, &mailbox, 10, 96, 3), OVK_OK);
  EXPECT_EQ(memory.allocations(), 1);
  EXPECT_EQ(memory.outstanding(), 0);
  EXPECT_THAT(bytes_of(mailbox), SameBytes(expected));
}

TEST_F(PassthroughTest, RefusesWhatIsLongerThanTheModeAdmits) {
  struct {
    std::uint32_t in_words;
    std::uint32_t out_bytes;
    std::uint32_t mode;
  } const cases[] = {{33, 0, 3},  {1, 129, 3},  {33, 0, 5},         {1, 129, 5},
                     {513, 0, 4}, {1, 2049, 4}, {0xFFFFFFFF, 0, 4}, {0x40000001, 0, 3}};
  for (const auto& [in_words, out_bytes, mode] : cases) {
    SCOPED_TRACE(testing::Message() << in_words << ", " << out_bytes << ", " << mode);
    Mailbox mailbox = mailbox_of(0x05);
    const AllocationWatch memory;
    EXPECT_EQ(_IssueMbox(0, &mailbox, in_words, out_bytes, mode), OVK_FAILED);
    EXPECT_EQ(mailbox.status, OVK_MAILBOX_NOT_ISSUED);
    EXPECT_EQ(memory.allocations(), 0);
  }
}

TEST_F(PassthroughTest, TheLongestAdmittedMailboxIsToldWholeButMovedUpToTheBuffer) {
  std::array<Mailbox, 8> mailbox{};
  mailbox.fill(mailbox_of(0x05));
  const ByteVector behind = bytes_of(mailbox[1]);
  expect_mailbox(mailbox[0], 512, 2048).replies(2, returned_mailbox(0));
  EXPECT_EQ(_IssueMbox(0, mailbox.data(), 512, 2048, 4), OVK_OK);
  EXPECT_THAT(bytes_of(mailbox[0]), SameBytes(bytes_of(returned_mailbox(0))));
  EXPECT_THAT(bytes_of(mailbox[1]), SameBytes(behind));
}

TEST_F(PassthroughTest, ReadsIntoTheCallersMemoryThatTheMailboxNames) {
  for (const auto code : {std::uint8_t{0x38}, std::uint8_t{0x8D}, std::uint8_t{0x8F}}) {
    ByteVector memory(4096, 1);
    // The length has 24 bits; what stands above it is the firmware's.
    Mailbox mailbox = mailbox_of(code, {{3, 0xAB000000 | 4095}, {4, address_of(memory.data())}});
    ByteVector expected = counted_bytes(4096);
    expect_mailbox(mailbox, 32, 128).sends(1, ByteVector{}).replies(1, expected);
    expected.back() = 1;
    EXPECT_EQ(_IssueMbox(0, &mailbox, 32, 128, 3), OVK_OK);
    EXPECT_THAT(memory, SameBytes(expected));
  }
}

TEST_F(PassthroughTest, WritesFromAndReadsIntoTheMemoryOfOneMailbox) {
  const ByteVector source = counted_bytes(4096, 3);
  ByteVector destination(16, 1);
  Mailbox mailbox = mailbox_of(
      0x84,
      {{2, 4096}, {3, address_of(source.data())}, {5, 15}, {6, address_of(destination.data())}});
  ByteVector expected = counted_bytes(16, 9);
  expect_mailbox(mailbox, 32, 128).sends(1, source).replies(1, expected);
  expected.back() = 1;
  EXPECT_EQ(_IssueMbox(0, &mailbox, 32, 128, 3), OVK_OK);
  EXPECT_EQ(destination, expected);
}

TEST_F(PassthroughTest, NothingIsReadAfterAFailureOrToNowhere) {
  ByteVector memory(8, 1);
  Mailbox mailbox = mailbox_of(0x38, {{3, 8}, {4, address_of(memory.data())}});
  expect_mailbox(mailbox, 32, 128).replies(1, counted_bytes(8, 9)).replies(2, returned_mailbox(7));
  EXPECT_EQ(_IssueMbox(0, &mailbox, 32, 128, 3), OVK_FAILED);
  EXPECT_EQ(memory, ByteVector(8, 1));
  EXPECT_EQ(mailbox.status, 7);

  mailbox = mailbox_of(0x84, {{2, 8}, {3, 0}, {5, 8}, {6, 0}});
  expect_mailbox(mailbox, 32, 128).sends(1, ByteVector{});
  EXPECT_EQ(_IssueMbox(0, &mailbox, 32, 128, 3), OVK_OK);
}

TEST_F(PassthroughTest, ExtensionsThatNoCallerMayNameEndTheProcess) {
  Mailbox mailbox = mailbox_of(0x38, {{3, 4097}, {4, 0}});
  EXPECT_DEATH(_IssueMbox(0, &mailbox, 32, 128, 3), "read_size <= 4096");
  mailbox = mailbox_of(0x84, {{2, 4097}, {3, 0}, {5, 4097}, {6, 0}});
  EXPECT_DEATH(_IssueMbox(0, &mailbox, 32, 128, 3), "write_size <= 4096");
  mailbox = mailbox_of(0x84, {{2, 0}, {3, 0}, {5, 0xFFFFFF}, {6, 0}});
  EXPECT_DEATH(_IssueMbox(0, &mailbox, 32, 128, 3), "read_size <= 4096");
}

TEST_F(PassthroughTest, FailuresStandInTheReturnedMailboxAndInTheResult) {
  for (const auto& [status, delivery, returned, mailbox_status, result] : failures) {
    SCOPED_TRACE(testing::Message() << std::hex << status << ", " << delivery << ", " << returned);
    Mailbox mailbox = mailbox_of(0x05);
    expect_mailbox(mailbox, 32, 0)
        .replies(2, returned_mailbox(returned))
        .ends_with(status, delivery);
    EXPECT_EQ(_IssueMbox(0, &mailbox, 32, 0, 3), result);
    EXPECT_EQ(mailbox.status, mailbox_status);
    EXPECT_EQ(mailbox.words4[30], 0xA5A5A5A5);
  }
}

TEST_F(PassthroughTest, TheResultLinesNameTheDumpCommand) {
  log_at(OVK_LOG_CALL | OVK_LOG_SUCCESS | OVK_LOG_ERROR);
  Mailbox mailbox{};
  expect_mailbox(mailbox, 1, 0);
  EXPECT_EQ(_IssueMbox(0, &mailbox, 1, 0, 3), OVK_OK);
  expect_mailbox(mailbox, 1, 0).status(0x0BAD0039);
  EXPECT_EQ(_IssueMbox(0, &mailbox, 1, 0, 3), OVK_FAILED);
  const LogLine call{"_IssueMbox", "call: RAVN_MGMT_MBOX id"};
  EXPECT_EQ(
      log_lines(),
      (std::vector<LogLine>{
          call,
          {"_IssueMbox", "cmd ok:         RAVN_MGMT_INDUCE_DUMP brd[0] id"},
          call,
          {"_IssueMbox", "cmd err:        RAVN_MGMT_INDUCE_DUMP brd[0] stat[x0:xbad0039] id"}}));
}

TEST_F(PassthroughTest, TheOrdinaryCallIsForOlderAdapters) {
  Mailbox mailbox = mailbox_of(0x05);
  expect_gate([&] { return IssueMbox(0, &mailbox, 32, 128); }, 4, 3);
  expect_sli_mode(board0, 3);
  EXPECT_EQ(IssueMbox(0, &mailbox, 33, 128), OVK_FAILED);
  expect_sli_mode(board0, 3);
  expect_mailbox(mailbox, 32, 128);
  EXPECT_EQ(IssueMbox(0, &mailbox, 32, 128), OVK_OK);
}

class ExtendedPassthroughTest : public MailboxTest {};

TEST_F(ExtendedPassthroughTest, CarriesDataBothWaysBesideThirtyTwoWords) {
  Mailbox mailbox = mailbox_of(0x17);
  Words ext{0x04030201, 0x08070605, 99, 98};
  expect_extended_mailbox(mailbox, extended_data(8, 12, 5, {1, 2, 3, 4, 5, 6, 7, 8}))
      .sends(1, ByteVector{})
      .replies(2, returned_mailbox(0))
      .replies(3, extended_data(0, 12, 0, {9, 0, 0, 0, 8, 0, 0, 0, 7, 0, 0, 0, 6, 0, 0, 0}));
  EXPECT_EQ(IssueMboxEx(0, &mailbox, ext.data(), 5, 2, 3), OVK_OK);
  EXPECT_EQ(ext, (Words{9, 8, 7, 98}));
  EXPECT_EQ(mailbox.words4[30], 0xA5A5A5A5);
  EXPECT_EQ(mailbox.words4[31], 0x5A5A5A5A) << "the 33rd word stays";
}

TEST_F(ExtendedPassthroughTest, WordCountsBeyondTheDataAreToldButNotFollowed) {
  Mailbox mailbox = mailbox_of(0x17);
  Words ext(512, 0x01010101);
  ext.push_back(77);
  expect_extended_mailbox(mailbox, extended_data(0xFFFFFFFC, 2052, 1, ByteVector(2048, 1)))
      .replies(3, extended_data(0, 0, 0, ByteVector(2048, 2)));
  EXPECT_EQ(IssueMboxEx(0, &mailbox, ext.data(), 1, 0xFFFFFFFF, 513), OVK_OK);
  Words expected(512, 0x02020202);
  expected.push_back(77);
  EXPECT_THAT(bytes_of(ext), SameBytes(bytes_of(expected)));
}

TEST_F(ExtendedPassthroughTest, FailuresDeliverNoData) {
  Words ext{1};
  for (const auto& [status, delivery, returned, mailbox_status, result] : failures) {
    SCOPED_TRACE(testing::Message() << std::hex << status << ", " << delivery << ", " << returned);
    Mailbox mailbox = mailbox_of(0x17);
    expect_extended_mailbox(mailbox, extended_data(0, 4, 0, {}))
        .replies(2, returned_mailbox(returned))
        .replies(3, extended_data(0, 4, 0, {2, 2, 2, 2}))
        .ends_with(status, delivery);
    EXPECT_EQ(IssueMboxEx(0, &mailbox, ext.data(), 0, 0, 1), result);
    EXPECT_EQ(mailbox.status, mailbox_status);
  }
  Mailbox mailbox = mailbox_of(0x17);
  const AllocationWatch no_memory{0};
  EXPECT_EQ(IssueMboxEx(0, &mailbox, ext.data(), 0, 0, 1), OVK_NO_MEMORY);
  EXPECT_EQ(mailbox.status, 0);
  EXPECT_EQ(ext, Words{1});
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
