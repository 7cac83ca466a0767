/**
 * @file
 * What a command takes from its command line, each as one constant:
 *
 *     constexpr Word<std::uint32_t> offset{"OFFSET", "byte offset of the register", "0x8"};
 *     constexpr Setting<std::uint32_t> count{"--count", "NUMBER", "how many frames", "100"};
 *
 * `Value` is what the command's function gets. A sample makes the example of the help, where an
 * option without a sample is left out.
 */
#pragma once

#include "ovkctl/frame/values.h"
#include "ovkctl/frame/words.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ovkctl {

/** An argument that the command needs. */
template <typename T>
struct Word {
  using Value = T;
  const char* name;
  const char* help;
  const char* sample;
  Range range{};
};

/** An argument that may be left out. */
template <typename T>
struct OptionalWord {
  using Value = std::optional<T>;
  const char* name;
  const char* help;
  const char* sample = "";
  Range range{};
};

/** All words that are left, at least one. */
template <typename T>
struct Rest {
  using Value = std::vector<T>;
  const char* name;
  const char* help;
  const char* sample;
  Range range{};
};

/** An option with a value; nothing when it is not given. */
template <typename T>
struct Option {
  using Value = std::optional<T>;
  const char* names;       ///< "--count" or "-n,--count"
  const char* value_name;  ///< what the help calls the value: "NUMBER"
  const char* help;
  const char* sample = "";
  Range range{};
};

/** An option with a value that it has unless it is given. */
template <typename T>
struct Setting {
  using Value = T;
  const char* names;
  const char* value_name;
  const char* help;
  const char* otherwise;  ///< the value, as on the command line
  const char* sample = "";
  Range range{};
};

/** An option without a value. */
struct Flag {
  using Value = bool;
  const char* names;
  const char* help;
};

/** An option whose value is one of some words. */
template <typename Code>
struct Choice {
  using Value = Code;
  const char* names;
  const char* help;
  WordList<Code> words;
  Code otherwise;
  const char* sample = "";
};

/** An argument that is one of some words. */
template <typename Code>
struct ChoiceWord {
  using Value = Code;
  const char* name;
  const char* help;
  WordList<Code> words;
  const char* sample;
};

}  // namespace ovkctl
