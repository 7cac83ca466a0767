#include "tests/library/mailbox/mailbox_script.h"

#include <tuple>
#include <vector>

namespace ovk::test {
namespace {

using Sleeps = std::vector<std::uint64_t>;

constexpr std::uint64_t second = 1000000;
constexpr std::uint32_t driver_busy = 0x0BAD0039;

/** The calls that issue a mailbox again while the firmware is busy. */
enum class RetryCall { plain, extended, v2 };

class RetryTest : public MailboxTest, public testing::WithParamInterface<RetryCall> {
 protected:
  const bool plain = GetParam() == RetryCall::plain;
  const bool extended = GetParam() == RetryCall::extended;
  /** V2 sends what the attempt before returned, at least once, and waits between attempts only. */
  const bool v2 = GetParam() == RetryCall::v2;
  Mailbox mailbox = mailbox_of(0x05);

  std::uint32_t issue(std::uint32_t retries, std::uint32_t delay) {
    if (plain) {
      return OVK_IssueMboxWithRetry(0, &mailbox, 512, 2048, retries, delay);
    }
    return extended ? OVK_IssueMboxWithRetryEx(0, &mailbox, nullptr, 0, 0, 0, retries, delay)
                    : OVK_IssueMboxWithRetryV2(0, &mailbox, 64, retries, delay);
  }

  /** Starts with the caller's mailbox, on a board on which the call is possible. */
  void start() {
    host().sleeps.clear();
    mailbox = mailbox_of(0x05);
    if (!extended) {
      expect_sli_mode(board0, plain ? 3 : 4);
    }
  }

  Exchange& expect_attempt(const Mailbox& sent = mailbox_of(0x05)) {
    return plain ? expect_mailbox(sent, 512, 2048) : expect_mailbox(sent, v2 ? 64 : 32, 256);
  }
  /** Expects an attempt after one that returned a busy mailbox. */
  Exchange& expect_next_attempt() {
    return expect_attempt(v2 ? returned_mailbox(OVK_MAILBOX_BUSY) : mailbox_of(0x05));
  }

  void expect_returned(std::uint16_t status) {
    EXPECT_THAT(bytes_of(mailbox), SameBytes(partly_returned(status, extended ? 32 : 64)));
  }
};

TEST_P(RetryTest, EachBusyAttemptIsFollowedByAWaitUpToTheLast) {
  using Delay = std::pair<std::uint32_t, std::uint64_t>;
  for (const auto& [delay, wait] :
       {Delay{0, 0}, Delay{1, extended ? 1000 : second}, Delay{1000, second},
        Delay{1001, 2 * second}, Delay{0xFFFFFFFF, 4294968 * second}}) {
    for (const auto last : std::to_array<std::uint16_t>({0, OVK_MAILBOX_BUSY})) {
      start();
      expect_attempt().replies(2, returned_mailbox(OVK_MAILBOX_BUSY));
      expect_next_attempt().status(driver_busy);
      expect_next_attempt().replies(2, returned_mailbox(last));
      EXPECT_EQ(issue(3, delay), last == 0 ? 0 : 2);
      expect_returned(last);
      EXPECT_EQ(host().sleeps, Sleeps(last == 0 || v2 ? 2 : 3, wait));
    }
  }
}

TEST_P(RetryTest, AnyOtherFailureIsFinal) {
  for (const auto& [status, delivery, returned, mailbox_status, result] : mailbox_failures) {
    if (mailbox_status != OVK_MAILBOX_BUSY) {
      SCOPED_TRACE(testing::Message() << std::hex << status << ", " << returned);
      start();
      expect_attempt().replies(2, returned_mailbox(returned)).ends_with(status, delivery);
      EXPECT_EQ(issue(9, 5), plain && result == OVK_MAILBOX_NOT_READY ? 3 : 2);
      expect_returned(mailbox_status);
      EXPECT_THAT(host().sleeps, testing::IsEmpty());
    }
  }
}

TEST_P(RetryTest, RefusesOtherBoardsAndNeedsRetriesAndMemory) {
  if (!extended) {
    expect_gate([this] { return issue(1, 0); }, plain ? 4 : 3, OVK_MAILBOX_WRONG_KIND);
  }
  start();
  if (v2) {
    expect_attempt().replies(2, returned_mailbox(OVK_MAILBOX_BUSY));
  }
  EXPECT_EQ(issue(0, 5), v2 ? 2 : 0);
  EXPECT_EQ(mailbox.status, v2 ? OVK_MAILBOX_BUSY : 0x5A5A);

  start();
  mailbox.status = OVK_MAILBOX_BUSY;  // of an earlier use; it is not a reason to try again
  const AllocationWatch no_memory{0};
  EXPECT_EQ(issue(3, 5), OVK_NO_MEMORY);
}

INSTANTIATE_TEST_SUITE_P(Calls, RetryTest,
                         testing::Values(RetryCall::plain, RetryCall::extended, RetryCall::v2));

class SingleRetryTest : public MailboxTest {};

TEST_F(SingleRetryTest, EachCallHasLimitsOfItsOwn) {
  Mailbox mailbox = mailbox_of(0x05);
  EXPECT_EQ(OVK_IssueMboxWithRetryEx(0, &mailbox, nullptr, 5, 513, 0, 1, 0), 2U);
  EXPECT_EQ(OVK_IssueMboxWithRetryEx(0, &mailbox, nullptr, 5, 0, 513, 1, 0), 2U);
  for (const std::uint32_t words : {0U, 63U, 65U}) {
    expect_sli_mode(board0, 4);
    EXPECT_EQ(OVK_IssueMboxWithRetryV2(0, &mailbox, words, 1, 0), OVK_MAILBOX_WRONG_KIND);
  }
  EXPECT_THAT(bytes_of(mailbox), SameBytes(bytes_of(mailbox_of(0x05))));
  expect_sli_mode(board0, 3);
  expect_mailbox(mailbox, 33, 8).replies(2, returned_mailbox(0));
  EXPECT_EQ(OVK_IssueMboxWithRetry(0, &mailbox, 33, 8, 1, 0), OVK_OK);
  EXPECT_THAT(bytes_of(mailbox), SameBytes(partly_returned(0, 2)));
  expect_sli_mode(board0, 5);
  EXPECT_EQ(OVK_IssueMboxWithRetryV2(0, &mailbox, 64, 1, 0), 2U) << "too long in a later mode";
  EXPECT_EQ(mailbox.status, OVK_MAILBOX_NOT_ISSUED);
}

TEST_F(SingleRetryTest, ExtendedAttemptsSendTheCallersDataAndReturnWhatTheLastOneSentOrGot) {
  Mailbox mailbox = mailbox_of(0x1B);
  std::vector<std::uint32_t> ext(512, 0x01010101);
  const ByteVector full = extended_data(2048, 2048, 5, ByteVector(2048, 1));
  expect_extended_mailbox(mailbox, full).status(driver_busy).replies(3, ByteVector(2057, 3));
  expect_extended_mailbox(mailbox, full).replies(3, ByteVector(2057, 2));
  EXPECT_EQ(OVK_IssueMboxWithRetryEx(0, &mailbox, ext.data(), 0xABC05, 512, 512, 3, 0), OVK_OK);
  EXPECT_THAT(bytes_of(ext), SameBytes(ByteVector(2048, 2)));

  ext = {7, 7, 7};
  expect_extended_mailbox(mailbox, extended_data(4, 8, 5, {7})).replies(2, returned_mailbox(9));
  EXPECT_EQ(OVK_IssueMboxWithRetryEx(0, &mailbox, ext.data(), 5, 1, 2, 2, 100), 2U);
  EXPECT_THAT(ext, testing::ElementsAre(7, 0, 7));
}

TEST_F(SingleRetryTest, ABusyMailboxThatTheDriverRewroteKeepsTheMemoryThatItsCallerNamed) {
  const ByteVector written{1, 2, 3, 4};
  const ByteVector answer{9, 8, 7, 6};
  ByteVector read(4);
  const Mailbox moves = mailbox_of(
      0x84, {{2, 4}, {3, address_of(written.data())}, {5, 4}, {6, address_of(read.data())}});
  for (const bool moving : {true, false}) {
    Mailbox mailbox = moving ? moves : mailbox_of(0x05);
    const ByteVector sent = moving ? written : ByteVector{};
    Mailbox rewritten = mailbox_of(moving ? 0x05 : 0x84, {{2, 4}, {3, 1}, {5, 0xFFFFFF}, {6, 1}});
    rewritten.status = OVK_MAILBOX_BUSY;
    expect_sli_mode(board0, 4);
    expect_mailbox(mailbox, 64, 256)
        .sends(1, sent)
        .replies(1, ByteVector(4096, 0xEE))
        .replies(2, rewritten);
    expect_mailbox(rewritten, 64, 256)
        .sends(1, sent)
        .replies(1, answer)
        .replies(2, returned_mailbox(0));
    EXPECT_EQ(OVK_IssueMboxWithRetryV2(0, &mailbox, 64, 2, 0), OVK_OK);
    EXPECT_EQ(read, answer);
  }
}

class SliConfigTest : public LibraryTest {
 protected:
  static ByteVector without_status(const ByteVector& mailbox) {
    return with_at(mailbox, 2, std::uint16_t{0});
  }

  static std::uint32_t issue(ByteVector& mailbox, std::uint32_t words) {
    void* const start = mailbox.data();
    return OVK_IssueMboxWithRetryV2(0, static_cast<Mailbox*>(start), words, 5, 0);
  }

  Exchange& expect_extended_command(const ByteVector& bytes, std::uint32_t sub_code) {
    const auto size = static_cast<std::uint32_t>(bytes.size());
    expect_sli_mode(board0, 4);
    expect_sli_mode(board0, 4);
    return channel.expect("RAVN_MGMT_MBOX_SLI_CFG_EXT", board0)
        .word(2, size)
        .word(3, size)
        .word(6, sub_code)
        .sends(1, bytes);
  }

  /** The lowest bit of word 1 says that it is embedded. */
  const ByteVector outside = with_at(ByteVector(OVK_MAILBOX_ROOM), 0, mailbox_of(0x9B));
  const ByteVector embedded = bytes_of(mailbox_of(0x9B, {{1, 0x5A5A5A5B}, {6, 0x0157}}));
};

// The extended way writes no status, and does not look at one.
TEST_F(SliConfigTest, ExternalDataGoesTheExtendedWayWithoutItsAddressesWhateverTheWords) {
  using Case = std::tuple<ByteVector, std::size_t, std::uint32_t>;
  for (const auto& [mailbox, addresses, sub_code] :
       {Case{outside, 24, 2}, Case{with_at(outside, 257, std::uint8_t{9}), 24, 1},
        Case{embedded, 160, 2},
        Case{with_at(with_at(embedded, 24, std::uint8_t{0xAC}), 152, 0x5A000000), 160, 1}}) {
    for (const std::uint32_t words : {0U, 6U, 41U, 63U, 64U}) {
      SCOPED_TRACE(testing::Message() << addresses << ", " << sub_code << ", " << words);
      ByteVector memory = mailbox;
      ByteVector expected = with_at(without_status(mailbox), addresses, std::uint64_t{0});
      const ByteVector passed(expected.data(), expected.data() + words * 4);
      expect_extended_command(passed, sub_code).status(driver_busy);
      EXPECT_EQ(issue(memory, words), OVK_FAILED);
      EXPECT_THAT(memory, SameBytes(expected));

      ByteVector reply = bytes_of(returned_mailbox(OVK_MAILBOX_BUSY));
      reply.resize(words * 4);
      expect_extended_command(passed, sub_code).replies(1, reply);
      EXPECT_EQ(issue(memory, words), OVK_OK);
      std::ranges::copy(reply, expected.begin());
      EXPECT_THAT(memory, SameBytes(expected));
    }
  }
}

TEST_F(SliConfigTest, WithoutExternalDataItIsAnOrdinaryMailbox) {
  for (ByteVector mailbox : {with_at(embedded, 25, std::uint8_t{2}), with_at(embedded, 152, 0)}) {
    expect_sli_mode(board0, 4);
    channel.expect("RAVN_MGMT_MBOX", board0)
        .word(2, 256)
        .word(3, 256)
        .sends(2, without_status(mailbox));
    EXPECT_EQ(issue(mailbox, 64), OVK_OK);
    expect_sli_mode(board0, 4);
    EXPECT_EQ(issue(mailbox, 65), OVK_MAILBOX_WRONG_KIND);
  }
}

TEST_F(SliConfigTest, AnExtendedCommandMovesAtMostItsBuffer) {
  std::vector mailboxes(17, mailbox_of(0x9B));
  expect_sli_mode(board0, 4);
  channel.expect("RAVN_MGMT_MBOX_SLI_CFG_EXT", board0)
      .word(2, 4)
      .word(3, 4)
      .word(6, 3)
      .replies(1, ByteVector(4096, 7));
  EXPECT_EQ(IssueExtendedSLIConfig(0, mailboxes.data(), 3, 1, 0x40000001), OVK_OK);
  EXPECT_THAT(bytes_of(mailboxes[15]), SameBytes(ByteVector(256, 7)));
  EXPECT_THAT(bytes_of(mailboxes[16]), SameBytes(bytes_of(mailbox_of(0x9B))));
}

}  // namespace
}  // namespace ovk::test
