/**
 * @file
 * What every test of the library starts from: a scripted channel, a host, no log, board 0 mapped to
 * driver board 5 and board 1 to driver board 9.
 */
#pragma once

#include "tests/support/allocation.h"
#include "tests/support/files.h"
#include "tests/support/host.h"
#include "tests/support/scripted_channel.h"

#include <ovk/core.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ovk::test {

/** Driver board numbers of the boards that LibraryTest maps. */
inline constexpr std::uint32_t board0 = 5;
inline constexpr std::uint32_t board1 = 9;

/** What the driver is sent for a board index without a board. */
inline constexpr std::uint32_t unmapped_number = 0xFFFFFFFF;

/** A log line without its time, line number, process and thread. */
struct LogLine {
  std::string function;
  std::string text;
  bool operator==(const LogLine&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << line.function << ": " << line.text;
  }
};

/** How a command ends at the driver, and the result that becomes of it. */
struct Ending {
  std::uint32_t status;
  int delivery;
  std::uint32_t result;
};

class LibraryTest : public testing::Test {
 protected:
  LibraryTest();
  ~LibraryTest() override;

  /** Opens a log of the test's own at a level. */
  void log_at(std::uint32_t level);
  /** What was logged since. */
  std::vector<LogLine> log_lines();
  std::string raw_log();

  /** Expects what the library asks for a board's SLI mode, and answers with this mode, and with
      feature flags for those who ask for them. */
  void expect_sli_mode(std::uint32_t driver_board, std::uint32_t mode, std::uint32_t features = 0);
  /** Expects the same, and refuses it. */
  void expect_no_sli_mode(std::uint32_t driver_board);
  /** Checks that a call fails without an SLI mode, has this result on boards of another mode, and
      frees its memory both times. */
  template <typename Call>
  void expect_gate(const Call& call, std::uint32_t other_mode, std::uint32_t result_there) {
    expect_no_sli_mode(board0);
    expect_sli_mode(board0, other_mode);
    const AllocationWatch memory;
    EXPECT_EQ(call(), OVK_FAILED);
    EXPECT_EQ(call(), result_there);
    EXPECT_EQ(memory.outstanding(), 0);
  }
  /** Expects the question for a board's adapter type, and answers with this type. */
  void expect_adapter_type(std::uint32_t driver_board, std::uint32_t type);

  /** Writes the library's configuration file. */
  void configure_log(const std::string& text);
  /** What the library's own log file holds. */
  std::vector<LogLine> log_file();

  /** Runs a test's body in a process in which the library has not been used yet. */
  void in_fresh_process(const std::function<void()>& body);

  ScriptedChannel channel;

 private:
  const TemporaryFolder folder_;
  std::array<char, 4096> log_buffer_{};  // or logging would allocate
};

}  // namespace ovk::test
