/**
 * @file
 * A SCSI target port and its logical units.
 */
#pragma once

#include "simulator/board/wire.h"
#include "simulator/fabric/medium.h"
#include "simulator/topology/topology.h"

#include <array>
#include <cstdint>
#include <span>

namespace ravnsim {

/** The 8 bytes that name a logical unit on the wire. */
using FcpLun = std::array<std::uint8_t, 8>;

/** The FCP_LUN of a unit's number: peripheral addressing below 256, else flat space. */
FcpLun fcp_lun(std::uint32_t number);

/** The FCP_CMND information unit with a CDB of 16 bytes. */
struct FcpCommand {
  FcpLun lun;
  std::uint8_t reference;
  std::uint8_t attribute;
  std::uint8_t management;
  std::uint8_t direction;
  std::array<std::uint8_t, 16> cdb;
  std::array<std::uint8_t, 4> data_length;
};

static_assert(sizeof(FcpCommand) == 32);

/** How a command ended. */
struct ScsiReply {
  ByteVector data;          ///< for the initiator, no more than it asked for
  ByteVector sense;         ///< empty with GOOD, fixed format with CHECK CONDITION
  std::uint32_t taken = 0;  ///< bytes taken from the initiator
};

/** A sense key with its additional sense code, such as 0x052500. */
struct SenseCode {
  std::uint32_t code;
};

/** Fixed-format sense data. */
ByteVector fixed_sense(SenseCode code);

/** A target port as one board reaches it. */
class ScsiTarget {
 public:
  ScsiTarget(const PortTopology& port, Media& media) : port_{port}, media_{media} {}

  /** Executes a command; `data_out` is what the initiator sends with it. */
  ScsiReply execute(const FcpCommand& command, std::span<const std::uint8_t> data_out);

 private:
  [[nodiscard]] const LunTopology* unit_of(const FcpLun& lun) const;
  [[nodiscard]] ScsiReply report_luns(std::span<const std::uint8_t> cdb) const;

  const PortTopology& port_;
  Media& media_;
};

}  // namespace ravnsim
