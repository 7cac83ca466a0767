/**
 * @file
 * Start and end, boards, driver information, the driver module, and the globals of the library
 * core.
 *
 * The library takes no locks. Initialisation and release belong to one thread, while no other
 * thread is in the library; all other calls may run on several threads at once.
 */
#ifndef OVK_CORE_H
#define OVK_CORE_H

#include <ovk/types.h>

#include <stdio.h>

OVK_BEGIN_DECLS

struct ManagementCallbacks;
struct vmk_MgmtChannel;
struct vmk_MgmtSignature;

/* ---- Globals: the management channel and the log ------------------------------------------- */

/** What the library declares to the host's management channel: its name, version and callbacks. */
extern OVK_API const struct vmk_MgmtSignature ravn_mgmt_signature;

/** The 94 driver commands that the signature declares. */
extern OVK_API const struct ManagementCallbacks ravn_mgmt_callbacks;

/** The open management channel; null until the first initialisation opened it. */
extern OVK_API struct vmk_MgmtChannel* ravn_mgmt_handle;

/** Initialisations that no release has matched yet; negative after a release too many. */
extern OVK_API int32_t refcnt;

/** Which log lines are written: a mask of OvkLogLevel bits, re-read at each initialisation. */
extern OVK_API uint32_t LogLevel;

/** The open log file "/scratch/log/libovk.log"; null means that nothing is logged. */
extern OVK_API FILE* fLogger;

/** Exported for compatibility; the library does not use it. */
extern OVK_API FILE* fLogFile;

/** The bits of LogLevel. The configuration file "/scratch/libovk.conf" gives them in hex. */
enum OvkLogLevel {
  OVK_LOG_LIFECYCLE = 0x1, /**< opening and closing of the channel */
  OVK_LOG_SUCCESS = 0x2,   /**< "cmd ok:" lines */
  OVK_LOG_ERROR = 0x4,     /**< "cmd err:" and "ERROR" lines */
  OVK_LOG_CALL = 0x8       /**< "call:" lines */
};

/* ---- Globals: the board tables, indexed by the library board index -------------------------- */

/**
 * The driver's number of each board: 0 before the first initialisation, -1 where OVK_InitDiagEnv
 * mapped none.
 */
extern OVK_API int32_t ovk_brdno[OVK_MAX_BOARDS];

/** Each board's state: an OvkBoardState, or what the driver answered to the last SetBrdEnv. */
extern OVK_API int32_t ovk_state[OVK_MAX_BOARDS];

/** The number of boards that the last initialisation found. */
extern OVK_API uint32_t ovravn_brdCnt;

/** The states that ovk_state holds after an initialisation. */
enum OvkBoardState {
  OVK_BOARD_NORMAL = 1,
  OVK_BOARD_NOT_READY = 2 /**< not ready at discovery, or in the diagnostic state */
};

/* ---- Start and end --------------------------------------------------------------------------- */

/**
 * A board as OVK_InitDiagEnv found it. The members are named after their place in the driver's
 * discovery record; the library copies them and gives a meaning to two of them only.
 */
typedef struct DiagBoardEntry {
  uint8_t reserved0[28]; /**< left as the caller had them */
  uint32_t device;       /**< device word; the upper 16 bits tell the PCI function type */
  uint32_t word4;
  uint32_t word8;
  uint8_t byte80;
  uint8_t entry_version; /**< 10 */
  uint16_t half12;
  uint32_t word16;
  int32_t readiness; /**< negative: the board is not ready */
  uint32_t word24;
  uint32_t words28[12];
  uint32_t word76;
} DiagBoardEntry;

OVK_ASSERT_SIZE(DiagBoardEntry, 108);
OVK_ASSERT_OFFSET(DiagBoardEntry, device, 28);
OVK_ASSERT_OFFSET(DiagBoardEntry, word4, 32);
OVK_ASSERT_OFFSET(DiagBoardEntry, word8, 36);
OVK_ASSERT_OFFSET(DiagBoardEntry, byte80, 40);
OVK_ASSERT_OFFSET(DiagBoardEntry, entry_version, 41);
OVK_ASSERT_OFFSET(DiagBoardEntry, half12, 42);
OVK_ASSERT_OFFSET(DiagBoardEntry, word16, 44);
OVK_ASSERT_OFFSET(DiagBoardEntry, readiness, 48);
OVK_ASSERT_OFFSET(DiagBoardEntry, word24, 52);
OVK_ASSERT_OFFSET(DiagBoardEntry, words28, 56);
OVK_ASSERT_OFFSET(DiagBoardEntry, word76, 104);

/** A board as InitDiagEnv found it: the older, shorter form of DiagBoardEntry. */
typedef struct LegacyBoardEntry {
  uint8_t reserved0[28]; /**< left as the caller had them */
  uint32_t device;       /**< device word; the upper 16 bits tell the PCI function type */
  uint32_t word4;
  uint32_t word8;
  uint8_t reserved40[3]; /**< left as the caller had them */
  uint8_t byte12;        /**< low byte of the 16-bit value */
  uint32_t word16;
  int32_t readiness; /**< negative: the board is not ready */
  uint32_t word24;
  uint32_t words28[11];
} LegacyBoardEntry;

OVK_ASSERT_SIZE(LegacyBoardEntry, 100);
OVK_ASSERT_OFFSET(LegacyBoardEntry, device, 28);
OVK_ASSERT_OFFSET(LegacyBoardEntry, word4, 32);
OVK_ASSERT_OFFSET(LegacyBoardEntry, word8, 36);
OVK_ASSERT_OFFSET(LegacyBoardEntry, byte12, 43);
OVK_ASSERT_OFFSET(LegacyBoardEntry, word16, 44);
OVK_ASSERT_OFFSET(LegacyBoardEntry, readiness, 48);
OVK_ASSERT_OFFSET(LegacyBoardEntry, word24, 52);
OVK_ASSERT_OFFSET(LegacyBoardEntry, words28, 56);

/**
 * Reads the log configuration, opens the management channel and finds the Fibre Channel boards.
 *
 * Takes one reference on the channel, to be dropped with OVK_FreeDiagEnv. Each initialisation
 * numbers the boards anew and clears ovk_refresh_timer and ovk_rststatistics.
 *
 * @param boards    receives one entry a board; may be null when capacity is 0
 * @param capacity  entries that boards holds; boards beyond it are counted and can be used, but
 *                  are not described and get no state
 * @return the number of boards found; 0 also when the channel could not be opened
 */
OVK_API uint32_t OVK_InitDiagEnv(DiagBoardEntry* boards, uint32_t capacity);

/**
 * The older form of OVK_InitDiagEnv. It has no capacity, and indices beyond the new board count
 * keep the mapping that they had: driver board 0 when there was no initialisation before.
 *
 * @param boards  room for OVK_MAX_BOARDS LegacyBoardEntry records
 * @return the number of boards found; 0 also when the channel could not be opened
 */
OVK_API uint32_t InitDiagEnv(void* boards);

/**
 * Drops one reference on the channel and closes it when none is left.
 *
 * @return OVK_OK
 */
OVK_API uint32_t OVK_FreeDiagEnv(void);

/**
 * The older name of OVK_FreeDiagEnv, which does the same.
 *
 * @return OVK_OK
 */
OVK_API uint32_t FreeDiagEnv(void);

/** The bytes that OVK_GetLibVer's caller provides. */
#define OVK_LIB_VERSION_SIZE 31

/**
 * Writes the library version as text, "14.0.198.0".
 *
 * @param buf  room for OVK_LIB_VERSION_SIZE bytes
 * @return the length of the text in bytes
 */
OVK_API int OVK_GetLibVer(char* buf);

/**
 * Gives the revision of the interface, 4.0.
 *
 * @param major  receives 4
 * @param minor  receives 0
 * @return OVK_OK
 */
OVK_API uint32_t GetOvkRev(uint32_t* major, uint32_t* minor);

/**
 * Changes the state of a board. Mode 2 first waits until the driver no longer reports the board in
 * state 2: it asks once a second, without a limit.
 *
 * @param board  library board index
 * @param mode   0, 1, 2, 3 or 5
 * @return the board's new state, as the driver gives it and ovk_state keeps it; 2 also when mode 2
 *         finds the board already there; 0 on failure and for any other mode
 */
OVK_API int32_t SetBrdEnv(uint32_t board, uint32_t mode);

/**
 * Changes the state of every board with SetBrdEnv, in order, and stops at the first failure.
 *
 * @param mode  as for SetBrdEnv
 * @return the last board's new state; 0 when one failed or there is no board
 */
OVK_API int32_t SetDiagEnv(uint32_t mode);

/* ---- Driver information ---------------------------------------------------------------------- */

/** What the caller puts into DrvInfo.record_version. */
#define OVK_DRV_INFO_VERSION 2

/** The lowest SLI mode of an SLI-4 host interface; lower modes are SLI-3 or older. */
#define OVK_SLI4 4

/** The bits of DrvInfo.features to which the library gives a meaning. */
enum OvkFeature {
  OVK_FEATURE_PERSISTENT_LINK_DOWN = 0x400,
  OVK_FEATURE_EXTENDED_SLI_CONFIG = 0x1000 /**< SLI_CONFIG mailboxes with external buffers */
};

/**
 * The driver, the board and its port in one record. Members with a number in their name are copied
 * from that byte of the driver's record, and their meaning is the driver's.
 */
typedef struct DrvInfo {
  uint8_t record_version;   /**< the caller sets OVK_DRV_INFO_VERSION */
  uint8_t record_kind;      /**< 21 */
  uint8_t reserved2[2];     /**< left as the caller had them */
  uint8_t interface_major;  /**< 4 */
  uint8_t interface_minor;  /**< 0 */
  uint8_t interface_update; /**< 1 */
  uint8_t reserved7;        /**< left as the caller had it */
  char driver_version[16];  /**< the start of the text; not always terminated */
  char driver_name[8];      /**< the start of the text; not always terminated */
  uint32_t words0[4];
  uint32_t word64;
  uint32_t word68;
  uint32_t reserved56[6]; /**< 0 */
  uint32_t port_fc_id;    /**< FC address of the board's port */
  Wwn port_wwn;
  Wwn node_wwn;
  char host_name[32];   /**< not terminated when it is 32 bytes or longer */
  uint32_t reserved132; /**< 0 */
  uint32_t sli_mode;    /**< OVK_SLI4 and above: SLI-4 */
  uint32_t features;    /**< OvkFeature bits and others of the driver's */
  uint32_t word108;
} DrvInfo;

OVK_ASSERT_SIZE(DrvInfo, 148);
OVK_ASSERT_OFFSET(DrvInfo, record_kind, 1);
OVK_ASSERT_OFFSET(DrvInfo, interface_major, 4);
OVK_ASSERT_OFFSET(DrvInfo, interface_minor, 5);
OVK_ASSERT_OFFSET(DrvInfo, interface_update, 6);
OVK_ASSERT_OFFSET(DrvInfo, driver_version, 8);
OVK_ASSERT_OFFSET(DrvInfo, driver_name, 24);
OVK_ASSERT_OFFSET(DrvInfo, words0, 32);
OVK_ASSERT_OFFSET(DrvInfo, word64, 48);
OVK_ASSERT_OFFSET(DrvInfo, word68, 52);
OVK_ASSERT_OFFSET(DrvInfo, port_fc_id, 80);
OVK_ASSERT_OFFSET(DrvInfo, port_wwn, 84);
OVK_ASSERT_OFFSET(DrvInfo, node_wwn, 92);
OVK_ASSERT_OFFSET(DrvInfo, host_name, 100);
OVK_ASSERT_OFFSET(DrvInfo, sli_mode, 136);
OVK_ASSERT_OFFSET(DrvInfo, features, 140);
OVK_ASSERT_OFFSET(DrvInfo, word108, 144);

/**
 * Describes a board's driver, SLI mode and features.
 *
 * @param board  library board index
 * @param info   the caller zeroes it and sets record_version; on failure it may be partly filled
 * @return OVK_OK; 2 on any failure
 */
OVK_API uint32_t OVK_GetDrvInfo(uint32_t board, DrvInfo* info);

/* ---- Driver module --------------------------------------------------------------------------- */

/** What the driver says of its module. */
typedef struct ModuleInfo {
  uint8_t bytes0[6276];
} ModuleInfo;

OVK_ASSERT_SIZE(ModuleInfo, 6276);

/** A line for the driver's log. */
typedef struct LogMessage {
  char text[64];
} LogMessage;

OVK_ASSERT_SIZE(LogMessage, 64);

/** Names one side of the management interface. The library's own is ravn_mgmt_signature. */
typedef struct VersionSignature {
  uint32_t revision; /**< major, minor, update, patch, high to low byte */
  char name[32];     /**< NUL-terminated */
  char vendor[32];   /**< NUL-terminated */
  uint32_t callback_count;
} VersionSignature;

OVK_ASSERT_SIZE(VersionSignature, 72);
OVK_ASSERT_OFFSET(VersionSignature, name, 4);
OVK_ASSERT_OFFSET(VersionSignature, vendor, 36);
OVK_ASSERT_OFFSET(VersionSignature, callback_count, 68);

/**
 * Reads what the driver says of its module. Needs no board.
 *
 * @param info  written by the driver itself, after a failure too
 * @return OVK_OK; the channel's error; the driver's status
 */
OVK_API uint32_t ModInfo(ModuleInfo* info);

/**
 * Writes a line into the driver's log. Needs no board.
 *
 * @param message  the line
 * @return OVK_OK; the channel's error; the driver's status
 */
OVK_API uint32_t LogMsg(const LogMessage* message);

/**
 * Gives the signatures of both sides, for the caller to compare. Needs no board.
 *
 * @param driver   written by the driver itself
 * @param library  receives the library's signature, after a failure too; the bytes behind the
 *                 terminators of its texts are left as the caller had them
 * @return OVK_OK; the channel's error; the driver's status
 */
OVK_API uint32_t CallVer(VersionSignature* driver, VersionSignature* library);

/**
 * Makes the driver raise a test event.
 *
 * @param board  library board index
 * @param a      first argument of the event
 * @param b      second argument of the event
 * @return OVK_OK; the channel's error; the driver's status
 */
OVK_API uint32_t EventTest(uint32_t board, uint32_t a, uint32_t b);

OVK_END_DECLS

#endif
