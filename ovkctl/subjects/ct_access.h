/**
 * @file
 * Requests to the fabric's servers over Common Transport (FC-GS).
 */
#ifndef OVKCTL_CT_ACCESS_H
#define OVKCTL_CT_ACCESS_H

#include "ovkctl/subjects/scsi_access.h"

#include <cstdint>
#include <span>
#include <string>

namespace ovkctl {

/** The bytes before the contents of a CT_IU. */
inline constexpr std::size_t kCtPreamble = 16;

/** Sends a CT_IU to a well-known address and gives the response; throws OperationFailed. */
ByteVector exchange_ct(std::uint32_t board, std::uint32_t destination,
                       std::span<const std::uint8_t> request);

/** The response code of a CT_IU in words: "accepted", or why it is rejected. */
std::string ct_response_text(std::span<const std::uint8_t> response);

/** Whether a CT_IU accepts. */
bool ct_accepted(std::span<const std::uint8_t> response);

}  // namespace ovkctl

#endif
