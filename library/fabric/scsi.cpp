#include "library/core/command.h"
#include "library/core/in_out_count.h"
#include "library/core/payload.h"
#include "library/fabric/fcp_cmnd.h"

#include <ovk/fabric.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

using ovk::Command;
using ovk::DriverStatus;
using ovk::Outcome;

namespace {

using DataBuffer = ovk::HeapBuffer<ovk::Bytes<OVK_SCSI_MAX_TRANSFER>>;

/** A command on its way to a target, and what comes back besides the data. */
struct FcpRequest {
  Wwn target;
  FcpCmnd command;
  struct Response {
    std::uint8_t head[16];
    std::uint32_t length;  // in place of FCP_SNS_LEN; in: the caller's room; out: all bytes
    std::uint8_t tail[140];
  } response;
};

static_assert(sizeof(FcpRequest) == 200);
static_assert(offsetof(FcpRequest, command) == 8);
static_assert(offsetof(FcpRequest, response) == 40);
static_assert(offsetof(FcpRequest, response.length) == 56);
static_assert(offsetof(FcpRequest, response.tail) == 60);
static_assert(sizeof(FcpRequest::Response) == OVK_FCP_RESPONSE_MAX_LENGTH);

/** A command on its way to a target, and the sense data that comes back besides the data. */
struct ScsiRequest {
  Wwn target;
  FcpCmnd command;
  ovk::Bytes<OVK_SENSE_MAX_LENGTH> sense;
  std::uint32_t sense_length;
};

static_assert(sizeof(ScsiRequest) == 172);
static_assert(offsetof(ScsiRequest, command) == 8);
static_assert(offsetof(ScsiRequest, sense) == 40);
static_assert(offsetof(ScsiRequest, sense_length) == 168);

constexpr Wwn no_wwn{};

/** The data length that the driver is told. */
std::uint32_t announced(std::uint32_t data_length) {
  return std::min<std::uint32_t>(data_length, OVK_SCSI_MAX_TRANSFER);
}

/** Copies as many bytes as the driver reports, but no more than its record holds. */
template <typename Record>
void copy_reported(void* destination, const Record& record, std::uint32_t reported) {
  if (reported != 0) {
    std::memcpy(destination, &record, std::min<std::size_t>(reported, sizeof record));
  }
}

/** The image of READ(10) or WRITE(10). */
FcpCmnd transfer_image(ovk::ScsiOpcode opcode, ovk::LunWords lun, OvkFcpDirection direction,
                       std::uint32_t lba, std::uint32_t data_length) {
  FcpCmnd image = ovk::fcp_cmnd(opcode, lun, direction, data_length);
  ovk::store_big_endian(&image.cdb[2], lba);
  ovk::store_big_endian(&image.cdb[7],
                        static_cast<std::uint16_t>(data_length / OVK_SCSI_BLOCK_SIZE));
  return image;
}

}  // namespace

std::uint32_t SendFcpCmdByWWN(std::uint32_t board, const Wwn* /*hba_port_wwn*/,
                              const Wwn* target_wwn, const FcpCmnd* fcp_cmnd,
                              std::uint32_t /*fcp_cmnd_length*/, void* data,
                              std::uint32_t* data_length, void* response,
                              std::uint32_t* response_length, std::uint32_t option_word) {
  DataBuffer buffer{ovk::unfilled};
  if (!buffer) {
    return OVK_FAILED;
  }
  buffer.fill(data, *data_length);
  FcpRequest request{
      .target = *target_wwn, .command = *fcp_cmnd, .response = {.length = *response_length}};
  Command command{board, {.request_size = announced(*data_length), .option = option_word}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_SEND_FCP">(&request, buffer.get());
  if (!outcome.succeeded()) {
    return outcome.result({{DriverStatus::does_not_fit, OVK_MORE_DATA}});
  }
  *response_length = request.response.length;
  if (const std::uint32_t refusal = ovk::report_count(*data_length, command.block.reply_size);
      refusal != OVK_OK) {
    return refusal;
  }
  copy_reported(response, request.response, request.response.length);
  buffer.copy_out(data, *data_length);
  return OVK_OK;
}

std::uint32_t SendScsiCmdByWWN(std::uint32_t board, const Wwn* /*hba_port_wwn*/,
                               const Wwn* target_wwn, const FcpCmnd* fcp_cmnd,
                               std::uint32_t /*fcp_cmnd_length*/, void* data,
                               std::uint32_t* data_length, void* sense,
                               std::uint32_t* sense_length) {
  DataBuffer buffer{ovk::unfilled};
  if (!buffer) {
    return OVK_FAILED;
  }
  buffer.fill(data, *data_length);
  ScsiRequest request{.target = *target_wwn, .command = *fcp_cmnd};
  Command command{board, {.request_size = announced(*data_length)}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_SEND_SCSI">(&request, buffer.get());
  if (!outcome.succeeded()) {
    return outcome.result();
  }
  if (const std::uint32_t refusal = ovk::report_count(*data_length, command.block.reply_size);
      refusal != OVK_OK) {
    return refusal;
  }
  *sense_length = request.sense_length;
  copy_reported(sense, request.sense, request.sense_length);
  buffer.copy_out(data, *data_length);
  return OVK_OK;
}

std::uint32_t SendFcpCmdEx(std::uint32_t board, const Wwn* target_wwn, const FcpCmnd* fcp_cmnd,
                           std::uint32_t fcp_cmnd_length, void* data, std::uint32_t* data_length,
                           void* response, std::uint32_t* response_length,
                           std::uint32_t option_word) {
  return SendFcpCmdByWWN(board, &no_wwn, target_wwn, fcp_cmnd, fcp_cmnd_length, data, data_length,
                         response, response_length, option_word);
}

std::uint32_t OVK_SendFcpCmd(std::uint32_t board, const Wwn* target_wwn, const FcpCmnd* fcp_cmnd,
                             std::uint32_t fcp_cmnd_length, void* data, std::uint32_t* data_length,
                             void* response, std::uint32_t* response_length) {
  return SendFcpCmdByWWN(board, &no_wwn, target_wwn, fcp_cmnd, fcp_cmnd_length, data, data_length,
                         response, response_length, 0);
}

std::uint32_t SendFcpCmd(std::uint32_t board, const Wwn* target_wwn, const FcpCmnd* fcp_cmnd,
                         std::uint32_t fcp_cmnd_length, void* data, std::uint32_t* data_length,
                         void* response, std::uint32_t* response_length) {
  return OVK_SendFcpCmd(board, target_wwn, fcp_cmnd, fcp_cmnd_length, data, data_length, response,
                        response_length);
}

std::uint32_t SendScsiCmd(std::uint32_t board, const Wwn* target_wwn, const FcpCmnd* fcp_cmnd,
                          std::uint32_t fcp_cmnd_length, void* data, std::uint32_t* data_length,
                          void* sense, std::uint32_t* sense_length) {
  return SendScsiCmdByWWN(board, &no_wwn, target_wwn, fcp_cmnd, fcp_cmnd_length, data, data_length,
                          sense, sense_length);
}

std::uint32_t SendScsiRead(std::uint32_t board, const Wwn* target_wwn, std::uint32_t lun_word0,
                           std::uint32_t lun_word1, std::uint32_t lba, void* data,
                           std::uint32_t* data_length, void* sense, std::uint32_t* sense_length) {
  const FcpCmnd image = transfer_image(ovk::ScsiOpcode::read_10, {lun_word0, lun_word1},
                                       OVK_FCP_READ_DATA, lba, *data_length);
  return SendScsiCmd(board, target_wwn, &image, sizeof image, data, data_length, sense,
                     sense_length);
}

std::uint32_t SendScsiWrite(std::uint32_t board, const Wwn* target_wwn, std::uint32_t lun_word0,
                            std::uint32_t lun_word1, std::uint32_t lba, void* data,
                            std::uint32_t* data_length, void* sense, std::uint32_t* sense_length) {
  const FcpCmnd image = transfer_image(ovk::ScsiOpcode::write_10, {lun_word0, lun_word1},
                                       OVK_FCP_WRITE_DATA, lba, *data_length);
  return SendScsiCmd(board, target_wwn, &image, sizeof image, data, data_length, sense,
                     sense_length);
}
