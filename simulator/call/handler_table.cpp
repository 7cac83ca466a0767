#include "simulator/call/handler_table.h"

#include <stdexcept>
#include <utility>

namespace ravnsim {

void HandlerTable::enter(CommandId command, Handler handler) {
  if (!handlers_.emplace(command, std::move(handler)).second) {
    throw std::logic_error{name_of(command) + " has two handlers"};
  }
}

const Handler* HandlerTable::find(CommandId command) const {
  const auto found = handlers_.find(command);
  return found != handlers_.end() ? &found->second : nullptr;
}

bool HandlerTable::is_of_module(CommandId command) const {
  const Handler* handler = find(command);
  return handler != nullptr && std::holds_alternative<ModuleHandler>(handler->function);
}

std::span<const std::string_view> HandlerTable::effects_of(CommandId command) const {
  const Handler* handler = find(command);
  return handler != nullptr ? std::span{handler->effects} : std::span<const std::string_view>{};
}

}  // namespace ravnsim
