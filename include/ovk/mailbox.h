/**
 * @file
 * Firmware mailboxes, the adapter's non-volatile regions as raw bytes, loopback tests, reset and
 * dump support.
 *
 * A mailbox is the record by which the adapter's firmware is commanded. The library passes it on
 * as the caller built it and looks at nothing but its command code, its status and, for a few
 * commands, where their data stands; of an SLI_CONFIG mailbox OVK_IssueMboxWithRetryV2 also looks
 * at what chooses its way, and clears its addresses. All fields are little-endian.
 */
#ifndef OVK_MAILBOX_H
#define OVK_MAILBOX_H

#include <ovk/types.h>

OVK_BEGIN_DECLS

/* ---- Mailboxes ------------------------------------------------------------------------------- */

/** The whole mailbox in words. An SLI-3 mailbox uses the first 32 of them. */
#define OVK_MAILBOX_WORDS 64

/**
 * A firmware mailbox. Calls that take a number of words accept a shorter or a longer one, but read
 * the first seven words in any case; OVK_IssueMboxWithRetryV2 reads more.
 */
typedef struct Mailbox {
  uint8_t byte0;
  uint8_t command; /**< the command code */
  uint16_t status; /**< 0 when the firmware completed the command; see OvkMailboxStatus */
  uint32_t words4[63];
} Mailbox;

OVK_ASSERT_SIZE(Mailbox, 256);
OVK_ASSERT_OFFSET(Mailbox, command, 1);
OVK_ASSERT_OFFSET(Mailbox, status, 2);
OVK_ASSERT_OFFSET(Mailbox, words4, 4);

/** The bytes in which OVK_IssueMboxWithRetryV2 finds all that it looks at in any mailbox. */
#define OVK_MAILBOX_ROOM 260

/** What the library writes to Mailbox.status when the driver did not hand the command over. */
enum OvkMailboxStatus {
  OVK_MAILBOX_NOT_ISSUED = 252, /**< refused by the library or the driver, or not delivered */
  OVK_MAILBOX_BUSY = 253,       /**< the firmware is busy; the retry calls try again */
  OVK_MAILBOX_FAILED = 254      /**< the driver failed to run the command */
};

/** The result of the mailbox calls while the adapter is not ready for mailboxes. */
#define OVK_MAILBOX_NOT_READY 3

/** The results of the retry calls beside those of their attempts. */
enum OvkMailboxRetryResult {
  OVK_MAILBOX_SEE_STATUS = 2,     /**< the mailbox holds a status that tells the failure */
  OVK_MAILBOX_TOO_MANY_WORDS = 2, /**< more extended data than OVK_MAILBOX_EXTENDED_WORDS */
  OVK_MAILBOX_WRONG_KIND = 4      /**< the call is not for such a board, or such a mailbox */
};

/** The most bytes that a command may read or write through addresses in its mailbox. */
#define OVK_MAILBOX_EXTENSION_SIZE 4096

/** The most extended-data words that a mailbox carries in either direction. */
#define OVK_MAILBOX_EXTENDED_WORDS 512

/**
 * Passes a mailbox to the firmware of an SLI-3 adapter.
 *
 * Commands 0x38, 0x84, 0x8D and 0x8F name memory of the caller by length and address in their
 * words; the library moves that data, OVK_MAILBOX_EXTENSION_SIZE bytes at most. A longer one is a
 * programming error that aborts the process.
 *
 * @param board     library board index
 * @param mb        the mailbox, at least 32 words of it; returned as the firmware completed it
 * @param inWords   words to pass and to return, at most 32
 * @param outBytes  bytes that the firmware may return, at most 128
 * @return OVK_OK; OVK_FAILED, with mb->status set, or with mb as it was when the SLI mode cannot be
 *         read; OVK_MAILBOX_NOT_READY, also on SLI-4 adapters; OVK_NO_MEMORY
 */
OVK_API uint32_t IssueMbox(uint32_t board, Mailbox* mb, uint32_t inWords, uint32_t outBytes);

/**
 * Passes the first 32 words of a mailbox to the firmware together with extended data.
 *
 * @param board        library board index
 * @param mb           the mailbox; its first 32 words are returned as the firmware completed them
 * @param ext          extended data to pass; receives the returned data when the command succeeds
 * @param flag         kind of the extended data, the firmware's
 * @param inExtWords   words of ext to pass, at most OVK_MAILBOX_EXTENDED_WORDS
 * @param outExtWords  words of ext to receive, at most OVK_MAILBOX_EXTENDED_WORDS
 * @return OVK_OK; OVK_FAILED, with mb->status set; OVK_MAILBOX_NOT_READY; OVK_NO_MEMORY
 */
OVK_API uint32_t IssueMboxEx(uint32_t board, Mailbox* mb, uint32_t* ext, uint8_t flag,
                             uint32_t inExtWords, uint32_t outExtWords);

/**
 * Passes a mailbox to the firmware of an SLI-3 adapter, and again while the firmware is busy.
 *
 * After each busy attempt, the last one included, it sleeps delayMs rounded up to whole seconds.
 *
 * @param board     library board index
 * @param mb        the mailbox; receives outBytes of it, 256 at most
 * @param inWords   words to pass, at most 512, of which the mailbox takes OVK_MAILBOX_WORDS
 * @param outBytes  bytes that the firmware may return, at most 2048
 * @param retries   attempts; 0 sends nothing, leaves mb alone and gives OVK_OK
 * @param delayMs   the wait in milliseconds
 * @return OVK_OK; 1 when the SLI mode cannot be read or the firmware gave neither success nor a
 *         status; OVK_MAILBOX_SEE_STATUS, also after the last busy attempt; OVK_MAILBOX_NOT_READY;
 *         OVK_MAILBOX_WRONG_KIND on SLI-4 adapters; OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_IssueMboxWithRetry(uint32_t board, Mailbox* mb, uint32_t inWords,
                                        uint32_t outBytes, uint32_t retries, uint32_t delayMs);

/**
 * Passes a mailbox with extended data to the firmware, and again while the firmware is busy.
 *
 * After each busy attempt, the last one included, it waits delayMs; above 1000 rounded up to whole
 * seconds.
 *
 * @param board        library board index
 * @param mb           the mailbox, 256 bytes; receives the last attempt's
 * @param ext          extended data to pass; receives outExtWords of it, zeros after a failure
 *                     that passed no data
 * @param flag         kind of the extended data in the low byte, the firmware's
 * @param inExtWords   words of ext to pass, at most OVK_MAILBOX_EXTENDED_WORDS
 * @param outExtWords  words of ext to receive, at most OVK_MAILBOX_EXTENDED_WORDS
 * @param retries      attempts; 0 sends nothing, leaves mb and ext alone and gives OVK_OK
 * @param delayMs      the wait in milliseconds
 * @return OVK_OK; OVK_MAILBOX_TOO_MANY_WORDS; OVK_MAILBOX_SEE_STATUS, also after the last busy
 *         attempt; OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_IssueMboxWithRetryEx(uint32_t board, Mailbox* mb, uint32_t* ext, uint32_t flag,
                                          uint32_t inExtWords, uint32_t outExtWords,
                                          uint32_t retries, uint32_t delayMs);

/**
 * Passes a mailbox to the firmware of an SLI-4 adapter, and again while the firmware is busy.
 *
 * An SLI_CONFIG mailbox (command 0x9B) whose data does not fit in it goes the extended way of
 * IssueExtendedSLIConfig, and the words that hold addresses are cleared in mb; words has
 * no say in either. The lengths, addresses and data by which an ordinary mailbox moves memory of
 * the caller are taken once; further attempts pass the mailbox as the driver returned it, with that
 * memory. Between attempts it sleeps delayMs rounded up to whole seconds.
 *
 * @param board    library board index
 * @param mb       the mailbox, words long, with room for at least 260 bytes (OVK_MAILBOX_ROOM) in
 *                 the non-embedded form of SLI_CONFIG and for 256 in any other, whatever words
 *                 says; returned as the firmware completed it
 * @param words    words to pass: OVK_MAILBOX_WORDS; on the extended way up to 1024
 * @param retries  attempts; 0 counts as 1
 * @param delayMs  the wait in milliseconds
 * @return OVK_OK; 1 when the SLI mode cannot be read or the extended command failed;
 *         OVK_MAILBOX_SEE_STATUS; OVK_MAILBOX_WRONG_KIND below SLI-4 or for another number of
 *         words; OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_IssueMboxWithRetryV2(uint32_t board, Mailbox* mb, uint32_t words,
                                          uint32_t retries, uint32_t delayMs);

/**
 * Passes an SLI_CONFIG mailbox with its external data to the firmware of an SLI-4 adapter. A
 * failure leaves mb as it was, and what the firmware says in the mailbox's status is the caller's
 * to look at.
 *
 * @param board    library board index
 * @param mb       the mailbox and its data, words long; returned as the firmware completed it
 * @param subCode  1 or 2: which way the data goes, the driver's
 * @param kind     1 or 2: non-embedded or embedded form; not sent
 * @param words    length of mb, at most 1024
 * @return OVK_OK; OVK_FAILED, also when the SLI mode cannot be read; OVK_NOT_SUPPORTED below SLI-4;
 *         OVK_NO_MEMORY
 */
OVK_API uint32_t IssueExtendedSLIConfig(uint32_t board, Mailbox* mb, uint32_t subCode,
                                        uint32_t kind, uint32_t words);

/**
 * Kept for compatibility: ignores its arguments and does nothing.
 *
 * @return OVK_NOT_SUPPORTED
 */
OVK_API uint32_t OVK_SendHarrowCommand(uint32_t board, ...);

/*
 * SLI-4 records that applications share through the library. The library neither reads nor writes
 * them; they start out zero.
 */
extern OVK_API uint32_t ovk_sli4_nop_cmd_rsp[6];
extern OVK_API uint32_t ravn_sli4_dcbx_mode_cmd[4];
extern OVK_API uint32_t ovk_sli4_get_ctrl_attr_cmd_rsp[139];
extern OVK_API uint32_t ovk_sli4_get_dcbx_mode_cmd_rsp[5];
extern OVK_API uint32_t ravn_sli4_dcbx_mode_rsp[5];
extern OVK_API uint32_t ovk_sli4_read_fcf_table_cmd_rsp[145];

/* ---- Non-volatile regions, as bytes ---------------------------------------------------------- */

/** The request type of all callers of OVK_IssueDumpMBox and OVK_IssueUpdateCfgMBox. */
#define OVK_REGION_REQUEST_TYPE 2

/** The results of the region calls for the firmware's answers about a region. */
enum OvkRegionResult {
  OVK_REGION_STATUS_FFFD = 4, /**< mailbox status 0xFFFD */
  OVK_REGION_STATUS_FFF7 = 5, /**< mailbox status 0xFFF7 */
  OVK_REGION_STATUS_FFF6 = 6  /**< mailbox status 0xFFF6 */
};

/**
 * Reads a region of an SLI-4 adapter's non-volatile configuration.
 *
 * @param board   library board index
 * @param type    request type, 1 to 4; OVK_REGION_REQUEST_TYPE
 * @param arg     0
 * @param region  region number: 0, 4 to 10, 14, 17, 19, 21 to 23, 30, 32, 160 or 162
 * @param offset  first byte of the region to deliver; 0
 * @param dest    receives the bytes; they are delivered also with result 1
 * @param size    in: the room at dest in bytes; out: the bytes delivered, untouched when nothing
 *                was sent
 * @return OVK_OK, also for a firmware status without a code of its own, then with size 0 (and the
 *         channel's error instead of OVK_OK when the command was not delivered either);
 *         1 when the SLI mode cannot be read or the command failed; 2 below SLI-4 or for another
 *         type; 3 unknown region; 4 null dest, or an OvkRegionResult; 7 no room; OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_IssueDumpMBox(uint32_t board, uint32_t type, uint32_t arg, uint32_t region,
                                   uint32_t offset, uint8_t* dest, uint32_t* size);

/**
 * Writes a region of an SLI-4 adapter's non-volatile configuration: the whole of it, filled up with
 * zeros behind the data.
 *
 * @param board      library board index
 * @param type       OVK_REGION_REQUEST_TYPE
 * @param region     region number, as for OVK_IssueDumpMBox
 * @param data       the bytes to write
 * @param length     their number, at most the length of the region
 * @param mbxStatus  receives the firmware's mailbox status: 0 when the region was written;
 *                   untouched unless the result is OVK_OK
 * @return OVK_OK when the firmware answered, whatever its status; 1 when the SLI mode cannot be
 *         read or the command failed; 2 below SLI-4 or for another type; 3 unknown region;
 *         7 the data is longer than the region; OVK_NO_MEMORY
 */
OVK_API int32_t OVK_IssueUpdateCfgMBox(uint32_t board, uint8_t type, uint32_t region,
                                       const void* data, uint32_t length, uint32_t* mbxStatus);

/* ---- Loopback and reset ---------------------------------------------------------------------- */

/** The most bytes that a loopback test sends. */
#define OVK_LOOPBACK_MAX_SIZE 65536

/** The value with which OVK_ConfigLoopbackV2 is OVK_ConfigLoopback. */
#define OVK_LOOPBACK_NO_VALUE 0xFFFFFFFFU

/** The results of the loopback calls beside those of all calls. */
enum OvkLoopbackResult {
  OVK_LOOPBACK_NOT_PERMITTED = 2,   /**< the driver does not permit the change of the mode */
  OVK_LOOPBACK_NO_SUCH_MODE = 3,    /**< of OVK_ConfigLoopback and OVK_ConfigLoopbackV2 */
  OVK_LOOPBACK_PORT_BUSY = 3,       /**< of OVK_RunLoopbackTest */
  OVK_LOOPBACK_NOTHING_RECEIVED = 6 /**< of OVK_RunLoopbackTest: nothing came back */
};

/** The buffers of a loopback test: what it sends, and room for what comes back. */
typedef struct LoopbackRequest {
  uint32_t bufSize;     /**< bytes to send, at most OVK_LOOPBACK_MAX_SIZE */
  const void* transmit; /**< bufSize bytes */
  void* receive;        /**< room for bufSize bytes */
} LoopbackRequest;

OVK_ASSERT_OFFSET(LoopbackRequest, transmit, sizeof(void*));
OVK_ASSERT_OFFSET(LoopbackRequest, receive, 2 * sizeof(void*));

/**
 * Puts a port into a loopback mode.
 *
 * @param board  library board index
 * @param mode   1 or 2
 * @param arg    passed on to the driver
 * @return OVK_OK; OVK_FAILED; OVK_LOOPBACK_NOT_PERMITTED; OVK_LOOPBACK_NO_SUCH_MODE
 */
OVK_API uint32_t OVK_ConfigLoopback(uint32_t board, uint32_t mode, uint32_t arg);

/**
 * Puts a port into a loopback mode, with a value for the driver.
 *
 * @param board  library board index
 * @param value  passed on to the driver; with OVK_LOOPBACK_NO_VALUE this is OVK_ConfigLoopback
 * @param mode   0, 1 or 2
 * @param arg    passed on to the driver
 * @return OVK_OK; OVK_FAILED; OVK_LOOPBACK_NOT_PERMITTED; OVK_LOOPBACK_NO_SUCH_MODE
 */
OVK_API uint32_t OVK_ConfigLoopbackV2(uint32_t board, uint32_t value, uint32_t mode, uint32_t arg);

/**
 * Sends a buffer through a port in loopback mode. Whether what came back is what was sent is the
 * caller's to compare. More than OVK_LOOPBACK_MAX_SIZE bytes are a programming error that aborts
 * the process.
 *
 * @param board  library board index
 * @param req    the buffers; the receive buffer is written on success only
 * @return OVK_OK; OVK_FAILED; OVK_LOOPBACK_PORT_BUSY; OVK_LOOPBACK_NOTHING_RECEIVED; OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_RunLoopbackTest(uint32_t board, const LoopbackRequest* req);

/**
 * Takes a port out of the loopback mode.
 *
 * @param board  library board index
 * @return OVK_OK; OVK_FAILED, also when the SLI mode cannot be read; OVK_LOOPBACK_NOT_PERMITTED
 *         when the driver of an SLI-4 adapter does not permit it
 */
OVK_API uint32_t OVK_EndLoopback(uint32_t board);

/** The result of OVK_ResetAdapter for a mode that it or the driver does not have. */
#define OVK_RESET_NO_SUCH_MODE 4

/**
 * Resets an adapter. It does not wait for the adapter to come back.
 *
 * @param board  library board index
 * @param mode   1 or 2; 3 where the driver has it
 * @return OVK_OK; OVK_FAILED, also when the driver does not give its revision;
 *         OVK_RESET_NO_SUCH_MODE
 */
OVK_API uint32_t OVK_ResetAdapter(uint32_t board, uint32_t mode);

/* ---- Dump support ---------------------------------------------------------------------------- */

/** The mode of OVK_SetDumpEnv that induces a firmware dump. */
#define OVK_DUMP_INDUCE 4

/** The results of OVK_SetDumpEnv that are no board state. */
enum OvkDumpEnvResult {
  OVK_DUMP_NOTHING_DONE = 0, /**< the driver refused, or an adapter of SLI mode 4 needs no state */
  OVK_DUMP_INDUCED = 4
};

/** The results of OVK_GetDriverDumpRegion beside those of all calls. */
enum OvkDumpRegionResult {
  OVK_DUMP_REGION_MISSING = 2,  /**< the adapter has no dump region, as those of SLI-4 */
  OVK_DUMP_REGION_NOT_READ = 3, /**< the driver could not get it from the adapter */
  OVK_DUMP_REGION_UNKNOWN = 4   /**< there is none of this selector */
};

/** The bytes of a dump region's descriptor. */
#define OVK_DUMP_DESCRIPTOR_SIZE 16

/**
 * Prepares an adapter's dump: induces it (mode OVK_DUMP_INDUCE), or moves the board into a
 * diagnostic state as SetBrdEnv does, which adapters of SLI mode 4 do not need.
 *
 * @param board  library board index
 * @param mode   OVK_DUMP_INDUCE; 2 for the state of SetBrdEnv's mode 5; else a mode of SetBrdEnv
 * @return OVK_FAILED when the SLI mode cannot be read; for OVK_DUMP_INDUCE OVK_DUMP_INDUCED, or
 *         OVK_DUMP_NOTHING_DONE on failure; for other modes OVK_DUMP_NOTHING_DONE on SLI mode 4 and
 *         on failure, else the board's new state, 2 for the states 4 and 5
 */
OVK_API uint32_t OVK_SetDumpEnv(uint32_t board, uint32_t mode);

/**
 * Gives the descriptor of an SLI-3 adapter's dump region.
 *
 * @param board     library board index
 * @param selector  which descriptor, the driver's
 * @param dest      room for OVK_DUMP_DESCRIPTOR_SIZE bytes; written on success only
 * @param length    in: the bytes asked for; out: the length that the driver reports, also when the
 *                  command failed
 * @return OVK_OK; OVK_FAILED, also when the SLI mode cannot be read; an OvkDumpRegionResult;
 *         OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_GetDriverDumpRegion(uint32_t board, uint32_t selector, void* dest,
                                         uint32_t* length);

OVK_END_DECLS

#endif
