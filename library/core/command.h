/**
 * @file
 * The envelope of every driver command.
 */
#pragma once

#include "driver_abi/command_block.h"
#include "driver_abi/commands.h"
#include "driver_abi/vmkmgmt.h"
#include "library/core/board_tables.h"
#include "library/core/catalogue.h"
#include "library/core/log.h"

#include <ovk/types.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <type_traits>

namespace ovk {

/** The result code that a call gives for a driver status. */
struct StatusResult {
  DriverStatus status;
  std::uint32_t result;
};

/** How a command ended. */
struct [[nodiscard]] Outcome {
  int invoke_result;
  DriverStatus status;

  [[nodiscard]] bool delivered() const { return invoke_result == 0; }
  [[nodiscard]] bool succeeded() const { return delivered() && status == DriverStatus::success; }

  /** OVK_OK, or the result that the map gives for the status, or `otherwise`. A status that the
      map names decides also when the command was not delivered. */
  [[nodiscard]] std::uint32_t result(std::initializer_list<StatusResult> map = {},
                                     std::uint32_t otherwise = OVK_FAILED) const {
    if (succeeded()) {
      return OVK_OK;
    }
    const auto* entry = std::ranges::find(map, status, &StatusResult::status);
    return entry != map.end() ? entry->result : otherwise;
  }

  /** As result(), except that an undelivered command gives `otherwise` whatever its status. */
  [[nodiscard]] std::uint32_t result_if_delivered(std::initializer_list<StatusResult> map,
                                                  std::uint32_t otherwise = OVK_FAILED) const {
    return delivered() ? result(map, otherwise) : otherwise;
  }

  /** The host's error when there is one, else the driver's status as it is. */
  [[nodiscard]] std::uint32_t raw() const {
    return delivered() ? static_cast<std::uint32_t>(status)
                       : static_cast<std::uint32_t>(invoke_result);
  }
};

/** A payload of `size` bytes without a layout of its own. */
template <std::size_t size>
struct Bytes {
  std::uint8_t bytes[size];
};

/** A caller's buffer that the interface requires to hold at least `size` bytes. */
template <std::size_t size, typename Buffer>
auto* as_bytes(Buffer* buffer) {
  if constexpr (std::is_const_v<Buffer>) {
    return static_cast<const Bytes<size>*>(static_cast<const void*>(buffer));
  } else {
    return static_cast<Bytes<size>*>(static_cast<void*>(buffer));
  }
}

/** Whether a command parameter may be given as a `Payload*`. */
template <typename Payload>
consteval bool accepts(const Parameter& parameter) {
  if (parameter.direction == Direction::descriptor) {
    return std::is_same_v<std::remove_const_t<Payload>, vmk_MgmtDataDescriptor>;
  }
  return sizeof(Payload) >= parameter.size &&
         (parameter.direction == Direction::input || !std::is_const_v<Payload>);
}

/**
 * One command to the driver: the zeroed Command block, addressed to a board, and the place in the
 * code that its log lines name.
 *
 *     ovk::Command command{board, {.request_size = sizeof reply}};
 *     const ovk::Outcome outcome = command.invoke<"RAVN_MGMT_LINKINFO">(&reply);
 */
class Command {
 public:
  /** Addresses a board by its library board index. */
  explicit Command(std::uint32_t board, const CommandBlock& arguments = {}, LogPlace place = here())
      : block{arguments}, place_{place}, board_{board} {
    block.driver_board = getDrvBrdNum(board);
  }

  /** A command of the driver module, not of a board: word 0 is 0, and so is the logged board. */
  static Command without_board(LogPlace place = here()) { return {place, 0, 0}; }

  /** Addresses a driver board number as it stands, and logs it as the board. */
  static Command to_driver_board(std::uint32_t number, LogPlace place = here()) {
    return {place, number, number};
  }

  /**
   * Writes the call line, invokes the command, writes the result line.
   *
   * @tparam name      the command
   * @tparam reported  the command that the result lines name instead, for the calls that have it so
   * @param payloads   a pointer for each parameter after the Command block, to at least as many
   *                   bytes as the driver copies, and to const ones only where it does not write
   */
  template <CommandName name, CommandName reported = name, typename... Payloads>
  Outcome invoke(Payloads*... payloads) {
    // A reference to the list's entry would keep the whole list, and its relocations, in the
    // binary.
    constexpr std::uint32_t id = name->id;
    constexpr std::size_t payload_count = name->payload_count;
    static constexpr LogText log = log_text(name);
    static constexpr const char* result_text =
        name == reported ? log.results : reported->name.data();
    static_assert(sizeof...(Payloads) == payload_count,
                  "the command takes another number of payloads");
    static_assert(
        payloads_fit<Payloads...>(*name),
        "a payload is smaller than what the driver copies, or const though it is written");

    if constexpr ((log.lines & call_line) != 0) {
      if (log_enabled(OVK_LOG_CALL)) {
        write_call_line(log.call);
      }
    }
    const Outcome outcome{
        vmk_MgmtUserCallbackInvokeInt(ravn_mgmt_handle, 0, id, 1 + sizeof...(Payloads), &block,
                                      payloads...),
        block.status};
    if (fLogger != nullptr) {
      report(outcome, result_text, log.lines);
    }
    return outcome;
  }

  CommandBlock block;

 private:
  Command(LogPlace place, std::uint32_t driver_board, std::uint32_t logged_board)
      : block{.driver_board = driver_board}, place_{place}, board_{logged_board} {}

  template <typename... Payloads>
  static consteval bool payloads_fit(const DriverCommand& command) {
    std::size_t i = 0;
    return (accepts<Payloads>(command.payloads[i++]) && ...);
  }

  void write_call_line(const char* name) const;
  void report(const Outcome& outcome, const char* name, LoggedLines lines) const;

  LogPlace place_;
  std::uint32_t board_;
};

}  // namespace ovk
