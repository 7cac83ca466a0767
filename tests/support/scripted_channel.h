/**
 * @file
 * A management channel whose driver a test scripts: it takes exactly the commands that the test
 * expects, in their order, and gives the answers that the test wrote down.
 */
#pragma once

#include "core/catalogue.h"
#include "platform/driver_status.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <string_view>
#include <type_traits>
#include <vector>

namespace ovk::test {

using ByteVector = std::vector<std::uint8_t>;

template <typename Record>
ByteVector bytes_of(const Record& record) {
  static_assert(std::is_trivially_copyable_v<Record>);
  ByteVector bytes(sizeof record);
  std::memcpy(bytes.data(), &record, sizeof record);
  return bytes;
}

/** The driver board number of a command that carries none. */
inline constexpr std::uint32_t no_board = 0;

/** One command that is expected, and its answer. Words that are not named are expected to be 0. */
class Exchange {
 public:
  Exchange(const Callback& callback, std::uint32_t driver_board);

  /** Expects a word of the Command block. */
  Exchange& word(std::size_t number, std::uint32_t value);
  /** Expects the first bytes of payload 1, 2 or 3 as the driver gets it, and zeros behind them. */
  Exchange& sends(std::size_t payload, ByteVector bytes);
  template <typename Record>
  Exchange& sends(std::size_t payload, const Record& record) {
    return sends(payload, bytes_of(record));
  }

  /** Expects a null pointer in place of payload 1, 2 or 3. */
  Exchange& lacks(std::size_t payload);

  /** Answers a word of the Command block. */
  Exchange& answers(std::size_t word, std::uint32_t value);
  /** Answers with the first bytes of payload 1, 2 or 3. */
  Exchange& replies(std::size_t payload, ByteVector bytes);
  template <typename Record>
  Exchange& replies(std::size_t payload, const Record& record) {
    return replies(payload, bytes_of(record));
  }
  Exchange& status(DriverStatus status);
  Exchange& status(std::uint32_t status);
  /** The channel reports this error; the answers are given all the same. */
  Exchange& delivery_error(int result);
  /** Runs while the command is at the driver. */
  Exchange& meanwhile(std::function<void()> action);

  /** A payload as it came, whole, whatever its direction. Only after the command was sent. */
  [[nodiscard]] const ByteVector& sent(std::size_t payload) const;

 private:
  friend class ScriptedChannel;

  static constexpr std::size_t words = 12;

  int perform(std::uint32_t* block, const std::vector<std::uint8_t*>& payloads);
  void check(const std::uint32_t* block, const std::vector<std::uint8_t*>& payloads);

  const Callback* callback_;
  std::array<std::uint32_t, words> expected_words_{};
  std::array<ByteVector, max_payloads> expected_payloads_;
  std::array<bool, max_payloads> payload_expected_{};
  std::array<bool, max_payloads> payload_lacking_{};
  std::vector<std::pair<std::size_t, std::uint32_t>> answered_words_;
  std::array<ByteVector, max_payloads> replies_;
  std::array<ByteVector, max_payloads> sent_;
  std::function<void()> meanwhile_;
  int result_ = 0;
};

/** The channel of the running test. The end of its life checks that every exchange took place. */
class ScriptedChannel {
 public:
  ScriptedChannel();
  ~ScriptedChannel();
  ScriptedChannel(const ScriptedChannel&) = delete;
  ScriptedChannel& operator=(const ScriptedChannel&) = delete;

  /** Expects a command, by its name in the catalogue, after those expected before. */
  Exchange& expect(std::string_view name, std::uint32_t driver_board);

  /** Checks that every exchange took place. */
  void verify() const;

  /** Answers every command that is not expected with this delivery error instead of failing. */
  void answer_others_with(int result) { other_result_ = result; }

  [[nodiscard]] std::size_t commands_seen() const { return next_; }

  int open_result = 0;
  int opened = 0;
  int closed = 0;

  /** The channel side; called by the three channel functions. */
  static ScriptedChannel* current();
  int invoke(std::uint64_t id, std::uint32_t parameter_count,
             const std::vector<std::uint8_t*>& parameters);

 private:
  std::deque<Exchange> exchanges_;
  std::size_t next_ = 0;
  int other_result_ = 0;
};

}  // namespace ovk::test
