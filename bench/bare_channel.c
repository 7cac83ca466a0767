/*
 * A management channel whose driver answers at once, so that what is measured is everything but
 * the driver: all commands succeed and give as much as there is room for.
 */
#include "bench/by_hand.h"
#include "driver_abi/vmkmgmt.h"

#include <stdarg.h>
#include <stddef.h>

int vmk_MgmtUserInit(const struct vmk_MgmtSignature* signature, uint32_t reserved0,
                     uint32_t reserved1, struct vmk_MgmtChannel** channel) {
  (void)signature;
  (void)reserved0;
  (void)reserved1;
  *channel = NULL;
  return 0;
}

int vmk_MgmtUserCallbackInvokeInt(struct vmk_MgmtChannel* channel, uint64_t instance,
                                  uint64_t callback, uint32_t parameter_count, ...) {
  (void)channel;
  (void)instance;
  (void)callback;
  va_list parameters;
  va_start(parameters, parameter_count);
  struct by_hand_command* const command = va_arg(parameters, struct by_hand_command*);
  va_end(parameters);
  if (command->reply_size == 0) {
    command->reply_size = command->request_size;
  }
  return 0;
}

void vmk_MgmtUserDestroy(struct vmk_MgmtChannel* channel) { (void)channel; }
