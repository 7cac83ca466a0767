#include "simulator/call/signature.h"

#include "simulator/call/channel_error.h"

#include <cstring>
#include <string_view>

namespace ravnsim {

namespace {

// Far above what any interface declares; more is a table that was never meant as one.
constexpr std::uint32_t most_callbacks = 4096;
constexpr std::uint32_t largest_parameter = 1U << 20;

/** A field that is NUL-padded but not terminated when it is full. */
template <std::size_t size>
std::string_view text_of(const char (&field)[size]) {
  return {field, strnlen(field, size)};
}

void require(bool condition, ChannelError error) {
  if (!condition) {
    throw Refusal{error};
  }
}

DeclaredParameter parameter_of(const vmk_MgmtCallbackInfo& callback, std::size_t i) {
  const auto direction = static_cast<Direction>(callback.parameter_types[i]);
  switch (direction) {
    case Direction::input:
    case Direction::output:
    case Direction::in_out:
    case Direction::descriptor:
      break;
    default:
      throw Refusal{ChannelError::wrong_declaration};
  }
  const std::uint32_t size = callback.parameter_sizes[i];
  require(size > 0 && size <= largest_parameter, ChannelError::wrong_declaration);
  return {size, direction};
}

}  // namespace

Signature::Signature(const vmk_MgmtSignature& record) {
  require(text_of(record.name) == ovk::interface_name &&
              text_of(record.vendor) == ovk::interface_vendor,
          ChannelError::unknown_interface);
  require(record.callbacks != nullptr && record.callback_count <= most_callbacks,
          ChannelError::wrong_declaration);
  for (const auto& callback : std::span{record.callbacks, record.callback_count}) {
    declare(callback);
  }
}

void Signature::declare(const vmk_MgmtCallbackInfo& callback) {
  require(callback.location == VMK_MGMT_LOCATION_KERNEL && callback.synchronous == 1 &&
              callback.parameter_count >= 1 && callback.parameter_count <= VMK_MGMT_MAX_PARAMETERS,
          ChannelError::wrong_declaration);
  std::vector<DeclaredParameter> parameters;
  for (std::size_t i = 0; i < callback.parameter_count; ++i) {
    parameters.push_back(parameter_of(callback, i));
  }
  require(
      parameters[0].size == sizeof(CommandBlock) && parameters[0].direction == Direction::in_out,
      ChannelError::wrong_declaration);
  const bool is_new = callbacks_.emplace(CommandId{callback.id}, std::move(parameters)).second;
  require(is_new, ChannelError::wrong_declaration);
}

std::span<const DeclaredParameter> Signature::parameters_of(CommandId callback) const {
  const auto found = callbacks_.find(callback);
  require(found != callbacks_.end(), ChannelError::undeclared_callback);
  return found->second;
}

}  // namespace ravnsim
