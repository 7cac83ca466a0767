/**
 * @file
 * FCP_CMND images of the SCSI commands that the library builds itself.
 */
#pragma once

#include "driver_abi/fc.h"
#include "library/core/byte_order.h"

#include <ovk/fabric.h>

#include <cstdint>
#include <cstring>

namespace ovk {

/** A logical unit as callers name it: the two words of FCP_LUN as they stand in memory. */
struct LunWords {
  std::uint32_t word0 = 0;
  std::uint32_t word1 = 0;
};

/**
 * An image with everything but the rest of the CDB.
 *
 * @param direction    OVK_FCP_WRITE_DATA or OVK_FCP_READ_DATA
 * @param data_length  FCP_DL, in bytes
 */
inline FcpCmnd fcp_cmnd(ScsiOpcode opcode, LunWords lun, OvkFcpDirection direction,
                        std::uint32_t data_length) {
  FcpCmnd image{};
  std::memcpy(image.lun, &lun.word0, sizeof lun.word0);
  std::memcpy(image.lun + sizeof lun.word0, &lun.word1, sizeof lun.word1);
  image.direction = static_cast<std::uint8_t>(direction);
  image.cdb[0] = static_cast<std::uint8_t>(opcode);
  store_big_endian(image.data_length, data_length);
  return image;
}

}  // namespace ovk
