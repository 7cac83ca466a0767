/**
 * @file
 * A management channel whose driver a test scripts: it takes exactly the commands that the test
 * expects, in their order, and gives the answers that the test wrote down.
 */
#pragma once

#include "driver_abi/commands.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace ovk::test {

using ByteVector = std::vector<std::uint8_t>;

template <typename Record>
ByteVector bytes_of(const Record& record) {
  static_assert(std::is_trivially_copyable_v<Record>);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(&record);
  return {bytes, bytes + sizeof record};
}

template <typename Record>
ByteVector bytes_of(const std::vector<Record>& records) {
  static_assert(std::is_trivially_copyable_v<Record>);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(records.data());
  return {bytes, bytes + records.size() * sizeof(Record)};
}

/** A record whose bytes are all the same. */
template <typename Record>
Record record_of(std::uint8_t byte) {
  Record record;
  std::memset(&record, byte, sizeof record);
  return record;
}

/** Bytes that count up, and leave one value out after every 256, so that these differ as well. */
inline ByteVector counted_bytes(std::size_t size, std::uint8_t first = 1) {
  ByteVector bytes(size);
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<std::uint8_t>(first + i + i / 256);
  }
  return bytes;
}

/** The bytes with a value written over them. */
template <typename Value>
ByteVector with_at(ByteVector bytes, std::size_t offset, const Value& value) {
  const ByteVector written = bytes_of(value);
  std::copy(written.begin(), written.end(), bytes.begin() + static_cast<std::ptrdiff_t>(offset));
  return bytes;
}

/** Compares buffers of any length; a failure tells their sizes and where they first differ. */
MATCHER_P(SameBytes, expected, std::to_string(expected.size()) + " given bytes") {
  if (arg == expected) {  // much faster
    return true;
  }
  const auto [actual, wanted] = std::ranges::mismatch(arg, expected);
  const auto value_at = [](auto place, const ByteVector& bytes) {
    return place == bytes.end() ? "the end" : testing::PrintToString(*place);
  };
  *result_listener << arg.size() << " bytes, at offset " << actual - arg.begin() << " "
                   << value_at(actual, arg) << " for " << value_at(wanted, expected);
  return false;
}

/** The driver board number of a command that carries none. */
inline constexpr std::uint32_t no_board = 0;

/** One command that is expected, and its answer. Words that are not named are expected to be 0. */
class Exchange {
 public:
  Exchange(const DriverCommand& command, std::uint32_t driver_board)
      : command_{&command}, expected_words_{driver_board} {}

  /** Expects a word of the Command block. */
  Exchange& word(std::size_t number, std::uint32_t value) {
    expected_words_.at(number) = value;
    return *this;
  }
  /** Expects the first bytes of payload 1, 2 or 3 as the driver gets it, and zeros behind them. */
  template <typename Record>
  Exchange& sends(std::size_t payload, const Record& record) {
    payloads_.at(payload - 1).expected = bytes_of(record);
    return *this;
  }
  /** Expects a null pointer in place of payload 1, 2 or 3. */
  Exchange& lacks(std::size_t payload) {
    payloads_.at(payload - 1).lacking = true;
    return *this;
  }

  /** Answers a word of the Command block. */
  Exchange& answers(std::size_t word, std::uint32_t value) {
    answered_words_.emplace_back(word, value);
    return *this;
  }
  /** Answers with the first bytes of payload 1, 2 or 3. */
  template <typename Record>
  Exchange& replies(std::size_t payload, const Record& record) {
    payloads_.at(payload - 1).reply = bytes_of(record);
    return *this;
  }
  Exchange& status(std::uint32_t status) { return answers(status_word, status); }
  /** The channel reports this error; the answers are given all the same. */
  Exchange& delivery_error(int result) {
    result_ = result;
    return *this;
  }
  /** Answers with a status, and the channel reports an error or none. */
  Exchange& ends_with(std::uint32_t status, int delivery) {
    return this->status(status).delivery_error(delivery);
  }

  /** A payload as it came, whole, whatever its direction. Only after the command was sent. */
  [[nodiscard]] const ByteVector& sent(std::size_t payload) const {
    return payloads_.at(payload - 1).sent;
  }

 private:
  friend class ScriptedChannel;

  static constexpr std::size_t words = 12;
  static constexpr std::size_t status_word = 11;

  struct Payload {
    std::optional<ByteVector> expected;
    bool lacking = false;
    ByteVector reply;
    ByteVector sent;
  };

  int perform(std::uint32_t* block, const std::vector<std::uint8_t*>& payloads);

  const DriverCommand* command_;
  std::array<std::uint32_t, words> expected_words_{};
  std::vector<std::pair<std::size_t, std::uint32_t>> answered_words_;
  std::array<Payload, max_payloads> payloads_;
  int result_ = 0;
};

/** The channel of the running test. The end of its life checks that every exchange took place. */
class ScriptedChannel {
 public:
  ScriptedChannel() { current = this; }
  ~ScriptedChannel() { verify(); }

  /** Expects a command, by its name, after those expected before. */
  Exchange& expect(std::string_view name, std::uint32_t driver_board);

  /** Checks that every exchange took place. */
  void verify() const;

  int open_result = 0;
  int opened = 0;
  int closed = 0;

  /** The channel side; called by the three channel functions. */
  inline static ScriptedChannel* current = nullptr;
  vmk_MgmtChannel* handle() { return reinterpret_cast<vmk_MgmtChannel*>(this); }
  int invoke(std::uint64_t id, std::uint32_t parameter_count,
             const std::vector<std::uint8_t*>& parameters);

 private:
  std::deque<Exchange> exchanges_;
  std::size_t next_ = 0;
};

}  // namespace ovk::test
