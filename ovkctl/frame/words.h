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

/** The word of a code, or what stands for a code without one. */
template <typename Table, typename Code>
std::string word_or(const Table& table, Code code, std::string otherwise) {
  const auto entry = std::ranges::find(table, code, &Table::value_type::code);
  return entry != table.end() ? entry->word : otherwise;
}

/** The word of a code; of one without a word, its number after `prefix`. */
template <typename Table, typename Code>
std::string word_of(const Table& table, Code code, const char* prefix = "code ") {
  return word_or(table, code, prefix + std::to_string(static_cast<std::uint64_t>(code)));
}

/** The word of a code; of one without a word, its number in hex after `prefix`. */
template <typename Table, typename Code>
std::string word_or_hex(const Table& table, Code code, int digits, const char* prefix = "") {
  return word_or(table, code, prefix + hex_text(code, digits));
}

/** The words of a table with a separator between them. */
template <typename Table>
std::string list_words(const Table& table, std::string_view separator) {
  std::string text;
  for (const auto& entry : table) {
    text.append(text.empty() ? "" : separator).append(entry.word);
  }
  return text;
}

/** The code of a word; throws UsageError for a word that is not in the table. */
template <typename Table>
auto code_of(const Table& table, const std::string& word) {
  const auto entry = std::ranges::find(table, word, &Table::value_type::word);
  if (entry == table.end()) {
    throw UsageError("\"{}\" is none of {}.", word, list_words(table, "|"));
  }
  return entry->code;
}

}  // namespace ovkctl
