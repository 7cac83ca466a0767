/**
 * @file
 * Codes and the words that stand for them. One table serves output, options and arguments.
 *
 *     constexpr auto modes = words<std::uint8_t>({{0, "disabled"}, {1, "enabled"}});
 */
#pragma once

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/values.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace ovkctl {

/** A code and its word. */
template <typename Code>
struct CodedWord {
  Code code;
  const char* word;
};

/** Some codes and their words, in the order in which they are listed. */
template <typename Code>
using WordList = std::span<const CodedWord<Code>>;

/** A table of codes and words that lives as long as the program. */
template <typename Code, std::size_t count>
using Words = std::array<CodedWord<Code>, count>;

/** Makes such a table. */
template <typename Code, std::size_t count>
consteval Words<Code, count> words(const CodedWord<Code> (&table)[count]) {
  return std::to_array(table);
}

/** The word of a code, if it has one. */
template <typename Code>
std::optional<std::string> find_word(WordList<Code> table, Code code) {
  const auto entry = std::ranges::find(table, code, &CodedWord<Code>::code);
  return entry != table.end() ? std::optional<std::string>{entry->word} : std::nullopt;
}

/** The word of a code; of one without a word, its number after `prefix`. */
template <typename Code, std::size_t count>
std::string word_of(const Words<Code, count>& table, Code code, const char* prefix = "code ") {
  return find_word(WordList<Code>{table}, code)
      .value_or(prefix + std::to_string(static_cast<std::uint64_t>(code)));
}

/** The word of a code; of one without a word, its number in hex after `prefix`. */
template <typename Code, std::size_t count>
std::string word_or_hex(const Words<Code, count>& table, Code code, int digits,
                        const char* prefix = "") {
  return find_word(WordList<Code>{table}, code).value_or(prefix + hex_text(code, digits));
}

/** The words of a table with a separator between them. */
template <typename Code>
std::string list_words(WordList<Code> table, std::string_view separator) {
  std::string text;
  for (const CodedWord<Code>& entry : table) {
    text.append(text.empty() ? "" : separator).append(entry.word);
  }
  return text;
}

/** The code of a word; throws UsageError for a word that is not in the table. */
template <typename Code>
Code code_of(WordList<Code> table, const std::string& word) {
  const auto entry = std::ranges::find_if(
      table, [&word](const CodedWord<Code>& each) { return word == each.word; });
  if (entry == table.end()) {
    throw UsageError("\"" + word + "\" is none of " + list_words(table, "|") + ".");
  }
  return entry->code;
}

}  // namespace ovkctl
