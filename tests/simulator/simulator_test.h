/**
 * @file
 * The simulator through its three functions, as management software with a signature of its own.
 */
#pragma once

#include "driver_abi/commands.h"
#include "driver_abi/vmkmgmt.h"
#include "simulator/call/command_id.h"
#include "tests/support/files.h"

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
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

 private:
  vmk_MgmtChannel* channel_ = nullptr;
  int open_result_;
};

using Bytes = std::vector<std::uint8_t>;

/** Numbers as the driver's records have them, texts of hex digits, and one thing behind the other.
 */
Bytes words(std::initializer_list<std::uint32_t> numbers);
Bytes hex(std::string_view digits);
Bytes operator+(Bytes first, const Bytes& second);

/** What the driver makes of a command. */
struct Answer {
  CommandBlock block{};
  std::vector<Bytes> payloads;  ///< those behind the Command block, as they are then

  [[nodiscard]] const Bytes& payload(std::size_t number = 1) const {
    return payloads.at(number - 1);
  }
  [[nodiscard]] std::uint32_t word(std::size_t offset, std::size_t number = 1) const;
  [[nodiscard]] Bytes part(std::size_t offset, std::size_t size, std::size_t number = 1) const;
};

/** A host of one_board without a state folder, a folder for files, and a channel. */
class SimulatorTest : public testing::Test {
 protected:
  SimulatorTest();

  /** Has the simulator read this text as its topology file or its fault file, from its next start
      on; gives the path. */
  std::string use_topology(const std::string& text) { return use_file("RAVNSIM_TOPOLOGY", text); }
  std::string use_faults(const std::string& text) { return use_file("RAVNSIM_FAULTS", text); }

  /** Sends a command, such as "OAS_GET", to board 3, with payloads that begin so, through the
     test's channel, which the first command opens. */
  Answer ask(std::string_view command, const CommandBlock& block = {},
             std::vector<Bytes> payloads = {});
  DriverStatus status_of(std::string_view command, const CommandBlock& block = {},
                         const std::vector<Bytes>& payloads = {}) {
    return ask(command, block, payloads).block.status;
  }

  /** Closes the test's channel: the next command starts a new host. */
  void restart() { channel_.reset(); }

  const ovk::test::TemporaryFolder own_folder;
  const std::filesystem::path& folder = own_folder.path();

 private:
  std::string use_file(const char* variable, const std::string& text);

  std::optional<Channel> channel_;
};

/** A topology of one board, number 3, which sees two ports and has no more than it must. */
extern const std::string one_board;

/** A text with one passage of it replaced. */
std::string with(std::string text, const std::string& passage, const std::string& replacement);

/** one_board with more members of its board. */
std::string one_board_with(const std::string& members);

/** one_board with everything that a board can have. */
std::string full_board();

}  // namespace ravnsim::test
