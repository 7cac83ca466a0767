/**
 * @file
 * The regions of an adapter's non-volatile configuration as bytes, on both generations of adapters.
 */
#pragma once

#include "driver_abi/regions.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ovkctl {

using Bytes = std::vector<std::uint8_t>;

using ovk::RegionKind;

/** The region of a number; throws UsageError when there is none. */
const RegionKind& region_kind(std::uint32_t number);

/**
 * Throws OperationFailed for a setting that does not read back as it was set. The library's calls
 * do not tell of every write that went wrong.
 *
 * @param what  the setting, as the start of a sentence: "Persistent link down"
 */
[[noreturn]] void fail_verification(std::uint32_t board, const std::string& what);

/** What a region holds. */
struct RegionContents {
  Bytes bytes;               ///< none unless it could be read
  std::uint32_t result = 0;  ///< OVK_OK, or an OvkRegionResult: it is empty or refuses to be read

  bool readable() const { return result == 0; }
  /** "written", "empty", or why it cannot be read. */
  std::string state() const;
};

/** Reads and writes the regions of one board. */
class RegionIo {
 public:
  /** Asks for the board's SLI mode; throws OperationFailed when it cannot be read. */
  explicit RegionIo(std::uint32_t board);

  /** Reads a region; throws OperationFailed when that fails otherwise than in RegionContents. */
  RegionContents read(const RegionKind& region) const;

  /** Reads a region; throws OperationFailed unless it can be read. */
  Bytes read_bytes(const RegionKind& region) const;

  /** Writes a whole region and reads it back; throws OperationFailed when they differ. */
  void write(const RegionKind& region, const Bytes& bytes) const;

 private:
  RegionContents read_by_command(const RegionKind& region) const;
  RegionContents read_by_mailbox(const RegionKind& region) const;
  void write_by_command(const RegionKind& region, const Bytes& bytes) const;
  void write_by_mailbox(const RegionKind& region, const Bytes& bytes) const;
  void check_answer(std::uint32_t result, std::uint32_t mailbox_status,
                    const std::string& operation) const;

  std::uint32_t board_;
  bool by_command_;
};

}  // namespace ovkctl
