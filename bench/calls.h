/**
 * @file
 * The calls that are measured, each beside its commands by hand.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ovk::bench {

/** What the driver answers besides success. */
struct Answer {
  std::uint32_t reply_size = 0;
  std::uint32_t count = 0;  ///< what a list of its own begins with
  std::uint32_t sli_mode = 4;
  std::uint32_t adapter_type = 0;
};

/** A word of the caller's memory. */
struct Given {
  std::uint32_t at;
  std::uint32_t value;
};

using Function = std::uint32_t (*)(std::uint8_t* memory);

/** A call, whose arguments and what they point to stand in its memory. */
struct Call {
  const char* name;
  Function library;
  std::vector<Function> by_hand;  ///< its commands, in their order
  std::vector<Given> given = {};  ///< what is in its memory before it
  Answer answer = {};
  /** The instructions that the library may need more than the commands by hand. */
  std::uint32_t allowed = 0;
  /** In place of that, for calls that move much: what the library may need in all, in per cent of
      the commands by hand. */
  std::uint32_t allowed_percent = 0;
  /** Whether the commands by hand leave the same in the caller's memory. They do not where the call
      makes something else of what the driver answers. */
  bool compares_memory = true;
  std::uint32_t result = 0;  ///< of the library's call
};

const std::vector<Call>& calls();

/** Bytes that hold the memory of any call. */
inline constexpr std::size_t memory_size = 1U << 20;

/** Makes a call ready to be made. */
void prepare(const Call& call, std::uint8_t* memory);

/** Has the driver answer so from now on. */
void answer_with(const Answer& answer);

/** A command as the driver got it: the block and all payloads, those that it writes as well. */
struct Sent {
  std::string command;
  std::vector<std::uint8_t> bytes;
  bool operator==(const Sent&) const = default;
};

/** Has the driver keep what it gets; null ends that. */
void record_into(std::vector<Sent>* sent);

}  // namespace ovk::bench
