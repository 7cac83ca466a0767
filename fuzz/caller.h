/**
 * @file
 * A caller of the library that keeps to the interface, and else does what the fuzzer's input says.
 */
#pragma once

#include <ovk/mailbox.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <fuzzer/FuzzedDataProvider.h>
#include <initializer_list>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace ovk::fuzz {

/** How an argument is made. */
struct Recipe {
  enum Kind {
    any,      ///< of any value; behind a pointer is a record of exactly its size
    board,    ///< the number of a board
    number,   ///< within limits
    room,     ///< memory for so many records, or bytes where the type is void
    mailbox,  ///< a mailbox of so many words
    list,     ///< a list with memory for so many entries, and that in its count
    count,    ///< as many as the memory before was made for
    up_to_count,
  };
  Kind kind = any;
  std::uint32_t least = 0;
  std::uint32_t most = 0;
  std::size_t entry_size = 0;
  std::size_t entries_at = sizeof(std::uint32_t);
  std::size_t count_size = sizeof(std::uint32_t);
  std::size_t count_at = 0;
};

constexpr Recipe any{Recipe::any};
constexpr Recipe count{Recipe::count};
constexpr Recipe up_to_count{Recipe::up_to_count};
constexpr Recipe number(std::uint32_t least, std::uint32_t most) {
  return {Recipe::number, least, most};
}
constexpr Recipe room(std::uint32_t least, std::uint32_t most) {
  return {Recipe::room, least, most};
}
constexpr Recipe room(std::uint32_t size) { return room(size, size); }
template <typename Entry, typename Count = std::uint32_t>
constexpr Recipe list(std::uint32_t least, std::uint32_t most, std::size_t count_at = 0,
                      std::size_t entries_at = sizeof(std::uint32_t)) {
  return {Recipe::list, least, most, sizeof(Entry), entries_at, sizeof(Count), count_at};
}

/** Each part of a caller's memory is as large as the interface requires and not a byte larger, so
    that the sanitizer sees the first byte that the library reads or writes too far. */
class Caller {
 public:
  Caller(FuzzedDataProvider& data, std::uint32_t board) : board{board}, data_{data} {}

  const std::uint32_t board;

  std::uint32_t from_to(std::uint32_t least, std::uint32_t most) {
    return data_.ConsumeIntegralInRange(least, most);
  }

  /** Memory of exactly `size` bytes, the first of them from the input; null where `size` is 0. */
  void* memory(std::size_t size);

  /** A mailbox of so many words. What it names of the caller's memory is there. */
  Mailbox* make_mailbox(std::uint32_t words);

  template <typename Argument>
  Argument make(const Recipe& recipe = fuzz::any) {
    using Target = std::remove_pointer_t<Argument>;
    if constexpr (std::is_integral_v<Argument>) {
      return static_cast<Argument>(quantity(recipe));
    } else if constexpr (!std::is_pointer_v<Argument>) {
      return *make<Argument*>();
    } else if constexpr (std::is_void_v<Target>) {
      return place(recipe, 1);
    } else {
      return static_cast<Argument>(place(recipe, sizeof(Target)));
    }
  }

  /** Calls a function of the library. The recipes are those of the arguments behind the board;
      those without one are any. */
  template <typename Result, typename... Arguments>
  void call(Result (*function)(Arguments...), std::initializer_list<Recipe> recipes) {
    const Recipe* next = recipes.begin();
    bool is_first = true;
    const auto make_next = [&]<typename Argument>() {
      if (std::exchange(is_first, false) && std::is_integral_v<Argument>) {
        return make<Argument>({Recipe::board});
      }
      return make<Argument>(next == recipes.end() ? fuzz::any : *next++);
    };
    std::apply(function, std::tuple<Arguments...>{make_next.template operator()<Arguments>()...});
  }

 private:
  std::uint32_t quantity(const Recipe& recipe);
  void* place(const Recipe& recipe, std::size_t record_size);

  FuzzedDataProvider& data_;
  std::deque<std::vector<std::uint8_t>> kept_;
  std::uint32_t count_ = 0;
};

}  // namespace ovk::fuzz
