/**
 * @file
 * The simulator through its three functions, as management software with a signature of its own.
 */
#pragma once

#include "driver_abi/vmkmgmt.h"
#include "simulator/call/command_id.h"
#include "tests/support/files.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ravnsim::test {

/** All callbacks of the interface. */
std::vector<vmk_MgmtCallbackInfo> callbacks();

/** The signature over some callbacks. */
vmk_MgmtSignature signature(const std::vector<vmk_MgmtCallbackInfo>& callbacks);

/** A channel that closes itself. */
class Channel {
 public:
  explicit Channel(const std::vector<vmk_MgmtCallbackInfo>& declared = callbacks());
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;
  ~Channel() { close(); }

  void close();

  /** What opening it gave. */
  [[nodiscard]] int open_result() const { return open_result_; }
  [[nodiscard]] vmk_MgmtChannel* get() const { return channel_; }

  /** Invokes a command and gives the channel's own result. */
  template <typename... Payloads>
  int invoke(CommandId command, CommandBlock& block, Payloads*... payloads) const {
    return vmk_MgmtUserCallbackInvokeInt(channel_, 0, command.number, 1 + sizeof...(Payloads),
                                         &block, payloads...);
  }

  /** Invokes a command, which must be delivered, and gives the driver's status. */
  template <typename... Payloads>
  DriverStatus send(CommandId command, CommandBlock& block, Payloads*... payloads) const {
    EXPECT_EQ(invoke(command, block, payloads...), 0) << name_of(command);
    return block.status;
  }

 private:
  vmk_MgmtChannel* channel_ = nullptr;
  int open_result_;
};

/** An environment without the simulator's variables, a folder for files, and a channel. */
class SimulatorTest : public testing::Test {
 protected:
  SimulatorTest();
  ~SimulatorTest() override;

  /** Has the simulator read this text as its topology file or its fault file, from its next start
      on; gives the path. */
  std::string use_topology(const std::string& text);
  std::string use_faults(const std::string& text);

  /** Gives the simulator a state folder; gives its path. */
  std::filesystem::path use_state();

  /** What is said on standard error while opening and closing a channel. */
  static std::string said_by_a_channel();

  /** Sends a command to board 3 through the test's channel, which the first command opens, and
      gives the driver's status. The Command block is in `answer` then. */
  template <typename... Payloads>
  DriverStatus send(CommandId command, const CommandBlock& block, Payloads*... payloads) {
    if (!channel_) {
      channel_.emplace();
    }
    answer = block;
    answer.driver_board = 3;
    return channel_->send(command, answer, payloads...);
  }

  /** Closes the test's channel: the next command starts a new host. */
  void restart() { channel_.reset(); }

  const ovk::test::TemporaryFolder own_folder;
  const std::filesystem::path& folder = own_folder.path();
  CommandBlock answer{};

 private:
  std::string use_file(const char* name, const char* variable, const std::string& text);

  std::optional<Channel> channel_;
};

/** Whether two records are the same, and else where not: only a long record's start is printed. */
template <typename Record>
testing::AssertionResult same(const Record& record, const Record& expected) {
  if (record.size() != expected.size()) {
    return testing::AssertionFailure() << record.size() << " elements, not " << expected.size();
  }
  const auto [found, wanted] = std::ranges::mismatch(record, expected);
  return found == record.end() ? testing::AssertionSuccess()
                               : testing::AssertionFailure()
                                     << "element " << found - record.begin() << " is " << +*found
                                     << ", not " << +*wanted;
}

/** A topology of one board, number 3, which sees two ports. */
extern const std::string one_board;

/** A text with one passage of it replaced. */
std::string with(std::string text, const std::string& passage, const std::string& replacement);

/** one_board with more members of its board. */
std::string one_board_with(const std::string& members);

/** one_board as an older board. */
std::string sli3_board();

}  // namespace ravnsim::test
