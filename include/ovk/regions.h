/**
 * @file
 * The adapter's non-volatile configuration regions and what is stored in them: Region 14, Region 22
 * (a table of 16-byte entries), and Region 23 (a list of records: persistent link down, FCoE
 * parameters, FCF connection list). Also the table of FCFs that an FCoE adapter has discovered.
 *
 * Multi-byte members are little-endian. FCoE, FCF (Fibre Channel Forwarder) and FC-MAP are those
 * of FC-BB.
 */
#ifndef OVK_REGIONS_H
#define OVK_REGIONS_H

#include <ovk/types.h>

OVK_BEGIN_DECLS

/** Results that the calls of this header give besides the common ones. */
enum OvkRegionRecordResult {
  OVK_RECORD_NOT_FOUND = 3,  /**< Region 23 holds no usable record of the kind that is to be set */
  OVK_INVALID_REGION = 65534 /**< the region was read, but is not what its number stands for */
};

/* ---- Regions 14, 22 and 23 ------------------------------------------------------------------- */

/** The bytes of Region 14. */
#define OVK_REGION14_SIZE 1000

/** What OVK_GetRegion22 delivers: this many entries. */
#define OVK_REGION22_DELIVERED 32

/** The entries of Region 22 that can be set. */
#define OVK_REGION22_ENTRIES 31

/** An entry of Region 22. Its contents are the adapter's. */
typedef struct Region22Entry {
  uint8_t bytes[16];
} Region22Entry;

OVK_ASSERT_SIZE(Region22Entry, 16);

/**
 * Writes Region 14 as a whole.
 *
 * @param board  library board index
 * @param image  OVK_REGION14_SIZE bytes
 * @return OVK_OK, also when the write was refused or not delivered; OVK_NOT_SUPPORTED for an
 *         adapter type without such a region; OVK_FAILED or the driver's status when the type
 *         cannot be read; else the firmware's mailbox status of the write
 */
OVK_API uint32_t OVK_SetRegion14(uint32_t board, const void* image);

/**
 * Reads the entries of Region 22.
 *
 * @param board    library board index
 * @param entries  receives OVK_REGION22_DELIVERED entries, the second half of the last one zero;
 *                 untouched on failure
 * @param count    receives OVK_REGION22_DELIVERED; untouched on failure
 * @return OVK_OK; OVK_NO_MEMORY; OVK_INVALID_REGION when Region 22 has another length or signature;
 *         OVK_FAILED or the driver's status when the adapter type cannot be read; else the result
 *         of the region's read
 */
OVK_API uint32_t OVK_GetRegion22(uint32_t board, Region22Entry* entries, uint32_t* count);

/**
 * Replaces the first entries of Region 22; those behind them stay. A region that is empty or
 * damaged is first written anew as OVK_InitR22 does.
 *
 * @param board    library board index
 * @param entries  the new entries
 * @param count    their number; of more than OVK_REGION22_ENTRIES the rest is ignored
 * @return OVK_OK; OVK_FAILED when the region cannot be read; OVK_NO_MEMORY; OVK_FAILED or the
 *         driver's status when the adapter type cannot be read; else the result of a write, as of
 *         OVK_InitR22
 */
OVK_API uint32_t OVK_SetRegion22(uint32_t board, const Region22Entry* entries, uint32_t count);

/**
 * Writes a Region 22 without entries.
 *
 * @param board  library board index
 * @return OVK_OK, on an adapter that is written by region commands also when the write was refused
 *         or not delivered; OVK_NO_MEMORY; OVK_FAILED or the driver's status when the adapter type
 *         cannot be read; else the firmware's mailbox status of the write or, on an adapter that is
 *         written by mailboxes, the result of OVK_IssueMboxWithRetryEx
 */
OVK_API uint32_t OVK_InitR22(uint32_t board);

/**
 * Writes the default Region 23: the link may come up, FC-MAP 0E:FC:00, VLAN id 0 marked as valid,
 * no FCF connections.
 *
 * @param board  library board index
 * @return OVK_OK, on an SLI-4 board also when the write was refused or not delivered; OVK_FAILED
 *         when the SLI mode cannot be read; OVK_NO_MEMORY; else the firmware's mailbox status of
 *         the write or, below SLI-4, the result of OVK_IssueMboxWithRetryEx
 */
OVK_API uint32_t OVK_InitR23(uint32_t board);

/* ---- Persistent link down -------------------------------------------------------------------- */

/**
 * Reads whether a board keeps its link down across resets and power cycles.
 *
 * @param board      library board index
 * @param link_down  receives 1 (kept down) or 0; untouched on failure
 * @return OVK_OK; OVK_FAILED when the board cannot be asked or Region 23 has no record of it;
 *         OVK_NOT_SUPPORTED, also when the record has no valid slot; OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_GetPersistLinkDown(uint32_t board, uint16_t* link_down);

/**
 * Sets whether a board keeps its link down across resets and power cycles.
 *
 * @param board      library board index
 * @param link_down  0: the link may come up; any other value: it is kept down
 * @return OVK_OK; OVK_FAILED when the board cannot be asked; OVK_NOT_SUPPORTED, also when the
 *         record has no valid slot; OVK_RECORD_NOT_FOUND; OVK_NO_MEMORY; else the result of the
 *         write, as of OVK_InitR23
 */
OVK_API uint32_t OVK_SetPersistLinkDown(uint32_t board, uint16_t link_down);

/* ---- FCoE parameters ------------------------------------------------------------------------- */

/** The values of FcoeParams.version and of the VLAN id's mask. */
#define OVK_FCOE_PARAMS_VERSION 1
#define OVK_VLAN_ID_MASK 0xFFF

/** How an FCoE board finds its fabric. */
typedef struct FcoeParams {
  uint8_t version; /**< OVK_FCOE_PARAMS_VERSION, as OVK_FCoEGetParams sets it */
  uint8_t reserved1[3];
  uint8_t fc_map[3];  /**< FC-MAP, most significant byte first */
  uint8_t vlan_valid; /**< 1: vlan_id is used */
  uint16_t vlan_id;   /**< the low 12 bits */
} FcoeParams;

OVK_ASSERT_SIZE(FcoeParams, 10);
OVK_ASSERT_OFFSET(FcoeParams, fc_map, 4);
OVK_ASSERT_OFFSET(FcoeParams, vlan_valid, 7);
OVK_ASSERT_OFFSET(FcoeParams, vlan_id, 8);

/**
 * Reads the FCoE parameters from Region 23.
 *
 * @param board   library board index of an SLI-4 board
 * @param params  receives the parameters, all but reserved1; untouched on failure
 * @return OVK_OK; OVK_FAILED when the board or its region cannot be read or holds no such record;
 *         OVK_NOT_SUPPORTED below SLI-4; 7 when the record has another length; OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_FCoEGetParams(uint32_t board, FcoeParams* params);

/**
 * Writes the FCoE parameters to Region 23.
 *
 * @param board   library board index of an SLI-4 board
 * @param params  fc_map; vlan_valid, 1 or not; vlan_id where it is valid
 * @return OVK_OK, also when the write was refused or not delivered; OVK_FAILED when the board or
 *         its region cannot be read; OVK_NOT_SUPPORTED below SLI-4; OVK_RECORD_NOT_FOUND;
 *         OVK_NO_MEMORY; else the firmware's mailbox status
 */
OVK_API uint32_t OVK_FCoESetParams(uint32_t board, const FcoeParams* params);

/* ---- FCF connection list --------------------------------------------------------------------- */

/** The entries that the FCF connection list of a board holds. */
#define OVK_FCF_CONNECT_ENTRIES 16

/** The bits of FcfConnectEntry.flags. */
enum OvkFcfConnectFlag {
  OVK_FCF_CONNECT_IN_USE = 0x01, /**< set in every entry that is read, and by every set */
  OVK_FCF_CONNECT_OPTIONS = 0x3E /**< the adapter's own; a set stores these bits, and no others */
};

/** A preferred FCF. */
typedef struct FcfConnectEntry {
  uint16_t flags;        /**< OvkFcfConnectFlag bits */
  uint16_t vlan_id;      /**< VLAN of the connection */
  Wwn names[2];          /**< which FCF, as the flags tell the adapter */
  uint8_t reserved20[2]; /**< left as the caller had them */
} FcfConnectEntry;

OVK_ASSERT_SIZE(FcfConnectEntry, 22);
OVK_ASSERT_OFFSET(FcfConnectEntry, vlan_id, 2);
OVK_ASSERT_OFFSET(FcfConnectEntry, names, 4);

/** The preferred FCFs of a board. A caller may provide fewer entries, and says so in count. */
typedef struct FcfConnectList {
  uint8_t reserved0[2];
  uint8_t count;    /**< in: the caller's entries; out: those that are in use, be it more */
  uint8_t capacity; /**< receives OVK_FCF_CONNECT_ENTRIES */
  FcfConnectEntry entries[OVK_FCF_CONNECT_ENTRIES];
} FcfConnectList;

OVK_ASSERT_SIZE(FcfConnectList, 356);
OVK_ASSERT_OFFSET(FcfConnectList, count, 2);
OVK_ASSERT_OFFSET(FcfConnectList, capacity, 3);
OVK_ASSERT_OFFSET(FcfConnectList, entries, 4);

/**
 * Reads the FCF connection list from Region 23.
 *
 * @param board  library board index of an SLI-4 board
 * @param list   count gives the room in entries; receives the entries that fit, and their full
 *               number in count
 * @return OVK_OK; OVK_MORE_DATA when there are more entries than room, and also when the record has
 *         another length, which leaves the list as it was; OVK_FAILED when the board or its region
 *         cannot be read or holds no such record; OVK_NOT_SUPPORTED below SLI-4; OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_FCoEGetFCFConnectList(uint32_t board, FcfConnectList* list);

/**
 * Replaces the FCF connection list in Region 23.
 *
 * @param board  library board index of an SLI-4 board
 * @param list   count entries, none of which empties the list; receives the capacity
 * @return OVK_OK, also when the write was refused or not delivered; 7 for more than
 *         OVK_FCF_CONNECT_ENTRIES, and when the record has another length;
 *         OVK_FAILED when the board or its region cannot be read; OVK_NOT_SUPPORTED below SLI-4;
 *         OVK_RECORD_NOT_FOUND; OVK_NO_MEMORY; else the firmware's mailbox status
 */
OVK_API uint32_t OVK_FCoESetFCFConnectList(uint32_t board, FcfConnectList* list);

/* ---- FCF table ------------------------------------------------------------------------------- */

/**
 * An FCF that a board has discovered. Members with a number in their name are copied from that byte
 * of the driver's record, and their meaning is the driver's.
 */
typedef struct FcfListEntry {
  Wwn name20;
  Wwn name548;
  uint32_t word12;
  uint16_t half16;
  uint16_t flag18; /**< 1 or 0 */
  uint8_t block36[512];
  uint16_t half28;
  uint8_t byte30;
  uint8_t reserved539; /**< 0 */
  uint32_t word4;
  uint32_t reserved544; /**< 0 */
  uint32_t word8;
} FcfListEntry;

OVK_ASSERT_SIZE(FcfListEntry, 552);
OVK_ASSERT_OFFSET(FcfListEntry, name548, 8);
OVK_ASSERT_OFFSET(FcfListEntry, word12, 16);
OVK_ASSERT_OFFSET(FcfListEntry, half16, 20);
OVK_ASSERT_OFFSET(FcfListEntry, flag18, 22);
OVK_ASSERT_OFFSET(FcfListEntry, block36, 24);
OVK_ASSERT_OFFSET(FcfListEntry, half28, 536);
OVK_ASSERT_OFFSET(FcfListEntry, byte30, 538);
OVK_ASSERT_OFFSET(FcfListEntry, word4, 540);
OVK_ASSERT_OFFSET(FcfListEntry, word8, 548);

/** The FCFs that a board has discovered. The caller allocates it with as many entries as it wants.
 */
typedef struct FcfList {
  uint8_t reserved0[4];
  uint16_t count;          /**< in: the caller's entries; out: the FCFs found, be it more */
  uint16_t value;          /**< the driver's, from the last reply */
  FcfListEntry entries[1]; /**< the first of them */
} FcfList;

OVK_ASSERT_SIZE(FcfList, 560);
OVK_ASSERT_OFFSET(FcfList, count, 4);
OVK_ASSERT_OFFSET(FcfList, value, 6);
OVK_ASSERT_OFFSET(FcfList, entries, 8);

/**
 * Reads the table of the FCFs that a board has discovered. A command that fails on the way ends the
 * table; what was read until then is delivered.
 *
 * @param board  library board index of an SLI-4 board
 * @param list   count gives the room in entries; receives the entries that fit, and their full
 *               number in count
 * @return OVK_OK; OVK_MORE_DATA when there are more FCFs than room; OVK_FAILED when the SLI mode
 *         cannot be read; OVK_NOT_SUPPORTED below SLI-4
 */
OVK_API uint32_t OVK_FCoEGetFCFList(uint32_t board, FcfList* list);

OVK_END_DECLS

#endif
