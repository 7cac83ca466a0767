/**
 * @file
 * Which function answers which command.
 */
#pragma once

#include "simulator/call/command_id.h"

#include <map>
#include <span>
#include <string_view>
#include <utility>
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

/** What has to hold for a command to reach its handler, and the status that it gets otherwise. */
struct Guard {
  bool (*holds)(Adapter& adapter, const Request& request);
  DriverStatus otherwise;
};

/** The words of a fault file's effects that a handler and its guards ask for. */
using Effects = std::vector<std::string_view>;

/** What answers a command: guards in the order in which they are asked, then the function. */
struct Handler {
  std::variant<BoardHandler, ModuleHandler> function;
  std::vector<Guard> guards;
  Effects effects;
};

/** The handlers of all commands that the simulator knows. */
class HandlerTable {
 public:
  /** Enters handlers of board commands behind guards. */
  class Guarded {
   public:
    Guarded(HandlerTable& table, std::vector<Guard> guards)
        : table_{table}, guards_{std::move(guards)} {}

    /** Adds a guard, which is asked after those before. */
    [[nodiscard]] Guarded when(const Guard& guard) const {
      Guarded more{*this};
      more.guards_.push_back(guard);
      return more;
    }

    template <CommandId command>
    const Guarded& on(BoardHandler function, Effects effects = {}) const {
      table_.enter(command, {function, guards_, std::move(effects)});
      return *this;
    }

   private:
    HandlerTable& table_;
    std::vector<Guard> guards_;
  };

  /** Puts a guard before the handlers that are entered next:
      `table.when(offers_auth).on<"RAVN_MGMT_SET_AUTH_CONFIG_V2">(set_config)`. */
  [[nodiscard]] Guarded when(const Guard& guard) { return {*this, {guard}}; }

  /** Enters the handler of a command. Entering a second one is an error of the program. */
  template <CommandId command>
  void on(BoardHandler function, Effects effects = {}) {
    enter(command, {function, {}, std::move(effects)});
  }
  template <CommandId command>
  void on(ModuleHandler function, Effects effects = {}) {
    enter(command, {function, {}, std::move(effects)});
  }

  /** The command's handler, or null. */
  [[nodiscard]] const Handler* find(CommandId command) const;

  /** Whether the command is one of the driver module. */
  [[nodiscard]] bool is_of_module(CommandId command) const;

  /** The effects that the command's entry lists. */
  [[nodiscard]] std::span<const std::string_view> effects_of(CommandId command) const;

 private:
  void enter(CommandId command, Handler handler);

  std::map<CommandId, Handler> handlers_;
};

/** What the subsystems of simulator/commands/ enter. */
HandlerTable all_handlers();

}  // namespace ravnsim
