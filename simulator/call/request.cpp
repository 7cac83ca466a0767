#include "simulator/call/request.h"

#include "simulator/call/channel_error.h"
#include "simulator/call/faults.h"
#include "simulator/call/report.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace ravnsim {

Request::Request(CommandId command, std::vector<Parameter> parameters)
    : command_{command}, parameters_{std::move(parameters)} {}

void Request::require(bool matches, std::size_t number) const {
  if (!matches) {
    report(name_of(command_) + ": parameter " + std::to_string(number) +
           " is not declared as the driver uses it");
    throw Refusal{ChannelError::mismatched_declaration};
  }
}

const Parameter& Request::parameter(std::size_t number) const {
  require(number < parameters_.size(), number);
  return parameters_[number];
}

CommandBlock& Request::block() const { return output<CommandBlock>(0); }

std::span<const std::uint8_t> Request::input_bytes(std::size_t number) const {
  const Parameter& found = parameter(number);
  require(found.direction() == Direction::input || found.direction() == Direction::in_out, number);
  return found.bytes();
}

std::span<std::uint8_t> Request::output_bytes(std::size_t number) const {
  const Parameter& found = parameter(number);
  require(found.direction() == Direction::output || found.direction() == Direction::in_out, number);
  return found.bytes();
}

vmk_MgmtDataDescriptor Request::descriptor(std::size_t number) const {
  const Parameter& found = parameter(number);
  require(found.direction() == Direction::descriptor, number);
  vmk_MgmtDataDescriptor descriptor;
  std::memcpy(&descriptor, found.bytes().data(), sizeof descriptor);
  return descriptor;
}

std::size_t Request::room_behind(std::size_t number) const { return descriptor(number).length; }

std::size_t Request::write_behind(std::size_t number, std::span<const std::uint8_t> bytes) const {
  const vmk_MgmtDataDescriptor target = descriptor(number);
  const std::size_t length = std::min<std::size_t>(target.length, bytes.size());
  if (length == 0) {
    return 0;
  }
  if (target.address == 0) {
    throw Refusal{ChannelError::missing_parameter};
  }
  const std::uintptr_t address = target.address;
  std::memcpy(reinterpret_cast<void*>(address),  // NOLINT: an address is what the descriptor holds
              bytes.data(), length);
  return length;
}

std::optional<std::uint32_t> Request::effect(std::string_view word) const {
  const EffectFault* effect = effect_ != nullptr ? effect_->effect() : nullptr;
  if (effect == nullptr || effect->word != word) {
    return std::nullopt;
  }
  effect_->count_hit();
  return effect->value;
}

void Request::copy_back() const {
  for (const Parameter& parameter : parameters_) {
    parameter.copy_back();
  }
}

}  // namespace ravnsim
