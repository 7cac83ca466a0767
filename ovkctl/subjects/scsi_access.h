/**
 * @file
 * What the commands that speak to logical units share: addressing, sense data, identifiers.
 */
#pragma once

#include "ovkctl/frame/board.h"

#include <ovk/fabric.h>
#include <ovk/types.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace ovkctl {

/** The largest number of a logical unit. */
inline constexpr std::uint32_t largest_lun = 0x3FFF;

/** A big-endian number of up to four bytes; 0 for bytes that are not there. */
std::uint32_t big_endian(std::span<const std::uint8_t> bytes, std::size_t offset, std::size_t size);

/** ASCII of a part of a record, without trailing blanks. */
std::string ascii_text(std::span<const std::uint8_t> bytes, std::size_t offset, std::size_t size);

/** A logical unit behind a board. */
struct LogicalUnit {
  Board board;
  Wwn target{};
  std::uint32_t lun = 0;

  /** FCP_LUN's words as they stand in memory. */
  [[nodiscard]] std::uint32_t word0() const;
  [[nodiscard]] std::uint32_t word1() const { return 0; }
};

/** The number that an FCP_LUN stands for, or its 16 hex digits when that is no plain number. */
std::string lun_text(std::span<const std::uint8_t> fcp_lun);

/** Room for the sense data of a command. */
struct Sense {
  std::array<std::uint8_t, OVK_SENSE_MAX_LENGTH> bytes{};
  std::uint32_t length = 0;
};

/** Throws OperationFailed unless the command was delivered and the target executed it. */
void check_scsi(std::uint32_t result, const Sense& sense, const Board& board,
                const std::string& operation);

/**
 * Has a call of the library send a command to a target; throws as check_scsi does.
 *
 * @param data       what the command transfers, either way
 * @param arguments  of the call, between the board and the data
 * @return how many bytes it transferred
 */
template <typename Call, typename... Arguments>
std::uint32_t send_scsi(const Board& board, const std::string& operation,
                        std::span<std::uint8_t> data, Call* call, Arguments... arguments) {
  Sense sense;
  std::uint32_t length = data.size();
  const std::uint32_t result =
      call(board, arguments..., data.data(), &length, sense.bytes.data(), &sense.length);
  check_scsi(result, sense, board, operation);
  return length;
}

/** A peripheral device type, such as "disk". */
std::string device_type_text(std::uint8_t first_inquiry_byte);

/** One designation descriptor (SPC) in words. */
struct Designator {
  std::string type;         ///< such as "NAA"
  std::string association;  ///< such as "logical unit"
  std::string value;
};

/** Decodes a descriptor, header included; what it says of its length may be more than there is. */
Designator decode_designator(std::span<const std::uint8_t> descriptor);

/** All descriptors of a device identification page. */
std::vector<Designator> decode_identification_page(std::span<const std::uint8_t> page);

}  // namespace ovkctl
