#include "mailbox/passthrough.h"

#include "tests/mailbox/mailbox_script.h"
#include "tests/support/library_test.h"

#include <ovk/core.h>

#include <array>
#include <vector>

namespace ovk::test {
namespace {

using Words = std::vector<std::uint32_t>;

class PassthroughTest : public LibraryTest {
 protected:
  /** Expects a mailbox as _IssueMbox sends it, without extension or extended data. */
  Exchange& expect_mailbox(const ByteVector& mailbox, std::uint32_t in_words,
                           std::uint32_t out_bytes) {
    return channel.expect("RAVN_MGMT_MBOX", board0)
        .word(2, in_words * 4)
        .word(3, out_bytes)
        .sends(2, mailbox)
        .sends(3, ByteVector{});
  }
};

TEST_F(PassthroughTest, PassesTheNamedWordsOnlyAndReturnsThem) {
  Mailbox mailbox = mailbox_of(0x05);
  expect_mailbox(sent_mailbox(mailbox, 40), 10, 96)
      .sends(1, ByteVector{})
      .replies(2, returned_mailbox(0));
  ByteVector expected = returned_mailbox(0);
  expected.resize(40);
  expected.resize(sizeof mailbox, 0x5A);
  {
    const AllocationWatch memory;
    EXPECT_EQ(_IssueMbox(0, &mailbox, 10, 96, 3), OVK_OK);
    EXPECT_EQ(memory.allocations(), 1);
    EXPECT_EQ(memory.outstanding(), 0);
  }
  EXPECT_EQ(bytes_of(mailbox), expected);
}

TEST_F(PassthroughTest, RefusesWhatIsLongerThanTheModeAdmits) {
  struct Case {
    std::uint32_t in_words, out_bytes, mode;
  };
  for (const auto& [in_words, out_bytes, mode] :
       {Case{33, 0, 3}, Case{1, 129, 3}, Case{33, 0, 5}, Case{1, 129, 5}, Case{513, 0, 4},
        Case{1, 2049, 4}, Case{0xFFFFFFFF, 0, 4}, Case{0x40000001, 0, 3}}) {
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
  expect_mailbox(sent_mailbox(mailbox[0], 256), 512, 2048).replies(2, returned_mailbox(0));
  EXPECT_EQ(_IssueMbox(0, mailbox.data(), 512, 2048, 4), OVK_OK);
  EXPECT_EQ(bytes_of(mailbox[0]), returned_mailbox(0));
  EXPECT_EQ(bytes_of(mailbox[1]), behind);
}

TEST_F(PassthroughTest, ReadsIntoTheCallersMemoryThatTheMailboxNames) {
  for (const auto code : {std::uint8_t{0x38}, std::uint8_t{0x8D}, std::uint8_t{0x8F}}) {
    ByteVector memory(4096, 1);
    // The length has 24 bits; what stands above it is the firmware's.
    Mailbox mailbox = mailbox_of(code, {{3, 0xAB000000 | 4095}, {4, address_of(memory.data())}});
    ByteVector expected = counting_bytes(4096);
    expect_mailbox(sent_mailbox(mailbox, 128), 32, 128).sends(1, ByteVector{}).replies(1, expected);
    expected.back() = 1;
    EXPECT_EQ(_IssueMbox(0, &mailbox, 32, 128, 3), OVK_OK);
    EXPECT_EQ(memory, expected);
  }
}

TEST_F(PassthroughTest, WritesFromAndReadsIntoTheMemoryOfOneMailbox) {
  const ByteVector source = counting_bytes(4096, 3);
  ByteVector destination(16, 1);
  Mailbox mailbox = mailbox_of(
      0x84,
      {{2, 4096}, {3, address_of(source.data())}, {5, 15}, {6, address_of(destination.data())}});
  ByteVector expected = counting_bytes(16, 9);
  expect_mailbox(sent_mailbox(mailbox, 128), 32, 128).sends(1, source).replies(1, expected);
  expected.back() = 1;
  EXPECT_EQ(_IssueMbox(0, &mailbox, 32, 128, 3), OVK_OK);
  EXPECT_EQ(destination, expected);
}

TEST_F(PassthroughTest, NothingIsReadAfterAFailureOrToNowhere) {
  ByteVector memory(8, 1);
  Mailbox mailbox = mailbox_of(0x38, {{3, 8}, {4, address_of(memory.data())}});
  expect_mailbox(sent_mailbox(mailbox, 128), 32, 128)
      .replies(1, counting_bytes(8, 9))
      .replies(2, returned_mailbox(7));
  EXPECT_EQ(_IssueMbox(0, &mailbox, 32, 128, 3), OVK_FAILED);
  EXPECT_EQ(memory, ByteVector(8, 1));
  EXPECT_EQ(mailbox.status, 7);

  mailbox = mailbox_of(0x84, {{2, 8}, {3, 0}, {5, 8}, {6, 0}});
  expect_mailbox(sent_mailbox(mailbox, 128), 32, 128).sends(1, ByteVector{});
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

TEST_F(PassthroughTest, DriverErrorsStandInTheReturnedMailboxAndInTheResult) {
  for (const auto& [status, delivery, mailbox_status, result] : driver_errors) {
    Mailbox mailbox = mailbox_of(0x05);
    expect_mailbox(sent_mailbox(mailbox, 128), 32, 0)
        .replies(2, returned_mailbox(77))
        .status(status)
        .delivery_error(delivery);
    EXPECT_EQ(_IssueMbox(0, &mailbox, 32, 0, 3), result);
    EXPECT_EQ(mailbox.status, mailbox_status);
    EXPECT_EQ(mailbox.words4[30], 0xA5A5A5A5);
  }
}

TEST_F(PassthroughTest, TheResultLinesNameTheDumpCommand) {
  log_at(OVK_LOG_CALL | OVK_LOG_SUCCESS | OVK_LOG_ERROR);
  channel.expect("RAVN_MGMT_MBOX", board0).word(2, 4);
  channel.expect("RAVN_MGMT_MBOX", board0).word(2, 4).status(0x0BAD0039);
  Mailbox mailbox{};
  EXPECT_EQ(_IssueMbox(0, &mailbox, 1, 0, 3), OVK_OK);
  EXPECT_EQ(_IssueMbox(0, &mailbox, 1, 0, 3), OVK_FAILED);
  const LogLine call{"_IssueMbox", "call: RAVN_MGMT_MBOX id"};
  EXPECT_THAT(
      log_lines(),
      testing::ElementsAre(
          call, LogLine{"_IssueMbox", "cmd ok:         RAVN_MGMT_INDUCE_DUMP brd[0] id"}, call,
          LogLine{"_IssueMbox",
                  "cmd err:        RAVN_MGMT_INDUCE_DUMP brd[0] stat[x0:xbad0039] id"}));
}

TEST_F(PassthroughTest, TheOrdinaryCallIsForOlderAdapters) {
  Mailbox mailbox = mailbox_of(0x05);
  expect_no_sli_mode(board0);
  EXPECT_EQ(IssueMbox(0, &mailbox, 32, 128), OVK_FAILED);
  expect_sli_mode(board0, 4);
  EXPECT_EQ(IssueMbox(0, &mailbox, 32, 128), 3U);
  expect_sli_mode(board0, 3);
  EXPECT_EQ(IssueMbox(0, &mailbox, 33, 128), OVK_FAILED);
  expect_sli_mode(board0, 3);
  expect_mailbox(sent_mailbox(mailbox, 128), 32, 128);
  EXPECT_EQ(IssueMbox(0, &mailbox, 32, 128), OVK_OK);
}

class ExtendedPassthroughTest : public LibraryTest {
 protected:
  Exchange& expect_mailbox(const ByteVector& mailbox) {
    return channel.expect("RAVN_MGMT_MBOX", board0)
        .word(2, 128)
        .word(3, 256)
        .sends(1, ByteVector{})
        .sends(2, mailbox);
  }
};

TEST_F(ExtendedPassthroughTest, CarriesDataBothWaysBesideThirtyTwoWords) {
  Mailbox mailbox = mailbox_of(0x17);
  Words ext{0x04030201, 0x08070605, 99, 98};
  expect_mailbox(sent_mailbox(mailbox, 128))
      .sends(3, extended_data(8, 12, 5, {1, 2, 3, 4, 5, 6, 7, 8}))
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
  expect_mailbox(sent_mailbox(mailbox, 128))
      .sends(3, extended_data(0xFFFFFFFC, 2052, 1, ByteVector(2048, 1)))
      .replies(3, extended_data(0, 0, 0, ByteVector(2048, 2)));
  EXPECT_EQ(IssueMboxEx(0, &mailbox, ext.data(), 1, 0xFFFFFFFF, 513), OVK_OK);
  Words expected(512, 0x02020202);
  expected.push_back(77);
  EXPECT_EQ(ext, expected);
}

TEST_F(ExtendedPassthroughTest, FailuresDeliverNoData) {
  Words ext{1};
  for (const auto& [status, delivery, mailbox_status, result] : driver_errors) {
    Mailbox mailbox = mailbox_of(0x17);
    expect_mailbox(sent_mailbox(mailbox, 128))
        .replies(3, extended_data(0, 4, 0, {2, 2, 2, 2}))
        .status(status)
        .delivery_error(delivery);
    EXPECT_EQ(IssueMboxEx(0, &mailbox, ext.data(), 0, 0, 1), result);
    EXPECT_EQ(mailbox.status, mailbox_status);
  }
  Mailbox mailbox = mailbox_of(0x17);
  expect_mailbox(sent_mailbox(mailbox, 128)).replies(2, returned_mailbox(0xFFFD));
  EXPECT_EQ(IssueMboxEx(0, &mailbox, ext.data(), 0, 0, 1), OVK_FAILED);
  EXPECT_EQ(mailbox.status, 0xFFFD);
  EXPECT_EQ(ext, Words{1});
}

TEST_F(ExtendedPassthroughTest, WithoutMemoryNothingIsSent) {
  Mailbox mailbox = mailbox_of(0x17);
  const AllocationWatch memory{0};
  EXPECT_EQ(IssueMboxEx(0, &mailbox, nullptr, 0, 0, 0), OVK_NO_MEMORY);
  EXPECT_EQ(mailbox.status, 0);
  EXPECT_EQ(memory.outstanding(), 0);
}

TEST(MailboxCompatibilityTest, TheSharedRecordsStartOutZeroAndTheStubRefuses) {
  EXPECT_THAT(ovk_sli4_get_ctrl_attr_cmd_rsp, testing::Each(0U));
  EXPECT_THAT(ovk_sli4_read_fcf_table_cmd_rsp, testing::Each(0U));
  EXPECT_EQ(OVK_SendHarrowCommand(0, 1, 2, 3), OVK_NOT_SUPPORTED);
}

}  // namespace
}  // namespace ovk::test
