/**
 * @file
 * Lists of the interface that have as many entries as the caller has room for.
 */
#pragma once

#include "ovkctl/frame/values.h"

#include <ovk/types.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <type_traits>

namespace ovkctl {

/** A `List` whose type has one entry, followed by more. `counter` and `first` are its members. */
template <typename List, auto counter, auto first>
class LongList {
 public:
  /**
   * Reads the list, and once more with the room that it asks for when it did not fit.
   *
   * @param most  the most room that is of use
   * @param read  a call of the library that gets the list
   * @return the call's result
   */
  template <typename Read>
  std::uint32_t read(std::uint32_t room, std::uint32_t most, Read read) {
    std::uint32_t result = read(make_room(room));
    if (result == OVK_MORE_DATA && room < most) {
      result = read(make_room(std::min(count(), most)));
    }
    return result;
  }

  /** The entries that were read. */
  [[nodiscard]] auto entries() { return std::span{get()->*first, std::min(count(), room_)}; }

  [[nodiscard]] List* get() {
    void* const memory = memory_.data();
    return static_cast<List*>(memory);
  }

 private:
  [[nodiscard]] std::uint32_t count() { return get()->*counter; }

  List* make_room(std::uint32_t room) {
    room_ = room;
    memory_.assign(sizeof(List) + room * sizeof *(get()->*first), 0);
    get()->*counter = static_cast<std::remove_cvref_t<decltype(get()->*counter)>>(room);
    return get();
  }

  std::uint32_t room_ = 0;
  Bytes memory_;
};

}  // namespace ovkctl
