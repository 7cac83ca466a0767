#include "tests/library/mailbox/mailbox_script.h"

#include <array>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

namespace ovk::test {
namespace {

using Sleeps = std::vector<std::uint64_t>;
using Words = std::vector<std::uint32_t>;
/** A caller's delay in milliseconds, and the wait that becomes of it. */
using Delay = std::pair<std::uint32_t, std::uint64_t>;

constexpr std::uint64_t second = 1000000;
constexpr std::uint32_t busy = 0x0BAD0039;
constexpr std::uint32_t longest_delay = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t longest_wait = 4294968 * second;

class RetryTest : public MailboxTest {
 protected:
  /** An attempt of issue, which passes the whole mailbox. */
  Exchange& expect_attempt(const Mailbox& mailbox) { return expect_mailbox(mailbox, 64, 2048); }

  static std::uint32_t issue(Mailbox& mailbox, std::uint32_t retries, std::uint32_t delay) {
    return OVK_IssueMboxWithRetry(0, &mailbox, 64, 2048, retries, delay);
  }
};

TEST_F(RetryTest, IsForOlderAdaptersAndAdmitsTheLongMailboxesOfSli4) {
  Mailbox mailbox = mailbox_of(0x05);
  expect_gate([&] { return issue(mailbox, 1, 0); }, 4, 4);

  for (const std::uint32_t words : {33U, 512U}) {
    std::array<Mailbox, 8> longer{};
    longer.fill(mailbox);
    expect_sli_mode(board0, 3);
    expect_mailbox(mailbox, words, 8).replies(2, returned_mailbox(0));
    EXPECT_EQ(OVK_IssueMboxWithRetry(0, longer.data(), words, 8, 1, 0), OVK_OK);
    ByteVector expected = bytes_of(returned_mailbox(0));
    expected.resize(8);
    expected.resize(sizeof mailbox, 0x5A);
    EXPECT_THAT(bytes_of(longer[0]), SameBytes(expected));
  }

  expect_sli_mode(board0, 3);
  EXPECT_EQ(OVK_IssueMboxWithRetry(0, &mailbox, 513, 2048, 1, 0), 2U);
  EXPECT_EQ(mailbox.status, OVK_MAILBOX_NOT_ISSUED);
}

TEST_F(RetryTest, EachBusyAttemptSendsTheCallersMailboxAndIsFollowedByAWait) {
  for (const auto& [delay, wait] : {Delay{0, 0}, Delay{1, second}, Delay{1000, second},
                                    Delay{1001, 2 * second}, Delay{longest_delay, longest_wait}}) {
    host().sleeps.clear();
    Mailbox mailbox = mailbox_of(0x05);
    expect_sli_mode(board0, 3);
    expect_attempt(mailbox).replies(2, returned_mailbox(253));
    expect_attempt(mailbox).status(busy);
    expect_attempt(mailbox).replies(2, returned_mailbox(0));
    EXPECT_EQ(issue(mailbox, 5, delay), OVK_OK);
    EXPECT_THAT(bytes_of(mailbox), SameBytes(bytes_of(returned_mailbox(0))));
    EXPECT_EQ(host().sleeps, (Sleeps{wait, wait}));
  }
}

TEST_F(RetryTest, GivesUpAfterTheLastBusyAttemptAndItsWait) {
  Mailbox mailbox = mailbox_of(0x05);
  expect_sli_mode(board0, 3);
  expect_attempt(mailbox).status(busy);
  expect_attempt(mailbox).replies(2, returned_mailbox(253));
  EXPECT_EQ(issue(mailbox, 2, 5), 2U);
  EXPECT_EQ(host().sleeps, (Sleeps{second, second}));
  EXPECT_THAT(bytes_of(mailbox), SameBytes(bytes_of(returned_mailbox(253))));
}

TEST_F(RetryTest, AnyOtherFailureIsFinal) {
  using Case = MailboxEnding;
  for (const auto& [status, delivery, returned, mailbox_status, result] :
       {Case{0x0BAD005A, 0, 0, 252, 3}, Case{0x0BAD0004, 0, 0, 254, 2},
        Case{0x0BAD0001, 0, 0, 252, 2}, Case{0, 19, 0, 252, 2}, Case{0, 0, 7, 7, 2}}) {
    SCOPED_TRACE(testing::Message() << std::hex << status << ", " << delivery << ", " << returned);
    Mailbox mailbox = mailbox_of(0x05);
    expect_sli_mode(board0, 3);
    expect_attempt(mailbox).replies(2, returned_mailbox(returned)).ends_with(status, delivery);
    EXPECT_EQ(issue(mailbox, 9, 5), result);
    EXPECT_EQ(mailbox.status, mailbox_status);
  }
  EXPECT_THAT(host().sleeps, testing::IsEmpty());
}

TEST_F(RetryTest, NoAttemptsAndNoMemory) {
  Mailbox mailbox = mailbox_of(0x05);
  expect_sli_mode(board0, 3);
  EXPECT_EQ(issue(mailbox, 0, 5), OVK_OK);
  EXPECT_THAT(bytes_of(mailbox), SameBytes(bytes_of(mailbox_of(0x05))));

  mailbox.status = OVK_MAILBOX_BUSY;  // of an earlier use; it is not a reason to try again
  expect_sli_mode(board0, 3);
  const AllocationWatch no_memory{0};
  EXPECT_EQ(issue(mailbox, 3, 5), OVK_NO_MEMORY);
}

class RetryExTest : public MailboxTest {};

TEST_F(RetryExTest, SendsNothingForTooManyWordsWithoutAttemptsOrWithoutMemory) {
  Mailbox mailbox = mailbox_of(0x1B);
  EXPECT_EQ(OVK_IssueMboxWithRetryEx(0, &mailbox, nullptr, 5, 513, 0, 1, 0), 2U);
  EXPECT_EQ(OVK_IssueMboxWithRetryEx(0, &mailbox, nullptr, 5, 0, 513, 1, 0), 2U);
  EXPECT_EQ(OVK_IssueMboxWithRetryEx(0, &mailbox, nullptr, 5, 1, 1, 0, 100), OVK_OK);
  EXPECT_THAT(bytes_of(mailbox), SameBytes(bytes_of(mailbox_of(0x1B))));

  Words ext{7};
  const AllocationWatch no_memory{0};
  EXPECT_EQ(OVK_IssueMboxWithRetryEx(0, &mailbox, ext.data(), 5, 1, 1, 3, 100), OVK_NO_MEMORY);
}

TEST_F(RetryExTest, EachAttemptSendsTheCallersDataAgainAndWaitsToTheMillisecond) {
  for (const auto& [delay, wait] : {Delay{0, 0}, Delay{1, 1000}, Delay{1000, second},
                                    Delay{1001, 2 * second}, Delay{longest_delay, longest_wait}}) {
    host().sleeps.clear();
    Mailbox mailbox = mailbox_of(0x1B);
    Words ext(512, 0x01010101);
    const ByteVector extended = extended_data(2048, 2048, 5, ByteVector(2048, 1));
    expect_extended_mailbox(mailbox, extended).status(busy).replies(3, ByteVector(2057, 3));
    expect_extended_mailbox(mailbox, extended)
        .replies(2, returned_mailbox(0))
        .replies(3, extended_data(0, 0, 0, ByteVector(2048, 2)));
    EXPECT_EQ(OVK_IssueMboxWithRetryEx(0, &mailbox, ext.data(), 0xABC05, 512, 512, 3, delay),
              OVK_OK);
    EXPECT_THAT(bytes_of(ext), SameBytes(ByteVector(2048, 2)));
    EXPECT_EQ(mailbox.words4[30], 0xA5A5A5A5);
    EXPECT_EQ(mailbox.words4[31], 0x5A5A5A5A);
    EXPECT_EQ(host().sleeps, (Sleeps{wait}));
  }
}

TEST_F(RetryExTest, FailuresReturnTheMailboxAndTheDataThatWasSent) {
  struct {
    std::uint32_t status;
    std::uint16_t returned;
    std::uint16_t mailbox_status;
    std::size_t attempts;
  } const cases[] = {
      {busy, 0, 253, 2}, {0, 253, 253, 2}, {0x0BAD005A, 0, 252, 1}, {0, 0xFFFD, 0xFFFD, 1}};
  for (const auto& [status, returned, mailbox_status, attempts] : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << status << ", " << returned);
    host().sleeps.clear();
    Mailbox mailbox = mailbox_of(0x1B);
    Words ext{7, 7, 7};
    for (std::size_t i = 0; i < attempts; ++i) {
      expect_extended_mailbox(mailbox, extended_data(4, 8, 5, {7, 0, 0, 0}))
          .status(status)
          .replies(2, returned_mailbox(returned));
    }
    EXPECT_EQ(OVK_IssueMboxWithRetryEx(0, &mailbox, ext.data(), 5, 1, 2, 2, 100), 2U);
    EXPECT_EQ(mailbox.status, mailbox_status);
    EXPECT_EQ(ext, (Words{7, 0, 7}));
    EXPECT_EQ(host().sleeps, attempts == 2 ? Sleeps(2, 100000) : Sleeps{});
  }
}

class RetryV2Test : public MailboxTest {
 protected:
  /** An SLI_CONFIG mailbox with its data: embedded or not, with the word at byte 24. */
  static ByteVector sli_config(std::size_t size, bool embedded, std::uint32_t word24) {
    ByteVector bytes(size, 0x5A);
    bytes[1] = 0x9B;
    bytes[4] = embedded ? 1 : 0;
    std::memcpy(bytes.data() + 24, &word24, sizeof word24);
    return bytes;
  }

  /** A mailbox without its status, and without these words. */
  static ByteVector cleared(ByteVector bytes, std::initializer_list<std::size_t> offsets = {}) {
    bytes[2] = bytes[3] = 0;
    for (const std::size_t offset : offsets) {
      std::memset(bytes.data() + offset, 0, 4);
    }
    return bytes;
  }

  static std::uint32_t issue(Mailbox& mailbox, std::uint32_t words, std::uint32_t retries = 1) {
    return OVK_IssueMboxWithRetryV2(0, &mailbox, words, retries, longest_delay);
  }
  static std::uint32_t issue(ByteVector& mailbox, std::uint32_t retries = 1) {
    return issue(as_mailbox(mailbox), static_cast<std::uint32_t>(mailbox.size() / 4), retries);
  }

  static Mailbox& as_mailbox(ByteVector& bytes) {
    void* start = bytes.data();
    return *static_cast<Mailbox*>(start);
  }

  Exchange& expect_extended_command(const ByteVector& sent, std::uint32_t sub_code) {
    const auto size = static_cast<std::uint32_t>(sent.size());
    expect_sli_mode(board0, 4);
    expect_sli_mode(board0, 4);
    return channel.expect("RAVN_MGMT_MBOX_SLI_CFG_EXT", board0)
        .word(2, size)
        .word(3, size)
        .word(6, sub_code)
        .sends(1, sent);
  }

  /** Issues a mailbox, which goes the extended way without these words, and comes back. */
  void expect_extended(ByteVector mailbox, std::initializer_list<std::size_t> without,
                       std::uint32_t sub_code) {
    const ByteVector reply = counted_bytes(mailbox.size());
    expect_extended_command(cleared(mailbox, without), sub_code).replies(1, reply);
    EXPECT_EQ(issue(mailbox), OVK_OK);
    EXPECT_THAT(mailbox, SameBytes(reply));
  }
};

TEST_F(RetryV2Test, IsForSli4AndForWholeMailboxes) {
  Mailbox mailbox = mailbox_of(0x05);
  expect_gate([&] { return issue(mailbox, 64); }, 3, 4);
  for (const std::uint32_t words : {0U, 63U, 65U}) {
    expect_sli_mode(board0, 4);
    EXPECT_EQ(issue(mailbox, words), 4U);
  }
  // The limits of the long mailboxes hold in SLI mode 4 only.
  expect_sli_mode(board0, 5);
  EXPECT_EQ(issue(mailbox, 64), 2U);
  EXPECT_EQ(mailbox.status, OVK_MAILBOX_NOT_ISSUED);
}

TEST_F(RetryV2Test, CountsAttemptsAndWaitsBetweenThem) {
  using Case = std::pair<std::uint32_t, std::uint32_t>;
  for (const auto& [retries, attempts] : {Case{0, 1}, Case{1, 1}, Case{3, 3}}) {
    host().sleeps.clear();
    Mailbox mailbox = mailbox_of(0x05);
    expect_sli_mode(board0, 4);
    expect_mailbox(mailbox, 64, 256).replies(2, returned_mailbox(253));
    for (std::uint32_t i = 1; i < attempts; ++i) {  // what was returned is what is sent again
      expect_mailbox(returned_mailbox(253), 64, 256).status(busy);
    }
    EXPECT_EQ(issue(mailbox, 64, retries), 2U);
    EXPECT_EQ(mailbox.status, 253);
    EXPECT_EQ(host().sleeps, Sleeps(attempts - 1, longest_wait));
  }
}

TEST_F(RetryV2Test, OtherStatusesAndMissingMemoryEndIt) {
  using Case = std::pair<std::uint32_t, std::uint16_t>;
  for (const auto& [status, returned] : {Case{0x0BAD005A, 0}, Case{0x0BAD0004, 0}, Case{0, 9}}) {
    Mailbox mailbox = mailbox_of(0x05);
    expect_sli_mode(board0, 4);
    expect_mailbox(mailbox, 64, 256).status(status).replies(2, returned_mailbox(returned));
    EXPECT_EQ(issue(mailbox, 64, 9), 2U) << std::hex << status;
  }
  Mailbox mailbox = mailbox_of(0x05);
  expect_sli_mode(board0, 4);
  const AllocationWatch no_memory{0};
  EXPECT_EQ(issue(mailbox, 64, 9), OVK_NO_MEMORY);
}

TEST_F(RetryV2Test, SliConfigWithExternalDataGoesTheExtendedWayWithoutItsAddresses) {
  ByteVector outside = sli_config(320, false, 0x12345678);
  expect_extended(outside, {24, 28}, 2);
  outside[257] = 9;
  expect_extended(outside, {24, 28}, 1);

  ByteVector embedded = sli_config(320, true, 0x00000157);
  expect_extended(embedded, {160, 164}, 2);
  embedded[24] = 0xAC;
  embedded[152] = embedded[153] = embedded[154] = 0;
  expect_extended(embedded, {160, 164}, 1);
}

TEST_F(RetryV2Test, LooksAtSliConfigInItsWholeRoomWhateverNumberOfWordsItPasses) {
  ByteVector outside = sli_config(OVK_MAILBOX_ROOM, false, 7);
  outside[257] = 9;
  struct {
    ByteVector mailbox;
    std::initializer_list<std::size_t> addresses;
  } const cases[] = {{outside, {24, 28}}, {sli_config(256, true, 0x01AC), {160, 164}}};
  for (const auto& [mailbox, addresses] : cases) {
    for (const std::uint32_t words : {0U, 6U, 41U, 63U}) {
      SCOPED_TRACE(words);
      ByteVector memory = mailbox;
      ByteVector expected = cleared(mailbox, addresses);
      const ByteVector reply = counted_bytes(words * 4);
      expect_extended_command({expected.data(), expected.data() + words * 4}, 1).replies(1, reply);
      EXPECT_EQ(issue(as_mailbox(memory), words), OVK_OK);
      std::ranges::copy(reply, expected.begin());
      EXPECT_THAT(memory, SameBytes(expected));
    }
  }
}

TEST_F(RetryV2Test, ABusyMailboxThatTheDriverRewroteKeepsTheMemoryThatItsCallerNamed) {
  const ByteVector written{1, 2, 3, 4};
  const ByteVector answer{9, 8, 7, 6};
  ByteVector read(4);
  const std::initializer_list<std::pair<std::size_t, std::uint32_t>> nowhere = {
      {2, 0xFFFFFF}, {3, 1}, {4, 1}, {5, 0xFFFFFF}, {6, 1}};
  const Mailbox moves = mailbox_of(
      0x84, {{2, 4}, {3, address_of(written.data())}, {5, 4}, {6, address_of(read.data())}});
  struct {
    Mailbox mailbox;
    std::uint8_t rewritten;
    ByteVector sent;
    ByteVector received;
  } const cases[] = {{moves, 0x84, written, answer},
                     {moves, 0x8D, written, answer},
                     {moves, 0x05, written, answer},
                     {mailbox_of(0x05), 0x84, {}, ByteVector(4)}};
  for (const auto& [caller, command, sent, received] : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << +caller.command << ", " << +command);
    std::ranges::fill(read, std::uint8_t{0});
    Mailbox mailbox = caller;
    Mailbox rewritten = mailbox_of(command, nowhere);
    rewritten.status = OVK_MAILBOX_BUSY;
    expect_sli_mode(board0, 4);
    expect_mailbox(caller, 64, 256)
        .sends(1, sent)
        .replies(1, ByteVector(4096, 0xEE))
        .replies(2, rewritten);
    expect_mailbox(rewritten, 64, 256)
        .sends(1, sent)
        .replies(1, answer)
        .replies(2, returned_mailbox(0));
    EXPECT_EQ(issue(mailbox, 64, 2), OVK_OK);
    EXPECT_THAT(read, SameBytes(received));
  }
}

TEST_F(RetryV2Test, SliConfigWithoutExternalDataIsAnOrdinaryMailbox) {
  for (ByteVector mailbox :
       {sli_config(256, true, 0x0257), cleared(sli_config(256, true, 0x0157), {152})}) {
    expect_sli_mode(board0, 4);
    channel.expect("RAVN_MGMT_MBOX", board0).word(2, 256).word(3, 256).sends(2, cleared(mailbox));
    EXPECT_EQ(issue(mailbox), OVK_OK);
    expect_sli_mode(board0, 4);
    mailbox.resize(260);
    EXPECT_EQ(issue(mailbox), 4U);
  }
}

TEST_F(RetryV2Test, TheExtendedWayWritesNoStatusAndDoesNotLookAtOne) {
  ByteVector mailbox = sli_config(320, false, 7);
  const ByteVector sent = cleared(mailbox, {24, 28});
  expect_extended_command(sent, 2).replies(1, ByteVector(320, 1)).status(busy);
  EXPECT_EQ(issue(mailbox, 5), 1U);
  EXPECT_THAT(mailbox, SameBytes(sent));

  expect_extended_command(sent, 2).replies(1, returned_mailbox(253));
  EXPECT_EQ(issue(mailbox, 5), OVK_OK);
}

TEST_F(RetryV2Test, ExtendedSliConfigChecksItsBoardAndMovesAtMostItsBuffer) {
  std::vector<Mailbox> mailbox(17, mailbox_of(0x9B));
  expect_gate([&] { return IssueExtendedSLIConfig(0, mailbox.data(), 1, 1, 64); }, 3, 2);

  expect_sli_mode(board0, 4);
  channel.expect("RAVN_MGMT_MBOX_SLI_CFG_EXT", board0)
      .word(2, 4100)
      .word(3, 4100)
      .word(6, 3)
      .replies(1, counted_bytes(4096));
  const AllocationWatch memory;
  EXPECT_EQ(IssueExtendedSLIConfig(0, mailbox.data(), 3, 1, 1025), OVK_OK);
  EXPECT_EQ(memory.outstanding(), 0);
  ByteVector expected = counted_bytes(4096);
  std::ranges::copy(bytes_of(mailbox_of(0x9B)), std::back_inserter(expected));
  EXPECT_THAT(bytes_of(mailbox), SameBytes(expected));

  const AllocationWatch no_memory{0};
  EXPECT_EQ(IssueExtendedSLIConfig(0, mailbox.data(), 1, 1, 64), OVK_NO_MEMORY);
}

}  // namespace
}  // namespace ovk::test
