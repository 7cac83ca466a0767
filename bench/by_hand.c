/*
 * The calls as a careful program writes them that does without the library: the same allocations,
 * the same command, the same copies, and no log.
 */
#include "bench/by_hand.h"

#include "driver_abi/vmkmgmt.h"

#include <ovk/core.h>

#include <stdlib.h>
#include <string.h>

enum {
  SEND_CT = 0x8E,
  SEND_ELS = 0x8F,
  HBA_SEND_SCSI = 0x90,
  HBA_FCP_TARGET_MAPPING = 0x141,
  HBA_REFRESH_INFO = 0x146,
};

struct scsi_request {
  Wwn target;
  FcpCmnd command;
  uint8_t sense[OVK_SENSE_MAX_LENGTH];
  uint32_t sense_length;
};

struct mapping_reply {
  uint32_t count;
  FcpScsiEntry entries[OVK_MAX_TARGET_MAPPINGS];
};

static uint32_t at_most(uint32_t length, uint32_t limit) { return length < limit ? length : limit; }

static uint32_t driver_board(uint32_t board) { return (uint32_t)ovk_brdno[board]; }

uint32_t by_hand_refresh(uint32_t board) {
  struct by_hand_command command = {.driver_board = driver_board(board)};
  const int error =
      vmk_MgmtUserCallbackInvokeInt(ravn_mgmt_handle, 0, HBA_REFRESH_INFO, 1, &command);
  return error == 0 && command.status == 0 ? OVK_OK : OVK_FAILED;
}

int32_t by_hand_ct(uint32_t board, uint32_t destination_id, const void* request,
                   uint32_t request_length, void* response, uint32_t response_length) {
  if (request_length > OVK_CT_MAX_LENGTH) {
    return OVK_CT_TOO_LONG;
  }
  void* const sent = calloc(1, OVK_CT_MAX_LENGTH);
  void* const received = calloc(1, OVK_CT_MAX_LENGTH);
  int32_t result = OVK_CT_NO_RESOURCES;
  if (sent != NULL && received != NULL) {
    memcpy(sent, request, request_length);
    struct by_hand_command command = {.driver_board = driver_board(board),
                                      .request_size = request_length,
                                      .reply_size = response_length,
                                      .value = destination_id};
    const int error =
        vmk_MgmtUserCallbackInvokeInt(ravn_mgmt_handle, 0, SEND_CT, 3, &command, sent, received);
    result = OVK_CT_FAILED;
    if (error == 0 && command.status == 0) {
      memcpy(response, received, at_most(command.reply_size, OVK_CT_MAX_LENGTH));
      result = (int32_t)command.reply_size;
    }
  }
  free(received);
  free(sent);
  return result;
}

uint32_t by_hand_els(uint32_t board, const ElsDestination* destination, const void* request,
                     uint32_t request_length, void* reply, uint32_t* reply_length) {
  void* const sent = calloc(1, OVK_ELS_MAX_LENGTH);
  void* const received = calloc(1, OVK_ELS_MAX_LENGTH);
  uint32_t result = OVK_FAILED;
  if (sent != NULL && received != NULL) {
    memcpy(sent, request, at_most(request_length, OVK_ELS_MAX_LENGTH));
    struct by_hand_command command = {.driver_board = driver_board(board),
                                      .request_size = request_length,
                                      .reply_size = OVK_ELS_MAX_LENGTH};
    const int error = vmk_MgmtUserCallbackInvokeInt(ravn_mgmt_handle, 0, SEND_ELS, 4, &command,
                                                    destination, sent, received);
    if (error == 0 && command.status == 0) {
      memcpy(reply, received, at_most(command.reply_size, OVK_ELS_MAX_LENGTH));
      *reply_length = command.reply_size;
      result = OVK_OK;
    }
  }
  free(received);
  free(sent);
  return result;
}

uint32_t by_hand_scsi(uint32_t board, const Wwn* target, const FcpCmnd* fcp_cmnd, void* data,
                      uint32_t* data_length, void* sense, uint32_t* sense_length) {
  void* const buffer = calloc(1, OVK_SCSI_MAX_TRANSFER);
  if (buffer == NULL) {
    return OVK_FAILED;
  }
  const uint32_t length = at_most(*data_length, OVK_SCSI_MAX_TRANSFER);
  memcpy(buffer, data, length);
  struct scsi_request request = {.target = *target, .command = *fcp_cmnd};
  struct by_hand_command command = {.driver_board = driver_board(board), .request_size = length};
  uint32_t result = OVK_FAILED;
  const int error = vmk_MgmtUserCallbackInvokeInt(ravn_mgmt_handle, 0, HBA_SEND_SCSI, 3, &command,
                                                  &request, buffer);
  if (error == 0 && command.status == 0) {
    const int fits = command.reply_size <= *data_length;
    *data_length = command.reply_size;
    result = OVK_MORE_DATA;
    if (fits) {
      *sense_length = request.sense_length;
      memcpy(sense, request.sense, at_most(request.sense_length, OVK_SENSE_MAX_LENGTH));
      memcpy(data, buffer, at_most(*data_length, OVK_SCSI_MAX_TRANSFER));
      result = OVK_OK;
    }
  }
  free(buffer);
  return result;
}

uint32_t by_hand_target_mapping(uint32_t board, FcpTargetMapping* map) {
  struct mapping_reply* const reply = calloc(1, sizeof *reply);
  if (reply == NULL) {
    return OVK_FAILED;
  }
  struct by_hand_command command = {
      .driver_board = driver_board(board),
      .request_size = at_most(map->NumberOfEntries, OVK_MAX_TARGET_MAPPINGS)};
  uint32_t result = OVK_FAILED;
  const int error = vmk_MgmtUserCallbackInvokeInt(ravn_mgmt_handle, 0, HBA_FCP_TARGET_MAPPING, 2,
                                                  &command, reply);
  const int fits = command.reply_size <= map->NumberOfEntries;
  map->NumberOfEntries = command.reply_size;
  if (!fits) {
    result = OVK_MORE_DATA;
  } else if (error == 0 && command.status == 0) {
    memcpy(map->entry, reply->entries,
           at_most(command.reply_size, OVK_MAX_TARGET_MAPPINGS) * sizeof(FcpScsiEntry));
    result = OVK_OK;
  }
  free(reply);
  return result;
}
