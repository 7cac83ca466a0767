#include "driver_abi/vmkmgmt.h"
#include "simulator/call/channel_error.h"
#include "simulator/entry/channel_registry.h"

#include <array>
#include <cstdarg>
#include <span>

namespace {

// Made when the library is loaded, so that it outlives every user of a channel; a process that ends
// without closing its channels still gets the reports that closing makes.
ravnsim::ChannelRegistry registry;

}  // namespace

extern "C" {

[[gnu::visibility("default")]] int vmk_MgmtUserInit(const vmk_MgmtSignature* signature,
                                                    std::uint32_t /*reserved0*/,
                                                    std::uint32_t /*reserved1*/,
                                                    vmk_MgmtChannel** channel) {
  return registry.open(signature, channel);
}

[[gnu::visibility("default")]] int vmk_MgmtUserCallbackInvokeInt(vmk_MgmtChannel* channel,
                                                                 std::uint64_t instance,
                                                                 std::uint64_t callback,
                                                                 std::uint32_t parameter_count,
                                                                 ...) {
  std::array<void*, VMK_MGMT_MAX_PARAMETERS> parameters{};
  if (parameter_count > parameters.size()) {
    return static_cast<int>(ravnsim::ChannelError::wrong_parameter_count);
  }
  va_list list;
  va_start(list, parameter_count);
  for (std::uint32_t i = 0; i < parameter_count; ++i) {
    parameters.at(i) = va_arg(list, void*);
  }
  va_end(list);
  return registry.invoke(channel, instance, callback, std::span{parameters}.first(parameter_count));
}

[[gnu::visibility("default")]] void vmk_MgmtUserDestroy(vmk_MgmtChannel* channel) {
  registry.close(channel);
}
}
