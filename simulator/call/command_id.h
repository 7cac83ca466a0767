/**
 * @file
 * By what the channel tells commands apart.
 */
#pragma once

#include "driver_abi/command_block.h"
#include "driver_abi/commands.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ravnsim {

using ovk::CommandBlock;
using ovk::DriverStatus;

/** A command's id on the channel. The driver has no use for one that its list does not hold. */
struct CommandId {
  std::uint64_t number;

  explicit constexpr CommandId(std::uint64_t its_number) : number{its_number} {}

  /** The id of the named command. A name that the driver's list does not hold does not compile. */
  template <std::size_t size>
  consteval CommandId(const char (&name)[size])  // NOLINT: names are written as plain literals
      : number{ovk::CommandName{name} -> id} {}

  constexpr auto operator<=>(const CommandId&) const = default;
};

/** The name that messages and fault files use, such as "RAVN_MGMT_INITBRDS"; the number of a
    command that has none. */
std::string name_of(CommandId command);

/** The command of that name. */
std::optional<CommandId> command_named(std::string_view name);

}  // namespace ravnsim
