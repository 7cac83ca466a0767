/**
 * @file
 * What the driver knows of a board's port and configuration: link, I/O and node records, vital
 * product data, the logical link speed, the driver's parameters, the trunk and the PCI location;
 * and raw access to PCI configuration space, adapter memory and control registers.
 *
 * The records are the driver's. The library moves them without interpreting them, so that members
 * which it gives no meaning are named after their place.
 */
#ifndef OVK_INFO_H
#define OVK_INFO_H

#include <ovk/types.h>

OVK_BEGIN_DECLS

/* ---- Link, I/O and nodes --------------------------------------------------------------------- */

/** The link of a board's port. */
typedef struct LinkInfo {
  uint32_t words0[5];
  uint8_t bytes20[4];
  uint8_t bytes24[128];
  uint32_t words152[4];
} LinkInfo;

OVK_ASSERT_SIZE(LinkInfo, 168);
OVK_ASSERT_OFFSET(LinkInfo, bytes20, 20);
OVK_ASSERT_OFFSET(LinkInfo, bytes24, 24);
OVK_ASSERT_OFFSET(LinkInfo, words152, 152);

/**
 * Reads the link record of a board's port.
 *
 * @param board   library board index
 * @param record  receives the record, at any alignment; untouched on failure
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t OVK_GetLinkInfo(int board, LinkInfo* record);

/**
 * The older name of OVK_GetLinkInfo, which does the same.
 *
 * @param board   library board index
 * @param record  receives the record, at any alignment; untouched on failure
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t GetLinkInfo(int board, LinkInfo* record);

/** The I/O counters of a board's port. */
typedef struct IoInfo {
  uint32_t words0[24];
} IoInfo;

OVK_ASSERT_SIZE(IoInfo, 96);

/**
 * Reads the I/O counters of a board's port.
 *
 * @param board   library board index
 * @param record  receives the counters; untouched on failure
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t GetIOinfo(int board, IoInfo* record);

/** The most nodes that GetNodeInfo delivers. */
#define OVK_MAX_NODE_INFO_ENTRIES 512

/** A remote node that a board's port is logged in with. */
typedef struct NodeInfoEntry {
  uint16_t half0;
  uint16_t half2;
  uint32_t words4[6];
} NodeInfoEntry;

OVK_ASSERT_SIZE(NodeInfoEntry, 28);
OVK_ASSERT_OFFSET(NodeInfoEntry, half2, 2);
OVK_ASSERT_OFFSET(NodeInfoEntry, words4, 4);

/**
 * Lists the remote nodes that a board's port is logged in with.
 *
 * @param board    library board index
 * @param entries  room for OVK_MAX_NODE_INFO_ENTRIES entries, which are all zeroed first
 * @return the number of entries delivered; 0 also on failure
 */
OVK_API uint32_t GetNodeInfo(int board, NodeInfoEntry* entries);

/* ---- Vital product data and logical link speed ------------------------------------------------
 */

/** The adapter's vital product data (PCI) as the driver hands it out. */
typedef struct VpdInfo {
  uint32_t word0; /**< what the caller puts here is sent to the driver */
  uint8_t bytes4[256];
  uint8_t bytes260[80];
  uint8_t bytes340[256];
  uint32_t words596[5];
} VpdInfo;

OVK_ASSERT_SIZE(VpdInfo, 616);
OVK_ASSERT_OFFSET(VpdInfo, bytes4, 4);
OVK_ASSERT_OFFSET(VpdInfo, bytes260, 260);
OVK_ASSERT_OFFSET(VpdInfo, bytes340, 340);
OVK_ASSERT_OFFSET(VpdInfo, words596, 596);

/** The results of GetVPDInfo. */
enum OvkVpdResult {
  OVK_VPD_ABSENT = 1, /**< the adapter has no vital product data */
  OVK_VPD_FAILED = 3  /**< any other failure */
};

/**
 * Reads the adapter's vital product data.
 *
 * @param board   library board index
 * @param record  word0 goes to the driver; receives the record; untouched on failure
 * @return OVK_OK; an OvkVpdResult
 */
OVK_API int32_t GetVPDInfo(uint32_t board, VpdInfo* record);

/** The logical link speed of a port for which the driver gives none. */
#define OVK_NO_LOGICAL_SPEED 0xFFFF

/**
 * Reads the logical link speed of an SLI-4 board's port.
 *
 * @param board  library board index
 * @param speed  receives a tenth of the low half of the driver's value, rounded down;
 *               OVK_NO_LOGICAL_SPEED when the driver's value is 0; untouched on failure
 * @return OVK_OK; OVK_FAILED; OVK_NOT_SUPPORTED below SLI-4
 */
OVK_API uint32_t OVK_GetQoSLinkSpeed(uint32_t board, uint16_t* speed);

/* ---- Driver parameters ------------------------------------------------------------------------
 */

/** The most parameters that a driver has. */
#define OVK_MAX_CFG_PARAMS 80

/** One configuration parameter of the driver. */
typedef struct CfgParam {
  uint8_t bytes0[132];
} CfgParam;

OVK_ASSERT_SIZE(CfgParam, 132);

/**
 * Reads the table of the driver's configuration parameters for a board.
 *
 * @param board  library board index
 * @param table  room for OVK_MAX_CFG_PARAMS entries, which are all zeroed first
 * @return the number of whole entries that the driver reports, which is not checked against the
 *         room; 0 also on failure
 */
OVK_API uint32_t GetCfgParam(uint32_t board, CfgParam* table);

/**
 * Sets one configuration parameter of the driver for a board.
 *
 * @param board  library board index
 * @param index  the driver's number of the parameter
 * @param value  its new value
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t SetCfgParam(uint32_t board, uint32_t index, uint32_t value);

/* ---- PCI configuration, adapter memory, control registers ------------------------------------ */

/** The most bytes that one transfer moves. */
#define OVK_MAX_RAW_TRANSFER 4096

/** Results of raw access, beside the common ones. */
enum OvkRawAccessResult {
  OVK_NO_MEMORY_ACCESS = 4,  /**< an SLI-4 adapter has no memory that can be read or written */
  OVK_RAW_ACCESS_FAILED = 22 /**< the command was not delivered or the driver refused it */
};

/**
 * Reads PCI configuration space. Data comes in the byte order in which the driver delivers it.
 *
 * @param board   library board index
 * @param buffer  receives count bytes; untouched on failure
 * @param offset  byte offset, a multiple of 4 up to OVK_MAX_RAW_TRANSFER
 * @param count   bytes, a multiple of 4 up to OVK_MAX_RAW_TRANSFER; the end of the range is the
 *                driver's to check
 * @return OVK_OK; OVK_FAILED, also for a bad offset or count; OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_ReadPciCfg(uint32_t board, void* buffer, uint32_t offset, uint32_t count);

/**
 * The older name of OVK_ReadPciCfg, which does the same.
 *
 * @param board   library board index
 * @param buffer  receives count bytes; untouched on failure
 * @param offset  byte offset, a multiple of 4 up to OVK_MAX_RAW_TRANSFER
 * @param count   bytes, a multiple of 4 up to OVK_MAX_RAW_TRANSFER
 * @return OVK_OK; OVK_FAILED, also for a bad offset or count; OVK_NO_MEMORY
 */
OVK_API uint32_t ReadPciCfg(uint32_t board, void* buffer, uint32_t offset, uint32_t count);

/**
 * Writes PCI configuration space.
 *
 * @param board   library board index
 * @param buffer  count bytes, in the byte order in which the driver takes them
 * @param offset  byte offset, a multiple of 4 up to OVK_MAX_RAW_TRANSFER
 * @param count   bytes; sent as it is, but no more than OVK_MAX_RAW_TRANSFER bytes of data go along
 * @return OVK_OK; OVK_FAILED for a bad offset; OVK_NO_MEMORY; OVK_RAW_ACCESS_FAILED
 */
OVK_API uint32_t WritePciCfg(uint32_t board, const void* buffer, uint32_t offset, uint32_t count);

/**
 * Reads the memory of an adapter below SLI-4.
 *
 * @param board   library board index
 * @param buffer  receives count bytes, but no more than OVK_MAX_RAW_TRANSFER; untouched on failure
 * @param offset  byte offset
 * @param count   bytes
 * @return OVK_OK; OVK_FAILED when the SLI mode cannot be read; OVK_NO_MEMORY_ACCESS on SLI-4;
 *         OVK_NO_MEMORY; OVK_RAW_ACCESS_FAILED
 */
OVK_API uint32_t ReadMem(uint32_t board, void* buffer, uint32_t offset, uint32_t count);

/**
 * Writes the memory of an adapter below SLI-4.
 *
 * @param board   library board index
 * @param buffer  count bytes
 * @param offset  byte offset
 * @param count   bytes; sent as it is, but no more than OVK_MAX_RAW_TRANSFER bytes of data go along
 * @return OVK_OK; OVK_FAILED when the SLI mode cannot be read; OVK_NO_MEMORY_ACCESS on SLI-4;
 *         OVK_NO_MEMORY; OVK_RAW_ACCESS_FAILED
 */
OVK_API uint32_t WriteMem(uint32_t board, const void* buffer, uint32_t offset, uint32_t count);

/**
 * Reads one control register of an adapter below SLI-4.
 *
 * @param board            library board index
 * @param value            receives the register; untouched on failure
 * @param register_offset  byte offset of the register
 * @return OVK_OK; OVK_FAILED when the SLI mode cannot be read; OVK_NOT_SUPPORTED on SLI-4;
 *         OVK_RAW_ACCESS_FAILED
 */
OVK_API uint32_t ReadCtlReg(uint32_t board, uint32_t* value, uint32_t register_offset);

/**
 * Writes one control register of an adapter below SLI-4.
 *
 * @param board            library board index
 * @param value            the register's new value
 * @param register_offset  byte offset of the register
 * @return OVK_OK; OVK_FAILED when the SLI mode cannot be read; OVK_NOT_SUPPORTED on SLI-4;
 *         OVK_RAW_ACCESS_FAILED
 */
OVK_API uint32_t WriteCtlReg(uint32_t board, const uint32_t* value, uint32_t register_offset);

/* ---- Trunk and PCI location --------------------------------------------------------------------
 */

/** The trunk of a board's port. */
typedef struct TrunkInfo {
  uint32_t words0[3];
} TrunkInfo;

OVK_ASSERT_SIZE(TrunkInfo, 12);

/** Results of OVK_GetTrunkInfo, beside the common ones. */
enum OvkTrunkResult {
  OVK_TRUNK_REFUSED = 3,  /**< the host's channel refused the command as invalid */
  OVK_TRUNK_NO_RECORD = 7 /**< the caller gave no record */
};

/**
 * Reads the trunk of a board's port.
 *
 * @param board  library board index
 * @param info   receives the record; untouched on failure; checked for null
 * @return OVK_OK; OVK_FAILED; OVK_NOT_SUPPORTED; an OvkTrunkResult
 */
OVK_API uint32_t OVK_GetTrunkInfo(uint32_t board, TrunkInfo* info);

/** Where an adapter is on the PCI bus: segment, bus, device and function, as the driver packs them.
 */
typedef struct PciIds {
  uint32_t words0[6];
} PciIds;

OVK_ASSERT_SIZE(PciIds, 24);

/**
 * Reads the PCI location of a board.
 *
 * @param board  library board index
 * @param ids    receives the record; untouched on failure
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t OVK_GetPCIIds(uint32_t board, PciIds* ids);

OVK_END_DECLS

#endif
