#include "simulator/call/faults.h"

#include "simulator/call/handler_table.h"
#include "simulator/call/report.h"
#include "simulator/topology/json_reader.h"
#include "simulator/topology/topology.h"

#include <algorithm>

namespace ravnsim {

namespace {

constexpr std::size_t longest_word = 64;
constexpr Range errors{1, 4095};
constexpr Range statuses{1, 0xFFFFFFFF};

CommandId read_command(const JsonValue& place) {
  const std::string name = place.text(longest_word);
  const auto command = command_named(name);
  if (!command) {
    place.refuse("\"" + name + "\" is no command of the driver");
  }
  return *command;
}

}  // namespace

Fault::Fault(const JsonValue& place, const Topology& topology, const HandlerTable& handlers) {
  static constexpr Word<std::uint32_t> unlimited[] = {{"always", always}};
  read_object(place, [&](JsonObject& members) {
    members.required("command", command_, read_command);
    read_board(members.at("board"), topology, handlers);
    const JsonValue times = members.at("times");
    if (times.is_text()) {
      times.read(left_, unlimited);
    } else {
      members.optional("times", left_, Range{1, always - 1});
    }
    members.optional("skip", skip_);
    read_kind(members, handlers);
  });
  description_ = place.where() + ": the fault of " + name_of(command_);
}

void Fault::read_board(const JsonValue& place, const Topology& topology,
                       const HandlerTable& handlers) {
  if (!place.present()) {
    return;
  }
  if (handlers.is_of_module(command_)) {
    place.refuse(name_of(command_) + " is not a command of a board");
  }
  board_ = place.number<std::uint32_t>();
  if (std::ranges::find(topology.boards, *board_, &BoardTopology::driver_number) ==
      topology.boards.end()) {
    place.refuse("the host has no board with the driver number " + std::to_string(*board_));
  }
}

void Fault::read_kind(JsonObject& members, const HandlerTable& handlers) {
  const JsonValue status = members.at("status");
  const JsonValue error = members.at("invoke_error");
  const JsonValue effect = members.at("effect");
  const JsonValue value = members.at("value");
  if (status.present() + error.present() + effect.present() != 1) {
    members.place().refuse("exactly one of status, invoke_error and effect is wanted");
  }
  if (value.present() && !effect.present()) {
    value.refuse("only an effect has a value");
  }

  if (status.present()) {
    kind_ = static_cast<DriverStatus>(status.number<std::uint32_t>(statuses));
  } else if (error.present()) {
    kind_ = DeliveryFault{error.number<std::uint16_t>(errors)};
  } else {
    const std::string word = effect.text(longest_word);
    if (const auto known = handlers.effects_of(command_);
        std::ranges::find(known, word) == known.end()) {
      effect.refuse("\"" + word + "\" is no effect of " + name_of(command_));
    }
    EffectFault fault{word, 0};
    members.optional("value", fault.value);
    kind_ = fault;
  }
}

bool Fault::takes(CommandId command, std::uint32_t board) {
  if (command != command_ || board_.value_or(board) != board || left_ == 0) {
    return false;
  }
  if (skip_ > 0) {
    --skip_;
    return false;
  }
  if (left_ != always) {
    --left_;
  }
  return true;
}

FaultScript::FaultScript(const JsonDocument& document, const Topology& topology,
                         const HandlerTable& handlers) {
  for (const JsonValue& place : document.root().elements()) {
    faults_.emplace_back(place, topology, handlers);
  }
}

Fault* FaultScript::meet(CommandId command, std::uint32_t board) {
  const auto found =
      std::ranges::find_if(faults_, [&](Fault& fault) { return fault.takes(command, board); });
  return found != faults_.end() ? &*found : nullptr;
}

void FaultScript::report_missed() const {
  for (const Fault& fault : faults_) {
    if (!fault.was_hit()) {
      report(fault.description() + " was never hit");
    }
  }
}

}  // namespace ravnsim
