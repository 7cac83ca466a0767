/**
 * @file
 * The simulator through its three functions, as management software with a signature of its own.
 */
#pragma once

#include "platform/vmkmgmt.h"
#include "simulator/command_block.h"
#include "simulator/driver_commands.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ravnsim::test {

/** Declares a callback whose first parameter is the Command block. */
vmk_MgmtCallbackInfo callback(DriverCommand command,
                              std::vector<std::array<std::uint32_t, 2>> size_and_type = {});

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
  int invoke(DriverCommand command, CommandBlock& block, Payloads*... payloads) const {
    return vmk_MgmtUserCallbackInvokeInt(channel_, 0, static_cast<std::uint64_t>(command),
                                         1 + sizeof...(Payloads), &block, payloads...);
  }

  /** Invokes a command, which must be delivered, and gives the driver's status. */
  template <typename... Payloads>
  DriverStatus send(DriverCommand command, CommandBlock& block, Payloads*... payloads) const {
    EXPECT_EQ(invoke(command, block, payloads...), 0) << name_of(command);
    return block.status;
  }

 private:
  vmk_MgmtChannel* channel_ = nullptr;
  int open_result_;
};

/** An environment without the simulator's variables, and a folder for files. */
class SimulatorTest : public testing::Test {
 protected:
  SimulatorTest();
  ~SimulatorTest() override;

  /** Has the simulator read this text as its topology file or its fault file; gives the path. */
  std::string use_topology(const std::string& text) const;
  std::string use_faults(const std::string& text) const;

  /** Gives the simulator a state folder; gives its path. */
  std::filesystem::path use_state() const;

  /** What is said on standard error while opening and closing a channel. */
  static std::string said_by_a_channel();

  std::filesystem::path folder;
};

/** A topology of one board, number 3, which sees two ports. */
extern const std::string one_board;

/** A text with one passage of it replaced. */
std::string with(std::string text, const std::string& passage, const std::string& replacement);

}  // namespace ravnsim::test
