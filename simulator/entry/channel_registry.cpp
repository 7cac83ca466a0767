#include "simulator/entry/channel_registry.h"

#include "simulator/call/channel_error.h"
#include "simulator/call/parameters.h"
#include "simulator/call/report.h"
#include "simulator/call/request.h"
#include "simulator/call/signature.h"
#include "simulator/entry/environment.h"
#include "simulator/host/host.h"
#include "simulator/topology/json_reader.h"

#include <new>
#include <utility>

/** An open channel: what its owner declared, and the host that it leads to. */
struct vmk_MgmtChannel {
  vmk_MgmtChannel(ravnsim::Signature its_signature, std::shared_ptr<ravnsim::Host> its_host)
      : signature{std::move(its_signature)}, host{std::move(its_host)} {}

  ravnsim::Signature signature;
  std::shared_ptr<ravnsim::Host> host;
};

namespace ravnsim {

namespace {

int told(ChannelError error, const std::exception& reason) {
  report(reason.what());
  return static_cast<int>(error);
}

/** 0 when the work is done, else the error that stands for what it threw. */
template <typename Work>
int error_of(Work work) noexcept {
  try {
    work();
    return 0;
  } catch (const Refusal& refusal) {
    return static_cast<int>(refusal.error());
  } catch (const ConfigurationError& error) {
    return told(ChannelError::wrong_configuration, error);
  } catch (const StateInUse& error) {
    return told(ChannelError::state_in_use, error);
  } catch (const std::bad_alloc&) {
    return static_cast<int>(ChannelError::no_memory);
  } catch (const std::exception& error) {
    return told(ChannelError::input_output, error);
  }
}

}  // namespace

ChannelRegistry::ChannelRegistry() = default;
ChannelRegistry::~ChannelRegistry() = default;

std::shared_ptr<Host> ChannelRegistry::host() {
  std::shared_ptr<Host> host = host_.lock();
  if (host == nullptr) {
    host = host_of_environment();
    host_ = host;
  }
  return host;
}

int ChannelRegistry::open(const vmk_MgmtSignature* signature, vmk_MgmtChannel** channel) noexcept {
  return error_of([&] {
    const std::scoped_lock lock{mutex_};
    if (signature == nullptr || channel == nullptr) {
      throw Refusal{ChannelError::missing_parameter};
    }
    Signature declared{*signature};
    auto opened = std::make_unique<vmk_MgmtChannel>(std::move(declared), host());
    vmk_MgmtChannel* const handle = opened.get();
    channels_.emplace(handle, std::move(opened));
    *channel = handle;
  });
}

int ChannelRegistry::invoke(vmk_MgmtChannel* channel, std::uint64_t instance,
                            std::uint64_t callback, std::span<void* const> parameters) noexcept {
  return error_of([&] {
    const std::scoped_lock lock{mutex_};
    const auto found = channels_.find(channel);
    if (found == channels_.end() || instance != 0) {
      throw Refusal{ChannelError::not_open};
    }
    const auto command = CommandId{callback};
    Request request{command, copy_in(found->second->signature.parameters_of(command), parameters)};
    found->second->host->run(request);
    request.copy_back();
  });
}

void ChannelRegistry::close(vmk_MgmtChannel* channel) noexcept {
  const std::scoped_lock lock{mutex_};
  channels_.erase(channel);
}

}  // namespace ravnsim
