/**
 * @file
 * Mailboxes as the tests of this folder write and expect them.
 */
#pragma once

#include "tests/support/scripted_channel.h"

#include <ovk/mailbox.h>

#include <cstring>
#include <initializer_list>
#include <utility>

namespace ovk::test {

/** A mailbox of a command whose bytes all differ from 0, but for the words that are named. */
inline Mailbox mailbox_of(std::uint8_t command,
                          std::initializer_list<std::pair<std::size_t, std::uint32_t>> words = {}) {
  Mailbox mailbox;
  std::memset(&mailbox, 0x5A, sizeof mailbox);
  mailbox.command = command;
  for (const auto& [number, value] : words) {
    mailbox.words4[number - 1] = value;
  }
  return mailbox;
}

/** A mailbox's first bytes as the driver gets them: with the status cleared. */
inline ByteVector sent_mailbox(Mailbox mailbox, std::size_t size) {
  mailbox.status = 0;
  ByteVector bytes = bytes_of(mailbox);
  bytes.resize(size);
  return bytes;
}

/** A mailbox as the firmware returns it. */
inline ByteVector returned_mailbox(std::uint16_t status) {
  Mailbox mailbox;
  std::memset(&mailbox, 0xA5, sizeof mailbox);
  mailbox.status = status;
  return bytes_of(mailbox);
}

/** A caller's address as a mailbox word holds it. */
inline std::uint32_t address_of(const void* memory) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(memory));
}

/** Extended data as it travels: its lengths in bytes, the flag, and the data itself. */
inline ByteVector extended_data(std::uint32_t in_bytes, std::uint32_t out_bytes, std::uint8_t flag,
                                const ByteVector& data) {
  ByteVector bytes(9);
  std::memcpy(bytes.data(), &in_bytes, sizeof in_bytes);
  std::memcpy(bytes.data() + 4, &out_bytes, sizeof out_bytes);
  bytes[8] = flag;
  bytes.insert(bytes.end(), data.begin(), data.end());
  return bytes;
}

/** Bytes that count up from a value. */
inline ByteVector counting_bytes(std::size_t size, std::uint8_t first = 0) {
  ByteVector bytes(size);
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<std::uint8_t>(first + i * 7 + i / 256);
  }
  return bytes;
}

/** The statuses with which the driver does not hand a mailbox over, and what becomes of them. */
struct DriverError {
  std::uint32_t status;
  int delivery;
  std::uint16_t mailbox_status;
  std::uint32_t result;
};

inline constexpr DriverError driver_errors[] = {
    {0x0BAD005A, 0, 252, 3}, {0x0BAD0039, 0, 253, 1}, {0x0BAD0004, 0, 254, 1},
    {0x0BAD0001, 0, 252, 1}, {0, 19, 252, 1},         {0x0BAD0039, 19, 253, 1},
};

}  // namespace ovk::test
