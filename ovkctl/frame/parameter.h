/**
 * @file
 * What a command takes from its command line, each as one constant:
 *
 *     constexpr Word<std::uint32_t> offset{"OFFSET", "byte offset of the register", "0x8"};
 *     constexpr Setting<std::uint32_t> count{"--count", "NUMBER", "how many frames", "100"};
 *     constexpr Setting<Mode> mode{"--mode", "", "how they go", "fast", "", mode_words};
 *
 * A sample makes the example of the help, where an option without a sample is left out.
 */
#pragma once

#include "ovkctl/frame/values.h"
#include "ovkctl/frame/words.h"

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ovkctl {

/** What a parameter admits: numbers of a range, codes by their words, or whatever its type does. */
template <typename T>
struct Accepted {
  constexpr Accepted() = default;
  constexpr Accepted(std::uint64_t least, std::uint64_t most = Range{}.most) : range{least, most} {}
  constexpr Accepted(const Range& numbers) : range{numbers} {}
  template <std::size_t count>
  constexpr Accepted(const Words<T, count>& table) : words{table} {}

  /** Reads a word of the command line; throws UsageError. */
  void read(const std::string& text, T& value) const {
    if (!words.empty()) {
      value = code_of(words, text);
    } else if constexpr (requires { parse_value(text, value); }) {
      parse_value(text, value);
    }
  }

  /** Refuses a number that is out of range. */
  void check(const T& value) const {
    if constexpr (std::unsigned_integral<T>) {
      refuse_outside(range, value);
    }
  }

  Range range;
  WordList<T> words;
};

/** Whether a parameter is an option, and how many words an argument takes. */
enum class Kind { argument, optional_argument, arguments, option };

/** What of a value one word of the command line gives, where it goes, and which argument it is. */
template <typename Value>
struct Share {
  using Type = Value;
  static Type& place_in(Value& value) { return value; }
  static constexpr Kind kind = Kind::argument;
};
template <typename T>
struct Share<std::optional<T>> {
  using Type = T;
  static Type& place_in(std::optional<T>& value) { return value.emplace(); }
  static constexpr Kind kind = Kind::optional_argument;
};
template <typename T>
struct Share<std::vector<T>> {
  using Type = T;
  static Type& place_in(std::vector<T>& values) { return values.emplace_back(); }
  static constexpr Kind kind = Kind::arguments;
};

/** A parameter as the parser and the help know it. */
struct Declaration {
  Kind kind;
  const char* names;       ///< "COUNT", "--count" or "-n,--count"
  const char* value_name;  ///< what the help calls the value of an option: "NUMBER"
  const char* help;
  const char* sample;
};

/** The option by which most commands take a file for their bytes. */
inline constexpr Declaration output_option{
    Kind::option, "-o,--output", "FILE", "write the raw bytes to a file; - is standard output", ""};

/** A parameter whose value the command's function gets as a `Value`. */
template <typename Value>
struct Parameter : Declaration {
  Accepted<typename Share<Value>::Type> accepted;
  const char* otherwise = nullptr;  ///< the value unless it is given, as on the command line
};

/** An argument that the command needs. */
template <typename T>
struct Word : Parameter<T> {
  constexpr Word(const char* name, const char* about, const char* example = "",
                 Accepted<typename Share<T>::Type> range = {})
      : Parameter<T>{{Share<T>::kind, name, "", about, example}, range} {}
};

/** An argument that may be left out. */
template <typename T>
using OptionalWord = Word<std::optional<T>>;

/** All words that are left, at least one. */
template <typename T>
using Rest = Word<std::vector<T>>;

/** An option with a value; nothing when it is not given. */
template <typename T>
struct Option : Parameter<std::optional<T>> {
  constexpr Option(const char* name, const char* value, const char* about, const char* example = "",
                   Accepted<T> range = {})
      : Parameter<std::optional<T>>{{Kind::option, name, value, about, example}, range} {}
};

/** An option with a value that it has unless it is given. */
template <typename T>
struct Setting : Parameter<T> {
  constexpr Setting(const char* name, const char* value, const char* about,
                    const char* unless_given, const char* example = "", Accepted<T> range = {})
      : Parameter<T>{{Kind::option, name, value, about, example}, range, unless_given} {}
};

/** An option without a value. */
struct Flag {
  const char* names;
  const char* help;
};

}  // namespace ovkctl
