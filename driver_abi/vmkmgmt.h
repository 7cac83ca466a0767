/**
 * @file
 * The host's kernel management channel as the library sees it: three records and three functions.
 *
 * On an ESXi host the platform provides these functions in libvmkmgmt.so; elsewhere the simulator
 * does. All records are little-endian i386 records, all functions use the C calling convention.
 */
#ifndef PLATFORM_VMKMGMT_H
#define PLATFORM_VMKMGMT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The most parameters that one callback takes, its first parameter included. */
enum { VMK_MGMT_MAX_PARAMETERS = 4 };

/** Where a callback runs. */
enum { VMK_MGMT_LOCATION_KERNEL = 1 };

/** Which way the channel copies a parameter. */
enum {
  VMK_MGMT_PARAMETER_IN = 0,     /**< copied to the kernel before the callback */
  VMK_MGMT_PARAMETER_OUT = 1,    /**< copied back from the kernel after the callback */
  VMK_MGMT_PARAMETER_IN_OUT = 2, /**< copied both ways */
  VMK_MGMT_PARAMETER_DESCRIPTOR =
      4, /**< a vmk_MgmtDataDescriptor: the callback writes where it points */
};

/** The caller's memory that a parameter of type VMK_MGMT_PARAMETER_DESCRIPTOR names. */
struct vmk_MgmtDataDescriptor {
  uint32_t length;   /**< bytes that the callback may write */
  uint32_t reserved; /**< 0 */
  uint32_t address;  /**< where it writes them */
};

/** Declares one callback to the channel. */
struct vmk_MgmtCallbackInfo {
  uint32_t location;       /**< VMK_MGMT_LOCATION_KERNEL */
  uint32_t user_function;  /**< 0: there is no function on the user side */
  uint8_t synchronous;     /**< 1: the invocation waits for the callback */
  uint8_t parameter_count; /**< 1 to VMK_MGMT_MAX_PARAMETERS */
  uint8_t reserved[2];     /**< 0 */
  uint32_t parameter_sizes[VMK_MGMT_MAX_PARAMETERS]; /**< bytes; 0 past the count */
  uint32_t parameter_types[VMK_MGMT_MAX_PARAMETERS]; /**< VMK_MGMT_PARAMETER_*; 0 past the count */
  uint64_t id;                                       /**< the number by which it is invoked */
};

/** Names a management interface and all its callbacks. */
struct vmk_MgmtSignature {
  uint32_t version;        /**< major, minor, update, patch, high to low byte */
  char name[32];           /**< NUL-padded */
  char vendor[32];         /**< NUL-padded */
  uint32_t callback_count; /**< entries of the table */
  const struct vmk_MgmtCallbackInfo* callbacks; /**< the table */
};

/** An open channel; only the platform looks inside. */
struct vmk_MgmtChannel;

/**
 * Opens a channel to the kernel module that serves the signature's callbacks.
 *
 * @param signature  what the caller is going to invoke; read during the call only
 * @param reserved0  0
 * @param reserved1  0
 * @param channel    receives the channel
 * @return 0, or the platform's error
 */
int vmk_MgmtUserInit(const struct vmk_MgmtSignature* signature, uint32_t reserved0,
                     uint32_t reserved1, struct vmk_MgmtChannel** channel);

/**
 * Invokes one callback and waits for it.
 *
 * @param channel          an open channel
 * @param instance         0
 * @param callback         a vmk_MgmtCallbackInfo.id of the channel's signature
 * @param parameter_count  that callback's parameter_count
 * @param ...              that many pointers, in the order of the declaration
 * @return 0 when the callback ran, else the platform's error
 */
int vmk_MgmtUserCallbackInvokeInt(struct vmk_MgmtChannel* channel, uint64_t instance,
                                  uint64_t callback, uint32_t parameter_count, ...);

/**
 * Closes a channel.
 *
 * @param channel  an open channel; not to be used afterwards
 */
void vmk_MgmtUserDestroy(struct vmk_MgmtChannel* channel);

#ifdef __cplusplus
}

static_assert(sizeof(vmk_MgmtDataDescriptor) == 12);
static_assert(__builtin_offsetof(vmk_MgmtDataDescriptor, address) == 8);
static_assert(sizeof(vmk_MgmtCallbackInfo) == 52);
static_assert(__builtin_offsetof(vmk_MgmtCallbackInfo, user_function) == 4);
static_assert(__builtin_offsetof(vmk_MgmtCallbackInfo, synchronous) == 8);
static_assert(__builtin_offsetof(vmk_MgmtCallbackInfo, parameter_count) == 9);
static_assert(__builtin_offsetof(vmk_MgmtCallbackInfo, parameter_sizes) == 12);
static_assert(__builtin_offsetof(vmk_MgmtCallbackInfo, parameter_types) == 28);
static_assert(__builtin_offsetof(vmk_MgmtCallbackInfo, id) == 44);
static_assert(sizeof(vmk_MgmtSignature) == 76);
static_assert(__builtin_offsetof(vmk_MgmtSignature, name) == 4);
static_assert(__builtin_offsetof(vmk_MgmtSignature, vendor) == 36);
static_assert(__builtin_offsetof(vmk_MgmtSignature, callback_count) == 68);
static_assert(__builtin_offsetof(vmk_MgmtSignature, callbacks) == 72);
#endif

#endif
