#include "fuzz/caller.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace ovk::fuzz {

void* Caller::memory(std::size_t size) {
  constexpr std::size_t most_from_input = 64;
  auto& bytes = kept_.emplace_back(size);
  if (size != 0) {
    data_.ConsumeData(bytes.data(), std::min(size, most_from_input));
  }
  return bytes.data();
}

std::uint32_t Caller::quantity(const Recipe& recipe) {
  switch (recipe.kind) {
    case Recipe::any:
      return data_.ConsumeIntegral<std::uint32_t>();
    case Recipe::board:
      return board;
    case Recipe::number:
      return from_to(recipe.least, recipe.most);
    case Recipe::count:
      return count_;
    case Recipe::up_to_count:
      return from_to(0, count_);
    default:
      return count_ = from_to(recipe.least, recipe.most);
  }
}

void* Caller::place(const Recipe& recipe, std::size_t record_size) {
  if (recipe.kind == Recipe::any) {
    return memory(record_size);
  }
  const std::uint32_t number = quantity(recipe);
  if (recipe.kind == Recipe::room) {
    return memory(number * record_size);
  }
  if (recipe.kind == Recipe::mailbox) {
    return make_mailbox(number);
  }
  auto* const list =
      static_cast<std::uint8_t*>(memory(recipe.entries_at + number * recipe.entry_size));
  std::memcpy(list + recipe.count_at, &number, recipe.count_size);
  return list;
}

Mailbox* Caller::make_mailbox(std::uint32_t words) {
  constexpr std::uint32_t least_words = 7;  // are read in any case
  auto* const mb =
      static_cast<Mailbox*>(memory(std::max(words, least_words) * sizeof(std::uint32_t)));
  const std::uint32_t room = from_to(0, OVK_MAILBOX_EXTENSION_SIZE);
  const auto address = std::bit_cast<std::uint32_t>(memory(room));
  constexpr std::array moving_one_way{0x38, 0x8D, 0x8F};
  if (mb->command == 0x84) {
    mb->words4[1] = mb->words4[4] = room;
    mb->words4[2] = mb->words4[5] = address;
  } else if (std::ranges::find(moving_one_way, mb->command) != moving_one_way.end()) {
    mb->words4[2] = room;
    mb->words4[3] = address;
  }
  return mb;
}

}  // namespace ovk::fuzz
