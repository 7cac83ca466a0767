#include "driver_abi/command_block.h"
#include "driver_abi/commands.h"

#include <ovk/core.h>

#include <algorithm>
#include <bit>

/** The descriptor table in the platform's form. */
struct ManagementCallbacks {
  vmk_MgmtCallbackInfo entries[ovk::commands.size()];
};

namespace {

consteval vmk_MgmtCallbackInfo describe(const ovk::DriverCommand& command) {
  vmk_MgmtCallbackInfo info{};
  info.location = VMK_MGMT_LOCATION_KERNEL;
  info.synchronous = 1;
  info.parameter_count = static_cast<std::uint8_t>(1 + command.payload_count);
  info.parameter_sizes[0] = sizeof(ovk::CommandBlock);
  info.parameter_types[0] = VMK_MGMT_PARAMETER_IN_OUT;
  for (std::size_t i = 0; i < command.payload_count; ++i) {
    info.parameter_sizes[i + 1] = command.payloads[i].size;
    info.parameter_types[i + 1] = static_cast<std::uint32_t>(command.payloads[i].direction);
  }
  info.id = command.id;
  return info;
}

consteval ManagementCallbacks describe_all() {
  ManagementCallbacks callbacks{};
  for (std::size_t row = 0; row < ovk::commands.size(); ++row) {
    callbacks.entries[row] = describe(ovk::commands[row]);
  }
  return callbacks;
}

consteval vmk_MgmtSignature sign(const ManagementCallbacks& callbacks) {
  vmk_MgmtSignature signature{};
  signature.version = ovk::interface_version;
  std::ranges::copy(ovk::interface_name, signature.name);
  std::ranges::copy(ovk::interface_vendor, signature.vendor);
  signature.callback_count = ovk::commands.size();
  signature.callbacks = callbacks.entries;
  return signature;
}

static_assert(std::endian::native == std::endian::little, "the records are little-endian");

}  // namespace

constinit const ManagementCallbacks ravn_mgmt_callbacks = describe_all();

constinit const vmk_MgmtSignature ravn_mgmt_signature = sign(ravn_mgmt_callbacks);

constinit vmk_MgmtChannel* ravn_mgmt_handle = nullptr;
