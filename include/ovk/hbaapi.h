/**
 * @file
 * Attributes, statistics, events, RNID, target mapping and SCSI commands in the record shapes of
 * the SNIA HBA API (FC-HBA), by library board index instead of an HBA API handle.
 *
 * To walk the ports that a board discovered: RefreshInformation, then GetAdapterPortAttributes for
 * their number, then GetDiscoveredPortAttributes for each index. OVK_STALE_DATA means that the
 * fabric changed: refresh and start over.
 */
#ifndef OVK_HBAAPI_H
#define OVK_HBAAPI_H

#include <ovk/types.h>

OVK_BEGIN_DECLS

/* ---- Refresh and adapter attributes ---------------------------------------------------------- */

/** The tag of each board's last RefreshInformation; 0 when it was never refreshed. */
extern OVK_API uint32_t ovk_refresh_timer[OVK_MAX_BOARDS];

/** Adapter attributes (FC-HBA). Texts are NUL-padded and not terminated when they fill a field. */
typedef struct AdapterAttributes {
  char Manufacturer[64];
  char SerialNumber[64];
  char Model[256];
  char ModelDescription[256];
  Wwn NodeWWN;
  char NodeSymbolicName[256];
  char HardwareVersion[256];
  char DriverVersion[256];
  char OptionROMVersion[256];
  char FirmwareVersion[256];
  uint32_t VendorSpecificID;
  uint32_t NumberOfPorts;
  char DriverName[256];
} AdapterAttributes;

OVK_ASSERT_SIZE(AdapterAttributes, 2192);
OVK_ASSERT_OFFSET(AdapterAttributes, SerialNumber, 64);
OVK_ASSERT_OFFSET(AdapterAttributes, Model, 128);
OVK_ASSERT_OFFSET(AdapterAttributes, ModelDescription, 384);
OVK_ASSERT_OFFSET(AdapterAttributes, NodeWWN, 640);
OVK_ASSERT_OFFSET(AdapterAttributes, NodeSymbolicName, 648);
OVK_ASSERT_OFFSET(AdapterAttributes, HardwareVersion, 904);
OVK_ASSERT_OFFSET(AdapterAttributes, DriverVersion, 1160);
OVK_ASSERT_OFFSET(AdapterAttributes, OptionROMVersion, 1416);
OVK_ASSERT_OFFSET(AdapterAttributes, FirmwareVersion, 1672);
OVK_ASSERT_OFFSET(AdapterAttributes, VendorSpecificID, 1928);
OVK_ASSERT_OFFSET(AdapterAttributes, NumberOfPorts, 1932);
OVK_ASSERT_OFFSET(AdapterAttributes, DriverName, 1936);

/**
 * Makes the driver take a fresh snapshot of what the board sees of the fabric. The snapshot's tag
 * is kept in ovk_refresh_timer, unchanged on failure.
 *
 * @param board  library board index
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t RefreshInformation(uint32_t board);

/**
 * Reads the adapter attributes of a board.
 *
 * @param board  library board index
 * @param attrs  receives the record; after a failed command, which only the log shows, its contents
 *               are undefined
 * @return OVK_OK, always
 */
OVK_API uint32_t GetAdapterAttributes(uint32_t board, AdapterAttributes* attrs);

/* ---- Port attributes ------------------------------------------------------------------------- */

/** Port attributes (FC-HBA). Codes and bit masks are those of FC-HBA, as the driver gives them. */
typedef struct PortAttributes {
  Wwn NodeWWN;
  Wwn PortWWN;
  uint32_t PortFcId; /**< the 24-bit FC address in the low bits */
  uint32_t PortType;
  uint32_t PortState;
  uint32_t PortSupportedClassofService;
  uint8_t PortFc4TypesSupported[32];
  uint8_t PortFc4TypesActive[32];
  char PortSymbolicName[256];
  char OSDeviceName[256]; /**< bytes 116 to 255 are left as the caller had them */
  uint32_t PortSupportedSpeed;
  uint32_t PortSpeed;
  uint32_t PortMaxFrameSize; /**< bytes */
  Wwn FabricName;
  uint32_t NumberofDiscoveredPorts;
} PortAttributes;

OVK_ASSERT_SIZE(PortAttributes, 632);
OVK_ASSERT_OFFSET(PortAttributes, PortWWN, 8);
OVK_ASSERT_OFFSET(PortAttributes, PortFcId, 16);
OVK_ASSERT_OFFSET(PortAttributes, PortType, 20);
OVK_ASSERT_OFFSET(PortAttributes, PortState, 24);
OVK_ASSERT_OFFSET(PortAttributes, PortSupportedClassofService, 28);
OVK_ASSERT_OFFSET(PortAttributes, PortFc4TypesSupported, 32);
OVK_ASSERT_OFFSET(PortAttributes, PortFc4TypesActive, 64);
OVK_ASSERT_OFFSET(PortAttributes, PortSymbolicName, 96);
OVK_ASSERT_OFFSET(PortAttributes, OSDeviceName, 352);
OVK_ASSERT_OFFSET(PortAttributes, PortSupportedSpeed, 608);
OVK_ASSERT_OFFSET(PortAttributes, PortSpeed, 612);
OVK_ASSERT_OFFSET(PortAttributes, PortMaxFrameSize, 616);
OVK_ASSERT_OFFSET(PortAttributes, FabricName, 620);
OVK_ASSERT_OFFSET(PortAttributes, NumberofDiscoveredPorts, 628);

/**
 * Reads the attributes of a board's own port.
 *
 * @param board       library board index
 * @param port_index  ignored: a board has one port
 * @param attrs       receives the record; untouched on failure
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t GetAdapterPortAttributes(uint32_t board, uint32_t port_index,
                                          PortAttributes* attrs);

/**
 * Reads the attributes of a port that the board discovered, from its last snapshot.
 *
 * @param board             library board index
 * @param port_index        ignored: a board has one port
 * @param discovered_index  0 to NumberofDiscoveredPorts - 1
 * @param attrs             receives the record; untouched on failure
 * @return OVK_OK; OVK_FAILED; OVK_ILLEGAL_INDEX; OVK_STALE_DATA
 */
OVK_API uint32_t GetDiscoveredPortAttributes(uint32_t board, uint32_t port_index,
                                             uint32_t discovered_index, PortAttributes* attrs);

/**
 * Reads the attributes of the port with a given name.
 *
 * @param board     library board index
 * @param port_wwn  port WWN
 * @param attrs     receives the record; untouched on failure
 * @return OVK_OK; OVK_FAILED; OVK_ILLEGAL_WWN
 */
OVK_API uint32_t GetPortAttributesByWWN(uint32_t board, const Wwn* port_wwn, PortAttributes* attrs);

/**
 * Reads the attributes of a port by its index in the driver's list.
 *
 * @param board       library board index
 * @param port_index  ignored: a board has one port
 * @param index       place in the driver's list
 * @param attrs       receives the record; untouched on failure
 * @return OVK_OK; OVK_FAILED; OVK_ILLEGAL_INDEX; OVK_STALE_DATA
 */
OVK_API uint32_t GetPortAttributesByIndex(uint32_t board, uint32_t port_index, uint32_t index,
                                          PortAttributes* attrs);

/* ---- Port statistics ------------------------------------------------------------------------- */

/** Port statistics (FC-HBA): fifteen counters. -1 means that the driver does not count this. */
typedef struct PortStatistics {
  int64_t SecondsSinceLastReset;
  int64_t TxFrames;
  int64_t TxWords;
  int64_t RxFrames;
  int64_t RxWords;
  int64_t LIPCount;
  int64_t NOSCount;
  int64_t ErrorFrames;
  int64_t DumpedFrames;
  int64_t LinkFailureCount;
  int64_t LossOfSyncCount;
  int64_t LossOfSignalCount;
  int64_t PrimitiveSeqProtocolErrCount;
  int64_t InvalidTxWordCount;
  int64_t InvalidCRCCount;
} PortStatistics;

OVK_ASSERT_SIZE(PortStatistics, 120);
OVK_ASSERT_OFFSET(PortStatistics, TxFrames, 8);
OVK_ASSERT_OFFSET(PortStatistics, TxWords, 16);
OVK_ASSERT_OFFSET(PortStatistics, RxFrames, 24);
OVK_ASSERT_OFFSET(PortStatistics, RxWords, 32);
OVK_ASSERT_OFFSET(PortStatistics, LIPCount, 40);
OVK_ASSERT_OFFSET(PortStatistics, NOSCount, 48);
OVK_ASSERT_OFFSET(PortStatistics, ErrorFrames, 56);
OVK_ASSERT_OFFSET(PortStatistics, DumpedFrames, 64);
OVK_ASSERT_OFFSET(PortStatistics, LinkFailureCount, 72);
OVK_ASSERT_OFFSET(PortStatistics, LossOfSyncCount, 80);
OVK_ASSERT_OFFSET(PortStatistics, LossOfSignalCount, 88);
OVK_ASSERT_OFFSET(PortStatistics, PrimitiveSeqProtocolErrCount, 96);
OVK_ASSERT_OFFSET(PortStatistics, InvalidTxWordCount, 104);
OVK_ASSERT_OFFSET(PortStatistics, InvalidCRCCount, 112);

/** What the counters of each board read at its last reset; all 0 after an initialisation. */
extern OVK_API PortStatistics ovk_rststatistics[OVK_MAX_BOARDS];

/** The port index with which GetPortStatistics reads the driver's counters themselves. */
#define OVK_STATISTICS_SNAPSHOT 0xFFFFFFFFU

/**
 * Reads the statistics of a board's port since the last ResetStatistics.
 *
 * Each counter is what the driver reads less what it read at the reset, modulo 2^64: a counter of
 * a driver that was reloaded in between can be negative.
 *
 * @param board       library board index
 * @param port_index  OVK_STATISTICS_SNAPSHOT: the counters as the driver reads them, but LIPCount,
 *                    NOSCount and DumpedFrames are 0 where it does not count them; any other value
 *                    is ignored: a board has one port
 * @param stats       receives the record; untouched on failure
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t GetPortStatistics(uint32_t board, uint32_t port_index, PortStatistics* stats);

/**
 * Restarts the statistics of a board's port from 0. The driver's own counters go on; what
 * they read now is kept in ovk_rststatistics, unchanged on failure. After it, LIPCount, NOSCount
 * and DumpedFrames still read -1 where the driver does not count them, other counters 0.
 *
 * @param board  library board index
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t ResetStatistics(uint32_t board);

/* ---- Request node identification data (RNID) ------------------------------------------------- */

/** What a board answers when it is asked for its node identification data (FC-HBA). */
typedef struct RnidMgmtInfo {
  Wwn wwn;
  uint32_t unittype;
  uint32_t PortId;
  uint32_t NumberOfAttachedNodes;
  uint16_t IPVersion;
  uint16_t UDPPort;
  uint8_t IPAddress[16];
  uint16_t reserved; /**< not sent, and left as the caller had it */
  uint16_t TopologyDiscoveryFlags;
} RnidMgmtInfo;

OVK_ASSERT_SIZE(RnidMgmtInfo, 44);
OVK_ASSERT_OFFSET(RnidMgmtInfo, unittype, 8);
OVK_ASSERT_OFFSET(RnidMgmtInfo, PortId, 12);
OVK_ASSERT_OFFSET(RnidMgmtInfo, NumberOfAttachedNodes, 16);
OVK_ASSERT_OFFSET(RnidMgmtInfo, IPVersion, 20);
OVK_ASSERT_OFFSET(RnidMgmtInfo, UDPPort, 22);
OVK_ASSERT_OFFSET(RnidMgmtInfo, IPAddress, 24);
OVK_ASSERT_OFFSET(RnidMgmtInfo, TopologyDiscoveryFlags, 42);

/** Which name of a port is given. */
enum OvkWwnType { OVK_NODE_WWN = 0, OVK_PORT_WWN = 1 };

/** The most bytes of an RNID reply. */
#define OVK_RNID_REPLY_SIZE 64

/**
 * Asks a remote port for its node identification data (RNID ELS, FC-LS).
 *
 * @param board      library board index
 * @param wwn        the name of the remote node or port
 * @param wwn_type   an OvkWwnType; with another value no name is sent
 * @param reply      receives the payload of the reply. With room for OVK_RNID_REPLY_SIZE bytes or
 *                   more the driver writes here itself
 * @param reply_len  on entry the bytes that reply has room for; on return the length of the reply
 *                   in bytes, also with OVK_MORE_DATA; unchanged on failure
 * @return OVK_OK; OVK_FAILED; OVK_MORE_DATA, the reply is longer than the room; OVK_NO_MEMORY
 */
OVK_API uint32_t SendRNID(uint32_t board, const Wwn* wwn, uint32_t wwn_type, void* reply,
                          uint32_t* reply_len);

/**
 * Sets what a board answers when it is asked for its node identification data.
 *
 * @param board  library board index
 * @param info   the record; its reserved field is not sent
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t SetRNIDMgmtInfo(uint32_t board, const RnidMgmtInfo* info);

/**
 * Reads what a board answers when it is asked for its node identification data.
 *
 * @param board  library board index
 * @param info   receives the record but for its reserved field; untouched on failure
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t GetRNIDMgmtInfo(uint32_t board, RnidMgmtInfo* info);

/* ---- Events ---------------------------------------------------------------------------------- */

/** Codes of events (FC-HBA); the driver may have others, of ports and targets for instance. */
enum OvkEventCode {
  OVK_EVENT_LIP = 1,       /**< a loop was initialised */
  OVK_EVENT_LINK_UP = 2,   /**< the link came up */
  OVK_EVENT_LINK_DOWN = 3, /**< the link went down */
  OVK_EVENT_LIP_RESET = 4, /**< a loop was reset */
  OVK_EVENT_RSCN = 5,      /**< the fabric reported a change of state */
  OVK_EVENT_PROPRIETARY = 0xFFFF
};

/** An event of a board (FC-HBA). */
typedef struct EventInfo {
  uint32_t EventCode; /**< OvkEventCode names some */
  /** By the code; of link, port, target and RSCN events [0] is the port's FC address. */
  uint32_t EventData[4];
} EventInfo;

OVK_ASSERT_SIZE(EventInfo, 20);
OVK_ASSERT_OFFSET(EventInfo, EventData, 4);

/** The most events that the driver gives at a time. */
#define OVK_MAX_EVENTS 32

/** The events that were lost because the driver's queue was full, as the last successful
    GetEventBuffer, of whichever board, was told. */
extern OVK_API uint32_t EventMissedCount;

/**
 * Takes events out of the driver's queue of a board.
 *
 * @param board   library board index
 * @param events  receives the events. With room for OVK_MAX_EVENTS or more the driver writes here
 *                itself
 * @param count   on entry the records that events has room for; on return the number that the
 *                driver gave; unchanged on failure. The driver alone keeps to the room.
 * @return OVK_OK; OVK_FAILED; OVK_NO_MEMORY
 */
OVK_API uint32_t GetEventBuffer(uint32_t board, EventInfo* events, uint32_t* count);

/* ---- Target mapping and bindings ------------------------------------------------------------- */

/** The most entries of a target mapping that the driver gives. */
#define OVK_MAX_TARGET_MAPPINGS 1024

/** The most bindings that the driver gives. */
#define OVK_MAX_BINDINGS 4096

/** A logical unit as the host knows it, and as the fabric does (FC-HBA FCP SCSI entry). */
typedef struct FcpScsiEntry {
  char OSDeviceName[256];
  uint32_t ScsiBusNumber;
  uint32_t ScsiTargetNumber;
  uint32_t ScsiOSLun;
  uint32_t FcId; /**< FC address of the target port */
  Wwn NodeWWN;
  Wwn PortWWN;
  uint64_t FcpLun; /**< the 8 bytes of FCP_LUN as they stand in memory */
} FcpScsiEntry;

OVK_ASSERT_SIZE(FcpScsiEntry, 296);
OVK_ASSERT_OFFSET(FcpScsiEntry, ScsiBusNumber, 256);
OVK_ASSERT_OFFSET(FcpScsiEntry, ScsiTargetNumber, 260);
OVK_ASSERT_OFFSET(FcpScsiEntry, ScsiOSLun, 264);
OVK_ASSERT_OFFSET(FcpScsiEntry, FcId, 268);
OVK_ASSERT_OFFSET(FcpScsiEntry, NodeWWN, 272);
OVK_ASSERT_OFFSET(FcpScsiEntry, PortWWN, 280);
OVK_ASSERT_OFFSET(FcpScsiEntry, FcpLun, 288);

/** A target mapping (FC-HBA): a count, and as many entries. */
typedef struct FcpTargetMapping {
  uint32_t NumberOfEntries; /**< in: entries that the caller has room for; out: entries */
  FcpScsiEntry entry[1];    /**< the first one */
} FcpTargetMapping;

OVK_ASSERT_OFFSET(FcpTargetMapping, entry, 4);

/** A logical unit with what identifies it. */
typedef struct FcpScsiEntryV2 {
  FcpScsiEntry entry;
  /** One designation descriptor (SPC), header included, or left as the caller had it. */
  uint8_t identifier[256];
} FcpScsiEntryV2;

OVK_ASSERT_SIZE(FcpScsiEntryV2, 552);
OVK_ASSERT_OFFSET(FcpScsiEntryV2, identifier, 296);

/** A target mapping with identifiers: a count, and as many entries. */
typedef struct FcpTargetMappingV2 {
  uint32_t NumberOfEntries; /**< in: entries that the caller has room for; out: entries */
  FcpScsiEntryV2 entry[1];  /**< the first one */
} FcpTargetMappingV2;

OVK_ASSERT_OFFSET(FcpTargetMappingV2, entry, 4);

/** A persistent binding. Its layout is the driver's. */
typedef struct FcpBinding {
  uint8_t bytes[32];
} FcpBinding;

OVK_ASSERT_SIZE(FcpBinding, 32);

/** The driver's bindings: a count, and as many entries. */
typedef struct FcpBindList {
  uint32_t count;      /**< in: entries that the caller has room for; out: entries */
  FcpBinding entry[1]; /**< the first one */
} FcpBindList;

OVK_ASSERT_OFFSET(FcpBindList, entry, 4);

/** The head of a persistent binding record (FC-HBA). */
typedef struct FcpPersistentBinding {
  uint32_t NumberOfEntries;
} FcpPersistentBinding;

OVK_ASSERT_SIZE(FcpPersistentBinding, 4);

/**
 * Reads which logical units the host sees behind a board.
 *
 * @param board  library board index
 * @param map    receives the entries, OVK_MAX_TARGET_MAPPINGS at most; NumberOfEntries is in and
 *               out, and is set to the driver's count whatever the result
 * @return OVK_OK; OVK_MORE_DATA when NumberOfEntries was too small, and when the driver has more
 *         than OVK_MAX_TARGET_MAPPINGS, the most room that it is told of; no entry is written then;
 *         OVK_FAILED, also without memory
 */
OVK_API uint32_t GetFcpTargetMapping(uint32_t board, FcpTargetMapping* map);

/**
 * Reads the same with an identifier of each logical unit: its first designation descriptor, where
 * that names the logical unit itself by a vendor-specific, T10, EUI-64 or NAA designator of 127
 * bytes at most.
 *
 * @param board     library board index
 * @param port_wwn  the board's own port WWN
 * @param map       receives the entries, OVK_MAX_TARGET_MAPPINGS at most; NumberOfEntries is in and
 *                  out, on return the driver's count, and untouched when the result is neither
 *                  OVK_OK nor OVK_MORE_DATA
 * @return OVK_OK, whether the logical units gave identifiers or not; OVK_ILLEGAL_WWN for another
 *         port; OVK_MORE_DATA as GetFcpTargetMapping; OVK_FAILED, also without memory
 */
OVK_API uint32_t OVK_GetFcpTargetMappingV2(uint32_t board, const Wwn* port_wwn,
                                           FcpTargetMappingV2* map);

/**
 * Not offered.
 *
 * @param board     ignored
 * @param port_wwn  ignored
 * @param map       ignored
 * @return OVK_NOT_SUPPORTED
 */
OVK_API uint32_t OVK_GetFcpTargetMappingByWWN(uint32_t board, const Wwn* port_wwn,
                                              FcpTargetMapping* map);

/**
 * Reads the driver's persistent bindings. With room for OVK_MAX_BINDINGS entries or more the driver
 * writes into the list itself; with less, as many entries are copied as the driver's count says,
 * OVK_MAX_BINDINGS at most. The driver alone keeps to the caller's room.
 *
 * @param board  library board index
 * @param list   receives the bindings; count is in and out, on OVK_FAILED it is the count that the
 *               driver needs unless the command was not delivered
 * @return OVK_OK; OVK_FAILED; OVK_NO_MEMORY
 */
OVK_API uint32_t GetFcpBindList(uint32_t board, FcpBindList* list);

/**
 * Reports that there are no persistent bindings of the FC-HBA kind. The driver is not asked.
 *
 * @param board    ignored
 * @param binding  NumberOfEntries becomes 0
 * @return OVK_OK
 */
OVK_API uint32_t GetFcpPersistentBinding(uint32_t board, FcpPersistentBinding* binding);

/**
 * Not offered.
 *
 * @param board    ignored
 * @param binding  ignored
 * @return OVK_NOT_SUPPORTED
 */
OVK_API uint32_t AddBind(uint32_t board, const FcpBinding* binding);

/**
 * Not offered.
 *
 * @param board    ignored
 * @param binding  ignored
 * @return OVK_NOT_SUPPORTED
 */
OVK_API uint32_t DelBind(uint32_t board, const FcpBinding* binding);

/* ---- SCSI and CT conveniences ---------------------------------------------------------------- */

/**
 * Sends a CT_IU (FC-GS) to the server that its GS_TYPE names: the management service (0xFA), the
 * time service (0xFB), the fabric controller (0xFD), and for all others the directory service.
 *
 * @param board            library board index
 * @param request          the request CT_IU, 5 bytes at least
 * @param request_length   bytes of it
 * @param response         receives the response CT_IU
 * @param response_length  in: bytes that response holds; out: bytes of the response, untouched on
 *                         failure
 * @return OVK_OK; OVK_FAILED, also for an empty response
 */
OVK_API uint32_t SendCTPassThru(uint32_t board, const uint8_t* request, uint32_t request_length,
                                void* response, uint32_t* response_length);

/**
 * Asks a target for its logical units with REPORT LUNS (SPC), at LUN 0.
 *
 * @param board            library board index
 * @param target_wwn       port WWN of the target
 * @param response         receives the parameter data. What it holds before is sent to the driver.
 * @param response_length  in: bytes that response holds; out: as data_length of SendScsiCmdByWWN
 * @param sense            receives the sense data; must hold OVK_SENSE_MAX_LENGTH bytes
 * @param sense_length     out only: bytes of sense data
 * @return as SendScsiCmdByWWN
 */
OVK_API uint32_t SendReportLUNs(uint32_t board, const Wwn* target_wwn, void* response,
                                uint32_t* response_length, void* sense, uint32_t* sense_length);

/**
 * SendReportLUNs with the name of the local port, which is ignored.
 *
 * @param board            library board index
 * @param hba_port_wwn     ignored
 * @param target_wwn       port WWN of the target
 * @param response         as for SendReportLUNs
 * @param response_length  in and out, as for SendReportLUNs
 * @param sense            as for SendReportLUNs
 * @param sense_length     out only, as for SendReportLUNs
 * @return as SendScsiCmdByWWN
 */
OVK_API uint32_t OVK_SendReportLUNsByWWN(uint32_t board, const Wwn* hba_port_wwn,
                                         const Wwn* target_wwn, void* response,
                                         uint32_t* response_length, void* sense,
                                         uint32_t* sense_length);

/**
 * Asks a logical unit for its size with READ CAPACITY(10) (SBC).
 *
 * @param board            library board index
 * @param target_wwn       port WWN of the target
 * @param lun_word0        bytes 0 to 3 of FCP_LUN, as they stand in memory
 * @param lun_word1        bytes 4 to 7 of FCP_LUN, as they stand in memory
 * @param response         receives the parameter data, 8 bytes. What it holds before is sent to the
 *                         driver.
 * @param response_length  in and out, as for SendReportLUNs
 * @param sense            as for SendReportLUNs
 * @param sense_length     out only, as for SendReportLUNs
 * @return as SendScsiCmdByWWN
 */
OVK_API uint32_t SendReadCapacity(uint32_t board, const Wwn* target_wwn, uint32_t lun_word0,
                                  uint32_t lun_word1, void* response, uint32_t* response_length,
                                  void* sense, uint32_t* sense_length);

/**
 * SendReadCapacity with the name of the local port, which is ignored, and a LUN of one word only.
 *
 * @param board            library board index
 * @param hba_port_wwn     ignored
 * @param target_wwn       port WWN of the target
 * @param lun_word0        bytes 0 to 3 of FCP_LUN, as they stand in memory; the others are 0
 * @param response         receives the parameter data, 8 bytes. What it holds before is sent to the
 *                         driver.
 * @param response_length  in and out, as for SendReportLUNs
 * @param sense            as for SendReportLUNs
 * @param sense_length     out only, as for SendReportLUNs
 * @return as SendScsiCmdByWWN
 */
OVK_API uint32_t OVK_SendReadCapacityByWWN(uint32_t board, const Wwn* hba_port_wwn,
                                           const Wwn* target_wwn, uint32_t lun_word0,
                                           void* response, uint32_t* response_length, void* sense,
                                           uint32_t* sense_length);

/**
 * Asks a logical unit what it is with INQUIRY (SPC).
 *
 * @param board            library board index
 * @param target_wwn       port WWN of the target
 * @param lun_word0        bytes 0 to 3 of FCP_LUN, as they stand in memory
 * @param lun_word1        bytes 4 to 7 of FCP_LUN, as they stand in memory
 * @param evpd             0 for the standard data, 1 for a page of vital product data
 * @param page_code        the page; not sent with evpd 0
 * @param response         receives the data. What it holds before is sent to the driver.
 * @param response_length  in and out, as for SendReportLUNs; the CDB carries its low 8 bits only,
 *                         so 255 is the most that it can ask for
 * @param sense            as for SendReportLUNs
 * @param sense_length     out only, as for SendReportLUNs
 * @return as SendScsiCmdByWWN
 */
OVK_API uint32_t SendScsiInquiry(uint32_t board, const Wwn* target_wwn, uint32_t lun_word0,
                                 uint32_t lun_word1, uint8_t evpd, uint8_t page_code,
                                 void* response, uint32_t* response_length, void* sense,
                                 uint32_t* sense_length);

/**
 * SendScsiInquiry with the name of the local port, which is ignored.
 *
 * @param board            library board index
 * @param hba_port_wwn     ignored
 * @param target_wwn       port WWN of the target
 * @param lun_word0        bytes 0 to 3 of FCP_LUN, as they stand in memory
 * @param lun_word1        bytes 4 to 7 of FCP_LUN, as they stand in memory
 * @param evpd             as for SendScsiInquiry
 * @param page_code        as for SendScsiInquiry
 * @param response         receives the data. What it holds before is sent to the driver.
 * @param response_length  in and out, as for SendScsiInquiry
 * @param sense            as for SendReportLUNs
 * @param sense_length     out only, as for SendReportLUNs
 * @return as SendScsiCmdByWWN
 */
OVK_API uint32_t OVK_SendScsiInquiryByWWN(uint32_t board, const Wwn* hba_port_wwn,
                                          const Wwn* target_wwn, uint32_t lun_word0,
                                          uint32_t lun_word1, uint8_t evpd, uint8_t page_code,
                                          void* response, uint32_t* response_length, void* sense,
                                          uint32_t* sense_length);

OVK_END_DECLS

#endif
