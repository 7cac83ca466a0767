#include "driver_abi/fc.h"
#include "library/fabric/fcp_cmnd.h"

#include <ovk/fabric.h>
#include <ovk/hbaapi.h>

#include <cstddef>

namespace {

/** The offset of GS_TYPE in a CT_IU preamble. */
constexpr std::size_t gs_type_offset = 4;

std::uint32_t server_of(std::uint8_t gs_type) {
  const bool has_address = ovk::management_service <= gs_type && gs_type <= ovk::fabric_controller;
  return ovk::well_known_addresses | (has_address ? gs_type : ovk::directory_service);
}

FcpCmnd report_luns_image(std::uint32_t response_length) {
  FcpCmnd image =
      ovk::fcp_cmnd(ovk::ScsiOpcode::report_luns, {}, OVK_FCP_READ_DATA, response_length);
  ovk::store_big_endian(&image.cdb[6], response_length);
  return image;
}

FcpCmnd read_capacity_image(ovk::LunWords lun, std::uint32_t response_length) {
  return ovk::fcp_cmnd(ovk::ScsiOpcode::read_capacity_10, lun, OVK_FCP_READ_DATA, response_length);
}

FcpCmnd inquiry_image(ovk::LunWords lun, std::uint8_t evpd, std::uint8_t page_code,
                      std::uint32_t response_length) {
  FcpCmnd image = ovk::fcp_cmnd(ovk::ScsiOpcode::inquiry, lun, OVK_FCP_READ_DATA, response_length);
  image.cdb[1] = evpd;
  image.cdb[2] = evpd != 0 ? page_code : std::uint8_t{0};
  // Intended: only the low byte of the length has room here, FCP_DL has all of it.
  image.cdb[4] = static_cast<std::uint8_t>(response_length);
  return image;
}

}  // namespace

std::uint32_t SendCTPassThru(std::uint32_t board, const std::uint8_t* request,
                             std::uint32_t request_length, void* response,
                             std::uint32_t* response_length) {
  const std::int32_t result = GetCTInfo(board, server_of(request[gs_type_offset]), request,
                                        request_length, response, *response_length);
  if (result < 1) {
    return OVK_FAILED;
  }
  *response_length = static_cast<std::uint32_t>(result);
  return OVK_OK;
}

std::uint32_t SendReportLUNs(std::uint32_t board, const Wwn* target_wwn, void* response,
                             std::uint32_t* response_length, void* sense,
                             std::uint32_t* sense_length) {
  const FcpCmnd image = report_luns_image(*response_length);
  return SendScsiCmd(board, target_wwn, &image, sizeof image, response, response_length, sense,
                     sense_length);
}

std::uint32_t OVK_SendReportLUNsByWWN(std::uint32_t board, const Wwn* hba_port_wwn,
                                      const Wwn* target_wwn, void* response,
                                      std::uint32_t* response_length, void* sense,
                                      std::uint32_t* sense_length) {
  const FcpCmnd image = report_luns_image(*response_length);
  return SendScsiCmdByWWN(board, hba_port_wwn, target_wwn, &image, sizeof image, response,
                          response_length, sense, sense_length);
}

std::uint32_t SendReadCapacity(std::uint32_t board, const Wwn* target_wwn, std::uint32_t lun_word0,
                               std::uint32_t lun_word1, void* response,
                               std::uint32_t* response_length, void* sense,
                               std::uint32_t* sense_length) {
  const FcpCmnd image = read_capacity_image({lun_word0, lun_word1}, *response_length);
  return SendScsiCmd(board, target_wwn, &image, sizeof image, response, response_length, sense,
                     sense_length);
}

std::uint32_t OVK_SendReadCapacityByWWN(std::uint32_t board, const Wwn* hba_port_wwn,
                                        const Wwn* target_wwn, std::uint32_t lun_word0,
                                        void* response, std::uint32_t* response_length, void* sense,
                                        std::uint32_t* sense_length) {
  const FcpCmnd image = read_capacity_image({lun_word0, 0}, *response_length);
  return SendScsiCmdByWWN(board, hba_port_wwn, target_wwn, &image, sizeof image, response,
                          response_length, sense, sense_length);
}

std::uint32_t SendScsiInquiry(std::uint32_t board, const Wwn* target_wwn, std::uint32_t lun_word0,
                              std::uint32_t lun_word1, std::uint8_t evpd, std::uint8_t page_code,
                              void* response, std::uint32_t* response_length, void* sense,
                              std::uint32_t* sense_length) {
  const FcpCmnd image = inquiry_image({lun_word0, lun_word1}, evpd, page_code, *response_length);
  return SendScsiCmd(board, target_wwn, &image, sizeof image, response, response_length, sense,
                     sense_length);
}

std::uint32_t OVK_SendScsiInquiryByWWN(std::uint32_t board, const Wwn* hba_port_wwn,
                                       const Wwn* target_wwn, std::uint32_t lun_word0,
                                       std::uint32_t lun_word1, std::uint8_t evpd,
                                       std::uint8_t page_code, void* response,
                                       std::uint32_t* response_length, void* sense,
                                       std::uint32_t* sense_length) {
  const FcpCmnd image = inquiry_image({lun_word0, lun_word1}, evpd, page_code, *response_length);
  return SendScsiCmdByWWN(board, hba_port_wwn, target_wwn, &image, sizeof image, response,
                          response_length, sense, sense_length);
}
