/**
 * @file
 * What a call that passes its arguments on as one command has promised, as a row of a table.
 */
#pragma once

#include "library/core/catalogue.h"

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace ovk::test {

/** A 32-bit value and where it stands; the meaning of the place depends on the list. */
using Place = std::pair<std::size_t, std::uint32_t>;

/** Where bytes come from or go to: payload 1, 2 or 3, the Command block, or nothing but one value.
 */
enum Source : std::size_t { block = 0, zeros = 4, ones = 5 };

/** Bytes that travel between a payload, or a word of the block, and the caller's memory. */
struct Copy {
  std::size_t payload;
  std::size_t at;  ///< the place in the payload
  std::size_t memory;
  std::size_t size;
};

/** The SLI modes of the boards that the command is sent to. */
struct Gate {
  std::vector<std::uint32_t> admitted;
  std::uint32_t refused_mode = 0;  ///< 0: none is refused
  std::uint32_t refusal = 0;
};

inline Gate sli4_only(std::uint32_t refusal) { return {{4, 5}, 3, refusal}; }
inline Gate sli3_only(std::uint32_t refusal) { return {{3, 2}, 4, refusal}; }

/** What a status begins with; the table tells only the rest. */
inline constexpr std::uint32_t status_base = 0x0BAD0000;

/** What a command that was not delivered gives. */
enum class Undelivered { by_status, otherwise, error };

/** A call, and the bytes of memory that it is given. */
struct Run {
  std::uint32_t (*call)(std::uint32_t board, std::uint8_t* memory);
  std::size_t size;
};

/** The bytes of an argument or of what it points to, as a multiple of four; a pointer to no type
   has `untyped` bytes. */
template <typename Argument, std::size_t untyped>
constexpr std::size_t size_of() {
  using Target = std::remove_cv_t<std::remove_pointer_t<Argument>>;
  if constexpr (std::is_void_v<Target>) {
    return untyped;
  } else {
    return (sizeof(Target) + 3) / 4 * 4;
  }
}

template <typename Argument, std::size_t untyped>
Argument take(std::uint8_t*& next) {
  void* const place = next;
  next += size_of<Argument, untyped>();
  if constexpr (std::is_pointer_v<Argument>) {
    return static_cast<Argument>(place);
  } else {
    return *static_cast<Argument*>(place);
  }
}

template <auto function, std::size_t untyped, typename Result, typename Board,
          typename... Arguments>
constexpr Run run_in_order(Result (* /*function*/)(Board, Arguments...)) {
  return {[](std::uint32_t board, [[maybe_unused]] std::uint8_t* memory) {
            const std::tuple<Board, Arguments...> arguments{static_cast<Board>(board),
                                                            take<Arguments, untyped>(memory)...};
            return static_cast<std::uint32_t>(std::apply(function, arguments));
          },
          (std::size_t{0} + ... + size_of<Arguments, untyped>())};
}

/** Has a call's arguments, and what they point to, stand in its memory one behind the other. */
template <auto function, std::size_t untyped = 0>
inline constexpr Run in_order = run_in_order<function, untyped>(function);

/** The call with other arguments or another answer than its row has, and what they come to. */
struct Variation {
  /** In place of the row's, and with it all that is given, sent and always delivered. */
  Run run = {};

  // Besides those of the row:
  std::vector<Place> given = {};
  std::vector<Place> words = {};
  std::vector<Copy> sends = {};
  std::vector<Place> answers = {};
  std::vector<std::pair<std::size_t, Place>> replies = {};

  // In place of those of the row:
  std::vector<Copy> shares = {};
  std::vector<Copy> gets = {};  ///< whatever the ending
  std::vector<Place> leaves = {};
  std::uint32_t result = 0;
  std::uint32_t status = 0;
  int delivery = 0;
  bool allocates = true;  ///< if the row does
};

/** A table with an entry for each board, which gets bytes of the answer on success. */
struct Kept {
  void* table = nullptr;
  std::size_t source = 0;
  std::size_t at = 0;
  std::size_t size = 0;
};

/** Whose number a command carries. Its log lines name the caller's board, or 0 for the module. */
enum class Addressee { board, driver_board_0, module };

/** A command that a call sends besides the one of its row. Its answer is zeros. */
struct Besides {
  const char* command;
  std::vector<Place> words = {};
  Addressee addressee = Addressee::board;
};

/** What a call promises. */
struct Terms {
  const char* variant = "";  ///< tells rows of one call apart

  // The way to the driver. A payload has zeros where nothing is copied to.
  std::vector<Place> given = {};  ///< words of the caller's memory; the other bytes all count up
  std::vector<Place> words = {};  ///< words of the block, those of `sends` besides
  std::vector<Copy> sends = {};
  std::vector<Copy> shares = {};  ///< what the driver reads and writes in the caller's own memory
  bool sends_tag = false;         ///< the board's refresh tag, in word 4
  bool passes_on = true;          ///< else the row tells nothing of the payloads
  Addressee addressee = Addressee::board;

  // The way back. All words and payloads that the driver writes have other bytes than before.
  std::vector<Place> answers = {};  ///< words of the block that mean something
  std::vector<std::pair<std::size_t, Place>> replies = {};  ///< and those of payloads
  std::vector<Copy> always = {};                            ///< what reaches the caller anyhow
  std::vector<Copy> gets = {};                              ///< on success
  std::vector<Copy> refused = {};                           ///< on every other status
  std::pair<std::uint32_t, std::vector<Copy>> told = {};    ///< on one other status
  std::vector<Place> leaves = {};  ///< words of the caller's memory afterwards, whatever came
  Kept keeps = {};

  // The results.
  std::uint32_t success = 0;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> results = {};  ///< of statuses
  std::uint32_t otherwise = 1;
  bool passes_status = false;  ///< a status is the result
  Undelivered undelivered = Undelivered::by_status;
  Gate gate = {};
  std::vector<std::uint32_t> no_memory = {};  ///< when the first allocation fails, the second, ...
  bool allocates_first = false;               ///< before the gate
  bool sends_anyhow = false;                  ///< with a null pointer, when there is no memory
  std::vector<Variation> variations = {};

  std::vector<Besides> before = {};
  std::vector<Besides> after = {};  ///< on success

  // The log, where its lines do not name the call and the command.
  const char* logged_call = nullptr;
  const char* call_text = nullptr;
  const char* result_text = nullptr;
  LoggedLines lines = all_lines;
};

struct Contract {
  const char* call;
  const char* command;
  Run run;
  Terms terms = {};
};

/** The calls that pass their arguments on, and for each command that none of these sends a call
   that does more. */
const std::vector<Contract>& contracts();

}  // namespace ovk::test
