/**
 * @file
 * The regions of an adapter's non-volatile configuration as bytes, on both generations of adapters.
 */
#pragma once

#include "driver_abi/regions.h"
#include "ovkctl/frame/board.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace ovkctl {

using ovk::RegionKind;

/** The region of a number; throws UsageError when there is none. */
const RegionKind& region_kind(std::uint32_t number);

/** What a region holds. */
struct RegionContents {
  static constexpr std::string_view written = "written";

  Bytes bytes;                       ///< none unless it could be read
  std::string_view state = written;  ///< "written", "empty", or why it cannot be read

  [[nodiscard]] bool readable() const { return state == written; }
};

/** Reads and writes the regions of one board. */
class RegionIo {
 public:
  /** Asks for the board's SLI mode; throws OperationFailed when it cannot be read. */
  explicit RegionIo(const Board& board);

  /** Reads a region; throws OperationFailed when that fails otherwise than in RegionContents. */
  [[nodiscard]] RegionContents read(const RegionKind& region) const;

  /** Writes a whole region and reads it back; throws OperationFailed when they differ. */
  void write(const RegionKind& region, const Bytes& bytes) const;

 private:
  RegionContents read_by_command(const RegionKind& region) const;
  RegionContents read_by_mailbox(const RegionKind& region) const;
  void write_by_command(const RegionKind& region, const Bytes& bytes) const;
  void write_by_mailbox(const RegionKind& region, const Bytes& bytes) const;
  void check_answer(std::uint32_t result, std::uint32_t mailbox_status,
                    const std::string& operation) const;

  Board board_;
  bool by_command_;
};

}  // namespace ovkctl
