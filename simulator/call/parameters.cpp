#include "simulator/call/parameters.h"

#include "simulator/call/channel_error.h"

#include <cstring>

namespace ravnsim {

namespace {

std::size_t size_of_copy(const DeclaredParameter& declared) {
  // The size that is declared for a descriptor is not the descriptor's own.
  return declared.direction == Direction::descriptor ? sizeof(vmk_MgmtDataDescriptor)
                                                     : declared.size;
}

}  // namespace

Parameter::Parameter(const DeclaredParameter& declared, void* caller)
    : direction_{declared.direction},
      size_{size_of_copy(declared)},
      caller_{caller},
      copy_{std::make_unique<std::uint8_t[]>(size_)} {
  if (caller_ == nullptr) {
    throw Refusal{ChannelError::missing_parameter};
  }
  if (direction_ != Direction::output) {
    std::memcpy(copy_.get(), caller_, size_);
  }
}

void Parameter::copy_back() const {
  if (direction_ == Direction::output || direction_ == Direction::in_out) {
    std::memcpy(caller_, copy_.get(), size_);
  }
}

std::vector<Parameter> copy_in(std::span<const DeclaredParameter> declared,
                               std::span<void* const> caller) {
  if (caller.size() != declared.size()) {
    throw Refusal{ChannelError::wrong_parameter_count};
  }
  std::vector<Parameter> parameters;
  for (std::size_t i = 0; i < declared.size(); ++i) {
    parameters.emplace_back(declared[i], caller[i]);
  }
  return parameters;
}

}  // namespace ravnsim
