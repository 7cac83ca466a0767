/**
 * @file
 * The name server and the management server of the fabric that a board is on.
 */
#pragma once

#include "simulator/board/adapter.h"
#include "simulator/board/wire.h"

#include <cstdint>
#include <optional>
#include <span>

namespace ravnsim {

/** Why a server rejects a CT_IU (FC-GS). */
struct CtReject {
  std::uint8_t reason;
  std::uint8_t explanation;
};

/** A CT_IU that rejects a request. */
ByteVector ct_reject(std::span<const std::uint8_t> request, CtReject reject);

/** The server at a well-known address answers a request CT_IU; nothing when there is none. */
std::optional<ByteVector> answer_ct(Adapter& adapter, std::uint32_t destination,
                                    std::span<const std::uint8_t> request);

}  // namespace ravnsim
