/**
 * @file
 * Calls as a careful program writes them that does without the library: the same commands, buffers
 * zeroed once and only where the driver must not find them dirty, only the copies that the
 * interface demands, no heap where the stack serves, and no log. A call is a row of a table, and
 * its code is made of the row at compile time, so that nothing of the table is read while it runs.
 */
#pragma once

#include "driver_abi/command_block.h"
#include "driver_abi/commands.h"
#include "driver_abi/vmkmgmt.h"

#include <ovk/core.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <tuple>
#include <utility>

namespace ovk::bench {

/** The board that all calls are for. */
inline constexpr std::uint32_t board = 0;

/** How many bytes a copy has. */
struct Amount {
  enum Kind : std::uint8_t { fixed, told, replied, cleared } kind = fixed;
  /** The bytes; or where the caller's memory tells them; or the bytes of each thing that the driver
      says there is; or the bytes that become 0. */
  std::uint32_t value = 0;
};

constexpr Amount bytes(std::uint32_t count) { return {Amount::fixed, count}; }
constexpr Amount told_at(std::uint32_t place) { return {Amount::told, place}; }
constexpr Amount replied(std::uint32_t size = 1) { return {Amount::replied, size}; }
constexpr Amount cleared(std::uint32_t count) { return {Amount::cleared, count}; }

/** A copy between a payload and the caller's memory; payload 0 is the Command block. */
struct Copy {
  std::uint32_t payload = 0;
  std::uint32_t at = 0;
  std::uint32_t memory = 0;
  Amount amount = {};
};

/** Where a payload stands. */
struct Place {
  enum Kind : std::uint8_t { stack, heap, caller } kind = stack;
  std::uint32_t memory = 0;
  bool zeroed = false;
};

inline constexpr Place on_heap{Place::heap};
constexpr Place callers(std::uint32_t memory) { return {Place::caller, memory}; }
constexpr Place callers_zeroed(std::uint32_t memory) { return {Place::caller, memory, true}; }

/** A word of the block that is the same at every call. */
struct Constant {
  std::uint32_t word = 0;
  std::uint32_t value = 0;
};

/** The boards that a call is for. */
enum class Gate : std::uint8_t { all_boards, below_sli4, sli4 };

/** A command, and all that travels with it. */
struct Row {
  CommandName command;
  std::array<Place, max_payloads> places = {};
  std::array<Constant, 3> words = {};
  std::array<Copy, 5> sends = {};
  std::array<Copy, 4> gets = {};
  Gate gate = Gate::all_boards;
};

/** The commands that tell a board's SLI mode: what the library sends for each of its gates. */
std::uint32_t by_hand_mode();

/** The code of a row. */
template <Row row>
class ByHand {
 public:
  static std::uint32_t call(std::uint8_t* memory) {
    if constexpr (row.gate != Gate::all_boards) {
      if ((by_hand_mode() < OVK_SLI4) != (row.gate == Gate::below_sli4)) {
        return OVK_NOT_SUPPORTED;
      }
    }
    std::uint8_t* heap = nullptr;
    if constexpr (heap_offset(count) != 0) {
      heap = static_cast<std::uint8_t*>(std::malloc(heap_offset(count)));
      if (heap == nullptr) {
        return OVK_NO_MEMORY;
      }
    }
    const std::uint32_t result = invoke(memory, heap, std::make_index_sequence<count>{});
    if constexpr (heap_offset(count) != 0) {
      std::free(heap);
    }
    return result;
  }

 private:
  static constexpr const DriverCommand& command = *row.command;
  static constexpr std::size_t count = command.payload_count;

  /** Where a payload stands in the one heap block; of the last one, the block's size. */
  static constexpr std::size_t heap_offset(std::size_t payload) {
    std::size_t offset = 0;
    for (std::size_t i = 0; i < payload; ++i) {
      offset += row.places[i].kind == Place::heap ? command.payloads[i].size : 0;
    }
    return offset;
  }

  template <std::size_t i>
  static constexpr std::size_t on_stack =
      row.places[i].kind == Place::stack ? command.payloads[i].size : 1;

  template <std::size_t i>
  struct Stack {
    Stack() {}  // or the tuple below would zero the bytes before they are filled
    alignas(std::uint32_t) std::uint8_t bytes[on_stack<i>];
  };

  static std::uint32_t size_of(const Amount& amount, const std::uint8_t* memory) {
    std::uint32_t size = amount.value;
    if (amount.kind == Amount::told) {
      std::memcpy(&size, memory + amount.value, sizeof size);
    }
    return size;
  }

  template <std::size_t... i>
  static std::uint32_t invoke(std::uint8_t* memory, std::uint8_t* heap,
                              std::index_sequence<i...> /*payloads*/) {
    CommandBlock block{.driver_board = static_cast<std::uint32_t>(ovk_brdno[board])};
    fill_block(block, memory, std::make_index_sequence<row.words.size()>{},
               std::make_index_sequence<row.sends.size()>{});
    std::tuple<Stack<i>...> stack;
    std::uint8_t* const payloads[]{place<i>(std::get<i>(stack).bytes, heap, memory)..., nullptr};
    (fill<i>(payloads[i], memory), ...);
    const int error = vmk_MgmtUserCallbackInvokeInt(ravn_mgmt_handle, 0, command.id, 1 + count,
                                                    &block, payloads[i]...);
    if (error != 0 || block.status != DriverStatus::success) {
      return OVK_FAILED;
    }
    deliver(block, payloads, memory, std::make_index_sequence<row.gets.size()>{});
    return OVK_OK;
  }

  template <std::size_t... word, std::size_t... sent>
  static void fill_block(CommandBlock& block, const std::uint8_t* memory,
                         std::index_sequence<word...> /*words*/,
                         std::index_sequence<sent...> /*sends*/) {
    auto* const words = reinterpret_cast<std::uint8_t*>(&block);
    const auto set = [words](std::size_t number, std::uint32_t value) {
      std::memcpy(words + number * sizeof value, &value, sizeof value);
    };
    const auto pass = [&]<std::size_t n>() {
      if constexpr (row.sends[n].payload == 0 && row.sends[n].amount.value != 0) {
        std::memcpy(words + row.sends[n].at, memory + row.sends[n].memory, sizeof(std::uint32_t));
      }
    };
    ((row.words[word].word != 0 ? set(row.words[word].word, row.words[word].value) : void()), ...);
    (pass.template operator()<sent>(), ...);
  }

  template <std::size_t i>
  static std::uint8_t* place(std::uint8_t* stack, std::uint8_t* heap, std::uint8_t* memory) {
    switch (row.places[i].kind) {
      case Place::heap:
        return heap + heap_offset(i);
      case Place::caller:
        return memory + row.places[i].memory;
      default:
        return stack;
    }
  }

  /** Copies in what is sent, and zeroes what stands around it. */
  template <std::size_t i>
  static void fill(std::uint8_t* payload, const std::uint8_t* memory) {
    constexpr std::size_t size = command.payloads[i].size;
    constexpr std::size_t number = i + 1;
    if constexpr (row.places[i].kind == Place::caller) {
      if constexpr (row.places[i].zeroed) {
        std::memset(payload, 0, size);
      }
    } else if constexpr (sends_head(number)) {
      constexpr Copy head = *std::ranges::find(row.sends, number, &Copy::payload);
      const std::size_t sent = std::min<std::size_t>(size_of(head.amount, memory), size);
      std::memcpy(payload, memory + head.memory, sent);
      std::memset(payload + sent, 0, size - sent);
    } else {
      std::memset(payload, 0, size);
      copy_pieces<number>(payload, memory, std::make_index_sequence<row.sends.size()>{});
    }
  }

  /** Whether all that a payload carries is one piece at its start. */
  static constexpr bool sends_head(std::size_t number) {
    const auto first = std::ranges::find(row.sends, number, &Copy::payload);
    return std::ranges::count(row.sends, number, &Copy::payload) == 1 && first->at == 0;
  }

  template <std::size_t number, std::size_t... sent>
  static void copy_pieces(std::uint8_t* payload, const std::uint8_t* memory,
                          std::index_sequence<sent...> /*sends*/) {
    const auto copy = [&]<std::size_t n>() {
      constexpr Copy piece = row.sends[n];
      if constexpr (piece.payload == number) {
        std::memcpy(payload + piece.at, memory + piece.memory, size_of(piece.amount, memory));
      }
    };
    (copy.template operator()<sent>(), ...);
  }

  template <std::size_t... got>
  static void deliver(const CommandBlock& block, std::uint8_t* const* payloads,
                      std::uint8_t* memory, std::index_sequence<got...> /*gets*/) {
    const auto copy = [&]<std::size_t n>() {
      constexpr Copy piece = row.gets[n];
      if constexpr (piece.amount.kind == Amount::cleared) {
        std::memset(memory + piece.memory, 0, piece.amount.value);
      } else if constexpr (piece.amount.value != 0 || piece.amount.kind == Amount::told) {
        const std::uint8_t* from = reinterpret_cast<const std::uint8_t*>(&block) + piece.at;
        std::size_t size = size_of(piece.amount, memory);
        if constexpr (piece.payload != 0) {
          from = payloads[piece.payload - 1] + piece.at;
          if constexpr (piece.amount.kind == Amount::replied) {
            size *= block.reply_size;
          }
          if constexpr (piece.amount.kind != Amount::fixed) {
            size = std::min<std::size_t>(size, command.payloads[piece.payload - 1].size - piece.at);
          }
        }
        std::memcpy(memory + piece.memory, from, size);
      }
    };
    (copy.template operator()<got>(), ...);
  }
};

}  // namespace ovk::bench
