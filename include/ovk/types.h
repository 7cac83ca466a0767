/**
 * @file
 * What all subsystems of libovk share: the calling convention of the interface, the result codes
 * and the world-wide name.
 *
 * Every function of the interface has C linkage and plain fixed-layout records. A board is named
 * by its library board index, 0 to ovravn_brdCnt - 1 (see ovk/core.h). Pointers must not be null
 * and must point to as many bytes as the function says, unless it says that it checks them.
 */
#ifndef OVK_TYPES_H
#define OVK_TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define OVK_BEGIN_DECLS extern "C" {
#define OVK_END_DECLS }
#else
#define OVK_BEGIN_DECLS
#define OVK_END_DECLS
#endif

/** Marks what libovk.so exports. */
#define OVK_API __attribute__((visibility("default")))

/** The number of boards that the per-board tables of the library hold. */
#define OVK_MAX_BOARDS 32

/**
 * Layout checks of the interface's records, made by every compiler that can; C99 cannot.
 */
#if defined(__cplusplus)
#define OVK_LAYOUT_ASSERT(condition, text) static_assert(condition, text)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define OVK_LAYOUT_ASSERT(condition, text) _Static_assert(condition, text)
#else
#define OVK_LAYOUT_ASSERT(condition, text) extern int ovk_layout_assert_unavailable
#endif
#define OVK_ASSERT_SIZE(type, size) \
  OVK_LAYOUT_ASSERT(sizeof(type) == (size), #type " has " #size " bytes")
#define OVK_ASSERT_OFFSET(type, member, offset) \
  OVK_LAYOUT_ASSERT(offsetof(type, member) == (offset), #type "." #member " is at byte " #offset)

OVK_BEGIN_DECLS

/**
 * Results that mean the same in every call that returns them. Calls with further codes of their
 * own say so. The codes 5 to 8 are those of the SNIA HBA API (FC-HBA).
 */
enum OvkResult {
  OVK_OK = 0,
  OVK_FAILED = 1,        /**< not delivered, refused by the driver, or as the call says */
  OVK_NOT_SUPPORTED = 2, /**< not on this SLI mode or adapter type, or not offered at all */
  OVK_ILLEGAL_WWN = 5,   /**< no port has this name */
  OVK_ILLEGAL_INDEX = 6, /**< nothing stands at this index */
  OVK_MORE_DATA = 7,     /**< the caller's buffer is too small; a count says what is needed */
  OVK_STALE_DATA = 8,    /**< the fabric snapshot moved: RefreshInformation, then start over */
  OVK_NO_MEMORY = 12     /**< a work buffer could not be allocated */
};

/** A world-wide name (FC-FS): 8 bytes in wire order, most significant first. */
typedef struct Wwn {
  uint8_t bytes[8];
} Wwn;

OVK_ASSERT_SIZE(Wwn, 8);

OVK_END_DECLS

#endif
