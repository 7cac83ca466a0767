#include "simulator/call/command_id.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace ravnsim {

std::string name_of(CommandId command) {
  const auto* found = std::ranges::find(ovk::commands, command.number, &ovk::DriverCommand::id);
  if (found != ovk::commands.end() && found->name != ovk::command_rows::reserved) {
    return std::string{found->name};
  }
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "command 0x%llx",
                static_cast<unsigned long long>(command.number));
  return text.data();
}

std::optional<CommandId> command_named(std::string_view name) {
  const auto* found = std::ranges::find(ovk::commands, name, &ovk::DriverCommand::name);
  if (found == ovk::commands.end() || name == ovk::command_rows::reserved) {
    return std::nullopt;
  }
  return CommandId{found->id};
}

}  // namespace ravnsim
