#include "platform/vmkmgmt.h"
#define API __attribute__((visibility("default")))
extern "C" {
API int vmk_MgmtUserInit(const vmk_MgmtSignature*, uint32_t, uint32_t, vmk_MgmtChannel**) {
  return 1;
}
API int vmk_MgmtUserCallbackInvokeInt(vmk_MgmtChannel*, uint64_t, uint64_t, uint32_t, ...) {
  return 1;
}
API void vmk_MgmtUserDestroy(vmk_MgmtChannel*) {}
}
