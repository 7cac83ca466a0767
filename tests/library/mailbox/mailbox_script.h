/**
 * @file
 * Mailboxes as the tests of this folder and of the regions write and expect them.
 */
#pragma once

#include "tests/support/library_test.h"

#include <ovk/mailbox.h>

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace ovk::test {

/** A mailbox of a command whose bytes all differ from 0, but for the words that are named. */
inline Mailbox mailbox_of(std::uint8_t command,
                          std::initializer_list<std::pair<std::size_t, std::uint32_t>> words = {}) {
  auto mailbox = record_of<Mailbox>(0x5A);
  mailbox.command = command;
  for (const auto& [number, value] : words) {
    mailbox.words4[number - 1] = value;
  }
  return mailbox;
}

/** A mailbox as the firmware returns it. */
inline Mailbox returned_mailbox(std::uint16_t status) {
  auto mailbox = record_of<Mailbox>(0xA5);
  mailbox.status = status;
  return mailbox;
}

/** A mailbox of mailbox_of of which the firmware returned the first words. */
inline ByteVector partly_returned(std::uint16_t status, std::size_t words) {
  ByteVector bytes = bytes_of(returned_mailbox(status));
  bytes.resize(std::min(words * 4, sizeof(Mailbox)));
  bytes.resize(sizeof(Mailbox), 0x5A);
  return bytes;
}

/** A caller's address as a mailbox word holds it. */
inline std::uint32_t address_of(const void* memory) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(memory));
}

/** Extended data as it travels: its lengths in bytes, the flag, and the data itself. */
inline ByteVector extended_data(std::uint32_t in_bytes, std::uint32_t out_bytes, std::uint8_t flag,
                                const ByteVector& data) {
  ByteVector bytes = with_at(with_at(ByteVector(9, flag), 0, in_bytes), 4, out_bytes);
  bytes.insert(bytes.end(), data.begin(), data.end());
  return bytes;
}

/** How a mailbox fails, the status that its caller finds in it, and the result of one attempt. */
struct MailboxFailure {
  std::uint32_t status;
  int delivery;
  std::uint16_t returned;
  std::uint16_t mailbox_status;
  std::uint32_t result;
};

inline constexpr MailboxFailure mailbox_failures[] = {
    {0x0BAD005A, 0, 77, 252, 3}, {0x0BAD0039, 0, 77, 253, 1}, {0x0BAD0004, 0, 77, 254, 1},
    {0x0BAD0001, 0, 77, 252, 1}, {0, 19, 77, 252, 1},         {0x0BAD0039, 19, 77, 253, 1},
    {0, 0, 0xFFFD, 0xFFFD, 1}};

/** What mailboxes, and what goes their way, are expected to be. */
class MailboxTest : public LibraryTest {
 protected:
  /** Expects a mailbox of this many words as the firmware gets it: with the status cleared. */
  Exchange& expect_mailbox(Mailbox mailbox, std::uint32_t words, std::uint32_t out_bytes) {
    mailbox.status = 0;
    ByteVector bytes = bytes_of(mailbox);
    bytes.resize(std::min<std::size_t>(words * 4, sizeof mailbox));
    return channel.expect("RAVN_MGMT_MBOX", board0)
        .word(2, words * 4)
        .word(3, out_bytes)
        .sends(2, bytes)
        .sends(3, ByteVector{});
  }

  /** Expects a mailbox with extended data. */
  Exchange& expect_extended_mailbox(const Mailbox& mailbox, const ByteVector& extended) {
    return expect_mailbox(mailbox, 32, 256).sends(3, extended);
  }

  /** Expects the mailbox that reads 128 bytes of a region, and answers with a length and data. */
  Exchange& expect_region_step(std::uint8_t region, std::uint32_t position, std::uint32_t returned,
                               const ByteVector& data, std::uint16_t status = 0) {
    Mailbox mailbox{.command = 0x17, .words4 = {0x32, position << 16 | region, 0, 128}};
    Exchange& exchange = expect_extended_mailbox(mailbox, extended_data(0, 512, 5, {}));
    mailbox.status = status;
    mailbox.words4[3] = returned;
    return exchange.replies(2, mailbox).replies(3, extended_data(0, returned, 5, data));
  }

  /** Expects the mailbox that writes a region; whole words of the data are sent. */
  Exchange& expect_region_update(std::uint8_t region, const ByteVector& data) {
    const auto length = static_cast<std::uint32_t>(data.size());
    const std::uint32_t sent = length / 4 * 4;
    return expect_extended_mailbox(
        {.command = 0x1B, .words4 = {0x32, length << 16 | region, 0, length}},
        extended_data(sent, 0, 5, {data.data(), data.data() + sent}));
  }
};

}  // namespace ovk::test
