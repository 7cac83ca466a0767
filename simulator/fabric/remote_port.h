/**
 * @file
 * How the ports of the fabric answer extended link services.
 */
#pragma once

#include "simulator/board/adapter.h"
#include "simulator/board/wire.h"

#include <cstdint>
#include <map>
#include <span>

namespace ravnsim {

/** Why a port rejects a request (FC-LS). */
struct ElsReject {
  std::uint8_t reason;
  std::uint8_t explanation;
};

/** An LS_RJT. */
ByteVector ls_reject(ElsReject reject);

/** The general topology discovery data of a port (FC-LS). */
ByteVector topology_data(const RnidTopology& rnid);

/** The LS_ACC of an RNID (FC-LS), with what is common to all formats and what only this one has. */
ByteVector accept_rnid(std::uint8_t format, const ByteVector& common, const ByteVector& specific);

/** The ports that a board sees, as they answer link services. */
class RemotePorts {
 public:
  explicit RemotePorts(Adapter& adapter) : adapter_{adapter} {}

  /** The port with that name, or with that address when the name is all zero; null when none. */
  [[nodiscard]] const PortTopology* find(const Wwn& port_wwn, std::uint32_t fc_id);

  /** What a port replies to an ELS request. */
  ByteVector answer_els(const PortTopology& port, std::span<const std::uint8_t> request);

 private:
  ByteVector read_link_errors(std::span<const std::uint8_t> request);

  Adapter& adapter_;
  /** Times that each port was asked for its counters; they advance so that readers see it. */
  std::map<std::uint32_t, std::uint32_t> readings_;
};

}  // namespace ravnsim
