/**
 * @file
 * Which function answers which command.
 */
#pragma once

#include "simulator/call/command_block.h"
#include "simulator/call/driver_commands.h"

#include <map>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

namespace ravnsim {

class Adapter;
class Host;
class Request;

/** Answers a command of a board. What it returns becomes the status of the Command block. */
using BoardHandler = DriverStatus (*)(Adapter& adapter, Request& request);

/** Answers a command of the driver module, which names no board. */
using ModuleHandler = DriverStatus (*)(Host& host, Request& request);

/** A command's function, and the effects of a fault file that it asks for. */
struct Handler {
  std::variant<BoardHandler, ModuleHandler> function;
  std::vector<std::string_view> effects;
};

/** The handlers of all commands that the simulator knows. */
class HandlerTable {
 public:
  /** Enters the handler of a command. Entering a second one is an error of the program. */
  void on(DriverCommand command, BoardHandler function, std::vector<std::string_view> effects = {});
  void on(DriverCommand command, ModuleHandler function,
          std::vector<std::string_view> effects = {});

  /** The command's handler, or null. */
  [[nodiscard]] const Handler* find(DriverCommand command) const;

  /** Whether the command is one of the driver module. */
  [[nodiscard]] bool is_of_module(DriverCommand command) const;

  /** The effects that the command's handler asks for. */
  [[nodiscard]] std::span<const std::string_view> effects_of(DriverCommand command) const;

 private:
  void enter(DriverCommand command, Handler handler);

  std::map<DriverCommand, Handler> handlers_;
};

}  // namespace ravnsim
