/**
 * @file
 * Traffic policy and the firmware log: FCP priority (QoS), optimized access storage (OAS), virtual
 * machine identifiers (VMID) and the firmware's RAS log.
 *
 * The records are the driver's own. Where a field has no meaning here, the library passes it
 * through; names in these records say no more than what the library knows.
 */
#ifndef OVK_FEATURES_H
#define OVK_FEATURES_H

#include <ovk/types.h>

OVK_BEGIN_DECLS

/* ---- FCP priority (QoS) ---------------------------------------------------------------------- */

/**
 * The most rules that a table can have. The driver may accept fewer: its command carries the first
 * 998, and what a longer table has behind them is not sent, and reads as zeros.
 */
#define OVK_FCP_PRIORITY_MAX_ENTRIES 1000

/** One field of a rule: eight bytes 0xFF match anything, all else matches itself. */
typedef struct FcpPriorityMatch {
  uint8_t bytes[8];
} FcpPriorityMatch;

/** One rule: what it matches, and the priority that it gives. */
typedef struct FcpPriorityEntry {
  FcpPriorityMatch match[4];
  uint32_t priority;
} FcpPriorityEntry;

OVK_ASSERT_SIZE(FcpPriorityEntry, 36);
OVK_ASSERT_OFFSET(FcpPriorityEntry, priority, 32);

/** A table of rules. A caller may provide as many entries only as count says. */
typedef struct FcpPriorityList {
  uint32_t count;
  FcpPriorityEntry entries[OVK_FCP_PRIORITY_MAX_ENTRIES];
} FcpPriorityList;

OVK_ASSERT_SIZE(FcpPriorityList, 36004);
OVK_ASSERT_OFFSET(FcpPriorityList, entries, 4);

/**
 * Reads whether the driver applies its FCP priority rules.
 *
 * @param board  library board index
 * @param flag   receives the driver's flag; untouched on failure
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t OVK_QoSGetGlobalFlag(uint32_t board, uint32_t* flag);

/**
 * Switches on or off that the driver applies its FCP priority rules.
 *
 * @param board  library board index
 * @param flag   the flag, as the driver takes it
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t OVK_QoSSetGlobalFlag(uint32_t board, uint32_t flag);

/**
 * Reads the driver's FCP priority rules.
 *
 * @param board  library board index
 * @param list   in: count is the number of entries that it has room for, at most
 *               OVK_FCP_PRIORITY_MAX_ENTRIES; out: count is the number that the driver has, and as
 *               many entries as there is room for are written. Untouched on failure.
 * @return OVK_OK; OVK_MORE_DATA when the driver has more; OVK_FAILED, also for a count that is too
 *         large; OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_QoSGetConfig(uint32_t board, FcpPriorityList* list);

/**
 * Replaces the driver's FCP priority rules.
 *
 * The rules are first brought into the order in which they apply, and the caller's list stays in
 * it: rules without a wildcard first, then those whose first wildcard is the fourth, third, second
 * and first field. Of rules of one kind, the last one given comes first.
 *
 * @param board  library board index
 * @param list   the rules, at most OVK_FCP_PRIORITY_MAX_ENTRIES
 * @return OVK_OK; OVK_FAILED, also for a count that is too large and when there was no memory to
 *         order the list, which then is as it was; OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_QoSSetConfig(uint32_t board, FcpPriorityList* list);

/* ---- Optimized access storage (OAS) ------------------------------------------------------------
 */

/** A logical unit with optimized access, as the driver has it. */
typedef struct OasLun {
  uint8_t lun[8];     /**< the LUN as a number, first level lowest, most significant byte first */
  uint64_t scsi_lun;  /**< the 8 bytes of the LUN (SAM) as one big-endian number */
  uint8_t flag1;      /**< 0 or 1: bit 1 of the driver's flags */
  uint8_t flag0;      /**< 0 or 1: bit 0 of the driver's flags */
  uint8_t priority;   /**< as the driver gives it */
  uint8_t reserved19; /**< left as the caller had it */
  Wwn port_wwns[2];   /**< as the driver gives them */
} OasLun;

OVK_ASSERT_SIZE(OasLun, 36);
OVK_ASSERT_OFFSET(OasLun, scsi_lun, 8);
OVK_ASSERT_OFFSET(OasLun, flag1, 16);
OVK_ASSERT_OFFSET(OasLun, flag0, 17);
OVK_ASSERT_OFFSET(OasLun, priority, 18);
OVK_ASSERT_OFFSET(OasLun, port_wwns, 20);

/** The most logical units that one answer of the driver holds. */
#define OVK_OAS_MAX_LUNS 256

/** Logical units with optimized access. A caller may provide as many entries only as count says. */
typedef struct OasLunList {
  uint32_t count;
  OasLun luns[OVK_OAS_MAX_LUNS];
} OasLunList;

OVK_ASSERT_SIZE(OasLunList, 9220);
OVK_ASSERT_OFFSET(OasLunList, luns, 4);

/** What OVK_SetOASLun does with a rule. */
enum OvkOasOperation { OVK_OAS_CLEAR = 0, OVK_OAS_SET = 1 };

/** The highest priority of a rule. */
#define OVK_OAS_MAX_PRIORITY 127

/** A rule of OVK_SetOASLunV2. */
typedef struct OasRule {
  uint8_t reserved0;
  uint8_t operation; /**< OvkOasOperation */
  uint8_t priority;  /**< at most OVK_OAS_MAX_PRIORITY */
  uint8_t reserved3[5];
  uint64_t lun;
} OasRule;

OVK_ASSERT_SIZE(OasRule, 16);
OVK_ASSERT_OFFSET(OasRule, operation, 1);
OVK_ASSERT_OFFSET(OasRule, priority, 2);
OVK_ASSERT_OFFSET(OasRule, lun, 8);

/** Results of the OAS calls beside those of OvkResult. */
enum OvkOasResult {
  OVK_OAS_VERSION_TOO_LOW = 4, /**< OVK_SetOASLunV2: the driver's OAS version is below 1, or
                                    could not be asked for */
  OVK_OAS_NO_SUCH_PORT = 5,    /**< list: the driver does not know the ports */
  OVK_OAS_NO_LUN = 15,         /**< list: the ports have no logical unit */
  OVK_OAS_NO_MEMORY = 16,      /**< set: no memory, here or in the driver */
  OVK_OAS_NODES_UNKNOWN = 17,  /**< set: the rule was sent, the local port's nodes are unknown */
  OVK_OAS_TARGET_UNKNOWN = 18, /**< set: the rule was sent, the target is not a node of the port */
  OVK_OAS_NOT_SUPPORTED = 32,  /**< the driver does not offer OAS, or did not tell its version */
  OVK_OAS_DISABLED = 33,       /**< OAS is switched off on the adapter */
  OVK_OAS_RULE_REFUSED = 34    /**< set: the driver does not take the rule */
};

/**
 * Lists the logical units with optimized access between two ports.
 *
 * @param board        library board index
 * @param local_port   WWN of the board's port
 * @param target_port  WWN of the target's port
 * @param unused       ignored
 * @param list         in: count is the number of entries that it has room for; out: count is the
 *                     number that the driver has, and as many entries as there is room for are
 *                     written, at most OVK_OAS_MAX_LUNS. Untouched on failure. May be null.
 * @return OVK_OK; OVK_MORE_DATA when the driver has more, without a list, and when the platform's
 *         error is 7; OVK_FAILED; OVK_NO_MEMORY; OvkOasResult
 */
OVK_API uint32_t OVK_GetOASLunList(uint32_t board, const Wwn* local_port, const Wwn* target_port,
                                   uint32_t unused, OasLunList* list);

/**
 * Sets or clears optimized access for a logical unit, then checks that the target's port is among
 * the nodes of the local port.
 *
 * @param board        library board index
 * @param local_port   WWN of the board's port
 * @param target_port  WWN of the target's port
 * @param lun_low      low half of the LUN
 * @param lun_high     high half of the LUN
 * @param unused       ignored
 * @param operation    OvkOasOperation
 * @return OVK_OK; OVK_FAILED, also for an unknown operation; OVK_NO_MEMORY when the rule was sent
 *         and the target could not be checked; OvkOasResult
 */
OVK_API uint32_t OVK_SetOASLun(uint32_t board, const Wwn* local_port, const Wwn* target_port,
                               uint32_t lun_low, uint32_t lun_high, uint32_t unused,
                               uint8_t operation);

/**
 * Sets or clears an OAS rule as OVK_SetOASLun does, with a priority.
 *
 * @param board        library board index
 * @param local_port   WWN of the board's port
 * @param target_port  WWN of the target's port
 * @param unused       ignored
 * @param rule         what to set or clear
 * @return as OVK_SetOASLun; OVK_FAILED also for a priority above OVK_OAS_MAX_PRIORITY
 */
OVK_API uint32_t OVK_SetOASLunV2(uint32_t board, const Wwn* local_port, const Wwn* target_port,
                                 uint32_t unused, const OasRule* rule);

/* ---- VMID and QFPA --------------------------------------------------------------------------- */

/** The QFPA priority ranges that the fabric gave (FC-LS). The layout is the driver's. */
typedef struct QfpaPriorityList {
  uint8_t bytes[514];
} QfpaPriorityList;

OVK_ASSERT_SIZE(QfpaPriorityList, 514);

/** The identifiers of the virtual machines. The layout is the driver's. */
typedef struct VMidMapping {
  uint8_t bytes[76808];
} VMidMapping;

OVK_ASSERT_SIZE(VMidMapping, 76808);

/** Results of the VMID and QFPA calls beside those of OvkResult. */
enum OvkVMidResult {
  OVK_VMID_DOES_NOT_FIT = 7, /**< the driver has more than the record can hold */
  OVK_VMID_NOT_SUPPORTED = 9 /**< the driver or the fabric does not offer it */
};

/**
 * Reads the QFPA priority list of an SLI-4 board.
 *
 * @param board  library board index
 * @param list   goes to the driver as it is and receives its answer
 * @return OVK_OK; OVK_FAILED; OVK_NOT_SUPPORTED below SLI-4; OvkVMidResult
 */
OVK_API uint32_t OVK_GetQFPAPriorityList(uint32_t board, QfpaPriorityList* list);

/**
 * Reads the VMID mapping of an SLI-4 board.
 *
 * @param board    library board index
 * @param mapping  goes to the driver as it is, for the driver to see what is asked for, and
 *                 receives its answer
 * @return OVK_OK; OVK_FAILED; OVK_NOT_SUPPORTED below SLI-4; OvkVMidResult
 */
OVK_API uint32_t OVK_GetVMidMapping(uint32_t board, VMidMapping* mapping);

/**
 * Changes the VMID mapping of an SLI-4 board.
 *
 * @param board    library board index
 * @param mapping  goes to the driver as it is
 * @return OVK_OK; OVK_FAILED; OVK_NOT_SUPPORTED below SLI-4; OvkVMidResult
 */
OVK_API uint32_t OVK_UpdateVMidMapping(uint32_t board, const VMidMapping* mapping);

/* ---- Firmware log ---------------------------------------------------------------------------- */

/** The unit of RasConfig.buffer_units, in bytes. */
#define OVK_RAS_BUFFER_UNIT 262144

/** The state of the firmware log, as the driver gives it. */
typedef struct __attribute__((packed)) RasConfig {
  uint8_t state;         /**< not 0: the firmware is logging */
  uint8_t level;         /**< log level */
  uint32_t buffer_units; /**< the log's size, in OVK_RAS_BUFFER_UNIT */
} RasConfig;

OVK_ASSERT_SIZE(RasConfig, 6);
OVK_ASSERT_OFFSET(RasConfig, level, 1);
OVK_ASSERT_OFFSET(RasConfig, buffer_units, 2);

/** A change of the firmware log. */
typedef struct RasSetting {
  uint8_t start; /**< 1: start logging, 0: stop */
  uint8_t level; /**< log level; 0 when stopping */
} RasSetting;

OVK_ASSERT_SIZE(RasSetting, 2);
OVK_ASSERT_OFFSET(RasSetting, level, 1);

/** Results of OVK_GetRasConfig, OVK_SetRasConfig and OVK_FwLogConfig beside those of OvkResult. */
enum OvkRasConfigResult {
  OVK_RAS_DISABLED = 3,       /**< the feature is switched off on the adapter */
  OVK_RAS_BAD_LEVEL = 4,      /**< no such log level */
  OVK_RAS_ALREADY_ACTIVE = 5, /**< the firmware is logging already */
  OVK_RAS_NO_LOG_MEMORY = 6,  /**< the driver has no memory for the log */
  OVK_RAS_NOT_ACTIVE = 7      /**< the firmware was not logging */
};

/**
 * Reads the state of the firmware log of an SLI-4 board.
 *
 * @param board   library board index
 * @param config  receives the driver's record
 * @return OVK_OK; OVK_FAILED; OVK_NOT_SUPPORTED below SLI-4 and by the driver's word;
 *         OVK_RAS_DISABLED
 */
OVK_API uint32_t OVK_GetRasConfig(uint32_t board, RasConfig* config);

/**
 * Starts or stops the firmware log of an SLI-4 board.
 *
 * @param board   library board index
 * @param config  what to do
 * @return OVK_OK; OVK_FAILED; OVK_NOT_SUPPORTED below SLI-4 and by the driver's word;
 *         OvkRasConfigResult
 */
OVK_API uint32_t OVK_SetRasConfig(uint32_t board, const RasSetting* config);

/** What OVK_FwLogConfig does. */
enum OvkFwLogAction { OVK_FW_LOG_QUERY = 0, OVK_FW_LOG_STOP = 1, OVK_FW_LOG_START = 2 };

/** The result of OVK_FwLogConfig for any other action. Nothing was sent. */
#define OVK_FW_LOG_BAD_ACTION 4

/** The caller's record of OVK_FwLogConfig. */
typedef struct FwLogConfig {
  uint8_t reserved0;
  uint8_t action;       /**< OvkFwLogAction */
  uint8_t state;        /**< out, query only: not 0 means that the firmware is logging */
  uint8_t level;        /**< in for a start; out for a query and a stop */
  uint32_t buffer_size; /**< out, query and stop only: the log's size in bytes */
} FwLogConfig;

OVK_ASSERT_SIZE(FwLogConfig, 8);
OVK_ASSERT_OFFSET(FwLogConfig, action, 1);
OVK_ASSERT_OFFSET(FwLogConfig, state, 2);
OVK_ASSERT_OFFSET(FwLogConfig, level, 3);
OVK_ASSERT_OFFSET(FwLogConfig, buffer_size, 4);

/**
 * Starts, stops or queries the firmware log of an SLI-4 board.
 *
 * @param board  library board index
 * @param cfg    what to do, and the answer. A stop leaves the state as it was in the record; it
 *               fills the other two when the firmware was logging and when it was not.
 * @return OVK_OK; OVK_FAILED; OVK_NOT_SUPPORTED below SLI-4 and by the driver's word;
 *         OvkRasConfigResult; OVK_FW_LOG_BAD_ACTION
 */
OVK_API uint32_t OVK_FwLogConfig(uint32_t board, FwLogConfig* cfg);

/** Results of OVK_GetRasLog and OVK_GetFwLog beside those of OvkResult. */
enum OvkRasLogResult {
  OVK_RAS_LOG_DISABLED = 3, /**< the feature is switched off on the adapter */
  OVK_RAS_LOG_NO_MEMORY = 9 /**< the driver has no memory for the log */
};

/** What OVK_GetRasLog reads, and its answer. */
typedef struct RasLogRequest {
  uint32_t offset;    /**< the first byte of the log to read */
  uint32_t size;      /**< bytes to read */
  void* buffer;       /**< receives them; read mode only */
  uint32_t extent[2]; /**< out, query mode only: the extent of the log, in the driver's words */
} RasLogRequest;

OVK_ASSERT_SIZE(RasLogRequest, 20);
OVK_ASSERT_OFFSET(RasLogRequest, size, 4);
OVK_ASSERT_OFFSET(RasLogRequest, buffer, 8);
OVK_ASSERT_OFFSET(RasLogRequest, extent, 12);

/**
 * Reads from the firmware log of an SLI-4 board, or asks for its extent.
 *
 * @param board    library board index
 * @param request  what to read, and where to
 * @param mode     0: query, the extent is set even when the command failed; else read
 * @return OVK_OK; OVK_FAILED; OVK_NOT_SUPPORTED below SLI-4 and by the driver's word;
 *         OvkRasLogResult
 */
OVK_API uint32_t OVK_GetRasLog(uint32_t board, RasLogRequest* request, uint8_t mode);

/** What OVK_GetFwLog reads, and its answer. */
typedef struct FwLogRequest {
  uint32_t reserved0;
  uint32_t offset;    /**< the first byte of the log to read */
  uint32_t size;      /**< bytes to read; with an offset of 0 as well: ask for the extent */
  uint32_t extent[2]; /**< out, query only: the extent of the log, in the driver's words */
  void* buffer;       /**< receives the bytes */
} FwLogRequest;

OVK_ASSERT_SIZE(FwLogRequest, 24);
OVK_ASSERT_OFFSET(FwLogRequest, offset, 4);
OVK_ASSERT_OFFSET(FwLogRequest, size, 8);
OVK_ASSERT_OFFSET(FwLogRequest, extent, 12);
OVK_ASSERT_OFFSET(FwLogRequest, buffer, 20);

/**
 * OVK_GetRasLog in one record. To read a whole log, ask for its extent with offset and size 0, then
 * read piece by piece.
 *
 * @param board  library board index
 * @param req    what to read and where to; the extent is untouched unless a query succeeded
 * @return as OVK_GetRasLog
 */
OVK_API uint32_t OVK_GetFwLog(uint32_t board, FwLogRequest* req);

OVK_END_DECLS

#endif
