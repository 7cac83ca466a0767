/**
 * @file
 * Texts in the driver's records.
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace ravnsim {

/** Fills a field with a text, NUL-padded; not terminated when the text fills the field. */
template <std::size_t size>
void put_text(char (&field)[size], std::string_view text) {
  const std::size_t length = std::min(size, text.size());
  std::copy_n(text.data(), length, field);
  std::fill(field + length, field + size, '\0');
}

}  // namespace ravnsim
