/**
 * @file
 * Pass-through into the fabric: CT and management commands, ELS, and FCP and SCSI commands.
 *
 * The library copies every request into a buffer of its own before it sends it, and copies every
 * reply back from one. It does not look inside the payloads.
 */
#ifndef OVK_FABRIC_H
#define OVK_FABRIC_H

#include <ovk/types.h>

OVK_BEGIN_DECLS

/* ---- Common Transport (FC-GS) and management commands ---------------------------------------- */

/** The most bytes that a CT or management request or response has. */
#define OVK_CT_MAX_LENGTH 245760

/** What GetCTInfo returns instead of a number of bytes. */
enum OvkCtResult {
  OVK_CT_NOT_READY = -1,    /**< the port cannot send now */
  OVK_CT_NO_RESOURCES = -2, /**< no memory, or the transport failed */
  OVK_CT_TOO_LONG = -3,     /**< the request is too long, or the response does not fit */
  OVK_CT_FAILED = -4        /**< not a well-known address, or any other failure */
};

/** What SendMgmtCommand and SendMgmtResponse return instead of OVK_OK. */
enum OvkMgmtResult {
  OVK_MGMT_RESPONSE_REFUSED = 250, /**< the driver does not permit this response */
  OVK_MGMT_FAILED = 252,           /**< the transport failed, or any other failure */
  OVK_MGMT_NOT_READY = 253,        /**< the port cannot send now */
  OVK_MGMT_COMMAND_REFUSED = 254,  /**< the driver does not permit this command */
  OVK_MGMT_DOES_NOT_FIT = 255      /**< a payload does not fit into its buffer */
};

/**
 * Sends a CT_IU (FC-GS) to a well-known address and waits for the response CT_IU.
 *
 * @param board            library board index
 * @param destination_id   FC address of the form 0xFFFFxx in the low 24 bits
 * @param request          the request CT_IU
 * @param request_length   bytes of it, OVK_CT_MAX_LENGTH at most
 * @param response         receives the response CT_IU
 * @param response_length  bytes that response holds; the driver is told this room, and the library
 *                         copies as many bytes as the driver reports, OVK_CT_MAX_LENGTH at most
 * @return the bytes of the response; 0 also when the driver does not permit the request; else an
 *         OvkCtResult. A rejected request is a success, its response says FS_RJT.
 */
OVK_API int32_t GetCTInfo(uint32_t board, uint32_t destination_id, const void* request,
                          uint32_t request_length, void* response, uint32_t response_length);

/**
 * Sends a management command to a port and waits for its response. Nothing bounds the response but
 * the driver: response should hold OVK_CT_MAX_LENGTH bytes.
 *
 * @param board                library board index
 * @param port_name            port WWN of the destination
 * @param request              the request
 * @param request_length       bytes of it, OVK_CT_MAX_LENGTH at most; not checked
 * @param response             receives the response
 * @param response_length_out  receives the bytes of the response on success, and the bytes that it
 *                             needs with OVK_MGMT_DOES_NOT_FIT; untouched otherwise
 * @param command_word         passed to the driver as it is
 * @return OVK_OK; OVK_MGMT_FAILED, also without memory; OVK_MGMT_NOT_READY;
 *         OVK_MGMT_COMMAND_REFUSED; OVK_MGMT_DOES_NOT_FIT
 */
OVK_API uint32_t SendMgmtCommand(uint32_t board, const Wwn* port_name, const void* request,
                                 uint32_t request_length, void* response,
                                 uint32_t* response_length_out, uint32_t command_word);

/**
 * Hands the driver a response to send. The driver is given the whole buffer of OVK_CT_MAX_LENGTH
 * bytes, with zeros after the payload.
 *
 * @param board           library board index
 * @param payload         the response
 * @param payload_length  bytes of it, OVK_CT_MAX_LENGTH at most; not checked
 * @param context_word    passed to the driver as it is
 * @return OVK_OK; OVK_MGMT_RESPONSE_REFUSED; OVK_MGMT_FAILED, also without memory for a payload
 *         of less than OVK_CT_MAX_LENGTH bytes; OVK_MGMT_NOT_READY; OVK_MGMT_DOES_NOT_FIT
 */
OVK_API uint32_t SendMgmtResponse(uint32_t board, const void* payload, uint32_t payload_length,
                                  uint32_t context_word);

/* ---- Extended Link Services (FC-LS) ---------------------------------------------------------- */

/** The most bytes that an ELS request or reply has. */
#define OVK_ELS_MAX_LENGTH 1024

/** What OVK_SendELSCmd returns when the destination did not answer. */
#define OVK_ELS_NO_RESPONSE 3

/** The destination of an ELS request. Its layout is the driver's. */
typedef struct ElsDestination {
  uint8_t bytes[16];
} ElsDestination;

OVK_ASSERT_SIZE(ElsDestination, 16);

/**
 * Sends an ELS request to a port and waits for the reply.
 *
 * @param board             library board index
 * @param destination       the remote port
 * @param request           the ELS request payload
 * @param request_length    bytes of it, OVK_ELS_MAX_LENGTH at most; not checked
 * @param reply             receives the reply payload; should hold OVK_ELS_MAX_LENGTH bytes
 * @param reply_length_out  receives the bytes of the reply on success, and the bytes that it needs
 *                          with OVK_MORE_DATA; untouched otherwise
 * @return OVK_OK, also with an LS_RJT; OVK_FAILED; OVK_ELS_NO_RESPONSE;
 *         OVK_MORE_DATA when the reply does not fit into OVK_ELS_MAX_LENGTH bytes
 */
OVK_API uint32_t OVK_SendELSCmd(uint32_t board, const ElsDestination* destination,
                                const void* request, uint32_t request_length, void* reply,
                                uint32_t* reply_length_out);

/* ---- FCP and SCSI commands ------------------------------------------------------------------- */

/** The most bytes of data that one command transfers. */
#define OVK_SCSI_MAX_TRANSFER 262144

/** The most bytes of response that SendFcpCmdByWWN hands out. */
#define OVK_FCP_RESPONSE_MAX_LENGTH 160

/** The most bytes of sense data that SendScsiCmdByWWN hands out. */
#define OVK_SENSE_MAX_LENGTH 128

/** The bytes of a block of SendScsiRead and SendScsiWrite. */
#define OVK_SCSI_BLOCK_SIZE 512

/** The values of FcpCmnd.direction. */
enum OvkFcpDirection {
  OVK_FCP_WRITE_DATA = 1, /**< data goes to the target */
  OVK_FCP_READ_DATA = 2   /**< data comes from the target */
};

/** The FCP_CMND information unit (FCP) with a CDB of 16 bytes. */
typedef struct FcpCmnd {
  uint8_t lun[8];
  uint8_t command_reference;
  uint8_t task_attribute;
  uint8_t task_management;
  uint8_t direction; /**< an OvkFcpDirection, or 0 when no data is transferred */
  uint8_t cdb[16];
  uint8_t data_length[4]; /**< FCP_DL, big-endian */
} FcpCmnd;

OVK_ASSERT_SIZE(FcpCmnd, 32);
OVK_ASSERT_OFFSET(FcpCmnd, command_reference, 8);
OVK_ASSERT_OFFSET(FcpCmnd, task_attribute, 9);
OVK_ASSERT_OFFSET(FcpCmnd, task_management, 10);
OVK_ASSERT_OFFSET(FcpCmnd, direction, 11);
OVK_ASSERT_OFFSET(FcpCmnd, cdb, 12);
OVK_ASSERT_OFFSET(FcpCmnd, data_length, 28);

/**
 * Sends a command to a target and gives its FCP response.
 *
 * @param board             library board index, which selects the local port
 * @param hba_port_wwn      ignored
 * @param target_wwn        port WWN of the target
 * @param fcp_cmnd          the command, sent as it is
 * @param fcp_cmnd_length   ignored: the command has 32 bytes
 * @param data              the data for the target, replaced by the data from it
 * @param data_length       in: bytes of data both ways, OVK_SCSI_MAX_TRANSFER at most, the driver
 *                          is told no more; out: bytes transferred, or needed with OVK_MORE_DATA;
 *                          untouched on other failures, and when the driver itself finds no room,
 *                          which gives OVK_MORE_DATA too
 * @param response          receives the FCP response (FCP_RSP), as long as the driver says and
 *                          OVK_FCP_RESPONSE_MAX_LENGTH bytes at most, whatever room there is; in
 *                          its bytes 16 to 19 stands, in host byte order, not the length of the
 *                          sense data but that of the whole response
 * @param response_length   in: bytes that response holds, for the driver; out: bytes of the
 *                          response as the driver reports them, whenever the command succeeded
 * @param option_word       passed to the driver as it is
 * @return OVK_OK; OVK_MORE_DATA when the data does not fit, nothing is copied then; OVK_FAILED,
 *         also without memory
 */
OVK_API uint32_t SendFcpCmdByWWN(uint32_t board, const Wwn* hba_port_wwn, const Wwn* target_wwn,
                                 const FcpCmnd* fcp_cmnd, uint32_t fcp_cmnd_length, void* data,
                                 uint32_t* data_length, void* response, uint32_t* response_length,
                                 uint32_t option_word);

/**
 * SendFcpCmdByWWN without the port WWN that it ignores.
 *
 * @param board            library board index
 * @param target_wwn       port WWN of the target
 * @param fcp_cmnd         the command
 * @param fcp_cmnd_length  ignored
 * @param data             as for SendFcpCmdByWWN
 * @param data_length      in and out, as for SendFcpCmdByWWN
 * @param response         as for SendFcpCmdByWWN
 * @param response_length  in and out, as for SendFcpCmdByWWN
 * @param option_word      passed to the driver as it is
 * @return as SendFcpCmdByWWN
 */
OVK_API uint32_t SendFcpCmdEx(uint32_t board, const Wwn* target_wwn, const FcpCmnd* fcp_cmnd,
                              uint32_t fcp_cmnd_length, void* data, uint32_t* data_length,
                              void* response, uint32_t* response_length, uint32_t option_word);

/**
 * SendFcpCmdEx with an option word of 0.
 *
 * @param board            library board index
 * @param target_wwn       port WWN of the target
 * @param fcp_cmnd         the command
 * @param fcp_cmnd_length  ignored
 * @param data             as for SendFcpCmdByWWN
 * @param data_length      in and out, as for SendFcpCmdByWWN
 * @param response         as for SendFcpCmdByWWN
 * @param response_length  in and out, as for SendFcpCmdByWWN
 * @return as SendFcpCmdByWWN
 */
OVK_API uint32_t OVK_SendFcpCmd(uint32_t board, const Wwn* target_wwn, const FcpCmnd* fcp_cmnd,
                                uint32_t fcp_cmnd_length, void* data, uint32_t* data_length,
                                void* response, uint32_t* response_length);

/**
 * The older name of OVK_SendFcpCmd, which does the same.
 *
 * @param board            library board index
 * @param target_wwn       port WWN of the target
 * @param fcp_cmnd         the command
 * @param fcp_cmnd_length  ignored
 * @param data             as for SendFcpCmdByWWN
 * @param data_length      in and out, as for SendFcpCmdByWWN
 * @param response         as for SendFcpCmdByWWN
 * @param response_length  in and out, as for SendFcpCmdByWWN
 * @return as SendFcpCmdByWWN
 */
OVK_API uint32_t SendFcpCmd(uint32_t board, const Wwn* target_wwn, const FcpCmnd* fcp_cmnd,
                            uint32_t fcp_cmnd_length, void* data, uint32_t* data_length,
                            void* response, uint32_t* response_length);

/**
 * Sends a command to a target and gives its sense data. A command that ends with CHECK CONDITION
 * is a success with a sense length above 0.
 *
 * @param board            library board index, which selects the local port
 * @param hba_port_wwn     ignored
 * @param target_wwn       port WWN of the target
 * @param fcp_cmnd         the command, sent as it is
 * @param fcp_cmnd_length  ignored: the command has 32 bytes
 * @param data             the data for the target, replaced by the data from it
 * @param data_length      in: bytes of data both ways, OVK_SCSI_MAX_TRANSFER at most, the driver is
 *                         told no more; out: bytes transferred, or needed with OVK_MORE_DATA;
 *                         untouched on other failures
 * @param sense            receives the sense data; must hold OVK_SENSE_MAX_LENGTH bytes
 * @param sense_length     out only: bytes of sense data as the driver reports them; untouched on
 *                         failure
 * @return OVK_OK; OVK_MORE_DATA when the data does not fit, nothing is copied then; OVK_FAILED,
 *         also without memory
 */
OVK_API uint32_t SendScsiCmdByWWN(uint32_t board, const Wwn* hba_port_wwn, const Wwn* target_wwn,
                                  const FcpCmnd* fcp_cmnd, uint32_t fcp_cmnd_length, void* data,
                                  uint32_t* data_length, void* sense, uint32_t* sense_length);

/**
 * SendScsiCmdByWWN without the port WWN that it ignores.
 *
 * @param board            library board index
 * @param target_wwn       port WWN of the target
 * @param fcp_cmnd         the command
 * @param fcp_cmnd_length  ignored
 * @param data             as for SendScsiCmdByWWN
 * @param data_length      in and out, as for SendScsiCmdByWWN
 * @param sense            as for SendScsiCmdByWWN
 * @param sense_length     out only, as for SendScsiCmdByWWN
 * @return as SendScsiCmdByWWN
 */
OVK_API uint32_t SendScsiCmd(uint32_t board, const Wwn* target_wwn, const FcpCmnd* fcp_cmnd,
                             uint32_t fcp_cmnd_length, void* data, uint32_t* data_length,
                             void* sense, uint32_t* sense_length);

/**
 * Reads blocks with READ(10) (SBC).
 *
 * @param board         library board index
 * @param target_wwn    port WWN of the target
 * @param lun_word0     bytes 0 to 3 of FCP_LUN, as they stand in memory
 * @param lun_word1     bytes 4 to 7 of FCP_LUN, as they stand in memory
 * @param lba           first block
 * @param data          receives the blocks. What it holds before is sent to the driver.
 * @param data_length   in: OVK_SCSI_BLOCK_SIZE times the blocks, OVK_SCSI_MAX_TRANSFER at most;
 *                      out: as for SendScsiCmdByWWN
 * @param sense         as for SendScsiCmdByWWN
 * @param sense_length  out only, as for SendScsiCmdByWWN
 * @return as SendScsiCmdByWWN
 */
OVK_API uint32_t SendScsiRead(uint32_t board, const Wwn* target_wwn, uint32_t lun_word0,
                              uint32_t lun_word1, uint32_t lba, void* data, uint32_t* data_length,
                              void* sense, uint32_t* sense_length);

/**
 * Writes blocks with WRITE(10) (SBC).
 *
 * @param board         library board index
 * @param target_wwn    port WWN of the target
 * @param lun_word0     bytes 0 to 3 of FCP_LUN, as they stand in memory
 * @param lun_word1     bytes 4 to 7 of FCP_LUN, as they stand in memory
 * @param lba           first block
 * @param data          the blocks; written, too, as the transfer buffer is copied back
 * @param data_length   in: OVK_SCSI_BLOCK_SIZE times the blocks, OVK_SCSI_MAX_TRANSFER at most;
 *                      out: as for SendScsiCmdByWWN
 * @param sense         as for SendScsiCmdByWWN
 * @param sense_length  out only, as for SendScsiCmdByWWN
 * @return as SendScsiCmdByWWN
 */
OVK_API uint32_t SendScsiWrite(uint32_t board, const Wwn* target_wwn, uint32_t lun_word0,
                               uint32_t lun_word1, uint32_t lba, void* data, uint32_t* data_length,
                               void* sense, uint32_t* sense_length);

OVK_END_DECLS

#endif
