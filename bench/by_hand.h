/**
 * @file
 * What a program writes that does without the library: the Command block and the calls by hand.
 */
#ifndef BENCH_BY_HAND_H
#define BENCH_BY_HAND_H

#include <ovk/fabric.h>
#include <ovk/hbaapi.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The Command block's words that the calls below use. */
struct by_hand_command {
  uint32_t driver_board;
  uint32_t index;
  uint32_t request_size;
  uint32_t reply_size;
  uint32_t value;
  uint32_t code;
  uint32_t selector;
  uint32_t option;
  uint32_t reserved[3];
  uint32_t status;
};

/** RAVN_MGMT_HBA_REFRESHINFO, as RefreshInformation. */
uint32_t by_hand_refresh(uint32_t board);

/** RAVN_MGMT_SEND_CT, as GetCTInfo. */
int32_t by_hand_ct(uint32_t board, uint32_t destination_id, const void* request,
                   uint32_t request_length, void* response, uint32_t response_length);

/** RAVN_MGMT_SEND_ELS, as OVK_SendELSCmd. */
uint32_t by_hand_els(uint32_t board, const ElsDestination* destination, const void* request,
                     uint32_t request_length, void* reply, uint32_t* reply_length);

/** RAVN_MGMT_HBA_SEND_SCSI, as SendScsiCmdByWWN. */
uint32_t by_hand_scsi(uint32_t board, const Wwn* target, const FcpCmnd* fcp_cmnd, void* data,
                      uint32_t* data_length, void* sense, uint32_t* sense_length);

/** RAVN_MGMT_HBA_FCPTARGETMAPPING, as GetFcpTargetMapping. */
uint32_t by_hand_target_mapping(uint32_t board, FcpTargetMapping* map);

#ifdef __cplusplus
}
#endif

#endif
