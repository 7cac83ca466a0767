/**
 * @file
 * All channels that a process has open.
 */
#pragma once

#include "driver_abi/vmkmgmt.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <span>

namespace ravnsim {

class Host;

/**
 * Opens, serves and closes channels. All channels that are open at one time lead to one host, which
 * takes one call at a time, from whichever thread. Errors are the values of ChannelError; no
 * exception leaves.
 */
class ChannelRegistry {
 public:
  ChannelRegistry();
  ~ChannelRegistry();

  /** Opens a channel. The first one brings the host up. */
  int open(const vmk_MgmtSignature* signature, vmk_MgmtChannel** channel) noexcept;

  /** Copies the parameters in, runs the callback and copies the results back. */
  int invoke(vmk_MgmtChannel* channel, std::uint64_t instance, std::uint64_t callback,
             std::span<void* const> parameters) noexcept;

  /** Closes a channel. The last one takes the host down. */
  void close(vmk_MgmtChannel* channel) noexcept;

 private:
  [[nodiscard]] std::shared_ptr<Host> host();

  std::mutex mutex_;
  std::map<const vmk_MgmtChannel*, std::unique_ptr<vmk_MgmtChannel>> channels_;
  std::weak_ptr<Host> host_;
};

}  // namespace ravnsim
