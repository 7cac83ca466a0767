#include "library/core/lifecycle.h"

#include "driver_abi/vmkmgmt.h"
#include "library/core/log.h"

constinit std::int32_t refcnt = 0;

namespace {

void log_handle(const char* event, std::int32_t references, ovk::LogPlace place) {
  if (ovk::log_enabled(OVK_LOG_LIFECYCLE)) {
    ovk::write_log_line(place, "%s handle[%p] refcnt[%d:%d] id[%d:%ld]\n", event,
                        static_cast<void*>(ravn_mgmt_handle), references, refcnt, ovk::process_id(),
                        ovk::thread_id());
  }
}

}  // namespace

std::uint32_t ovk_mgmt_init(void) {
  const std::int32_t references = ++refcnt;
  if (references >= 2) {
    log_handle("Init", references, ovk::here());
    return 0;
  }

  const int result = vmk_MgmtUserInit(&ravn_mgmt_signature, 0, 0, &ravn_mgmt_handle);
  log_handle("Init", references, ovk::here());
  if (result != 0) {
    refcnt = 0;
    ovk::write_log_line(ovk::here(),
                        "Management init failure: x%x. Check if driver is loaded and Tarvos cards "
                        "are installed.  Else a possible reason would be incompatible driver and "
                        "application versions.\n\n",
                        result);
    return 1;
  }
  return 0;
}

std::uint32_t OVK_FreeDiagEnv(void) {
  // Intended: the count is not clamped, and only a release that reaches 0 closes the channel.
  const std::int32_t references = --refcnt;
  log_handle("Destroy", references, ovk::here());
  if (references == 0) {
    vmk_MgmtUserDestroy(ravn_mgmt_handle);
  }
  return OVK_OK;
}

std::uint32_t FreeDiagEnv(void) { return OVK_FreeDiagEnv(); }
