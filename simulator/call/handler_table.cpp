#include "simulator/call/handler_table.h"

#include <stdexcept>
#include <utility>

namespace ravnsim {

void HandlerTable::on(DriverCommand command, BoardHandler function,
                      std::vector<std::string_view> effects) {
  enter(command, {function, std::move(effects)});
}

void HandlerTable::on(DriverCommand command, ModuleHandler function,
                      std::vector<std::string_view> effects) {
  enter(command, {function, std::move(effects)});
}

void HandlerTable::enter(DriverCommand command, Handler handler) {
  if (!handlers_.emplace(command, std::move(handler)).second) {
    throw std::logic_error{name_of(command) + " has two handlers"};
  }
}

const Handler* HandlerTable::find(DriverCommand command) const {
  const auto found = handlers_.find(command);
  return found != handlers_.end() ? &found->second : nullptr;
}

bool HandlerTable::is_of_module(DriverCommand command) const {
  const Handler* handler = find(command);
  return handler != nullptr && std::holds_alternative<ModuleHandler>(handler->function);
}

std::span<const std::string_view> HandlerTable::effects_of(DriverCommand command) const {
  const Handler* handler = find(command);
  return handler != nullptr ? std::span{handler->effects} : std::span<const std::string_view>{};
}

}  // namespace ravnsim
