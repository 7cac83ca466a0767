/**
 * @file
 * The file in which all regions of a board are saved.
 *
 * It is text: a first line that names the format, lines that name the board, a line for each region
 * with its number and its bytes in hex, and last the CRC-32 of all lines before it.
 */
#pragma once

#include "ovkctl/subjects/region_io.h"

#include <cstdint>
#include <map>
#include <string>

namespace ovkctl {

/** Whose regions they are. */
struct BoardIdentity {
  std::string model;
  std::string serial_number;
  std::string port_wwn;

  bool operator==(const BoardIdentity&) const = default;

  /** The identity in a sentence. */
  [[nodiscard]] std::string text() const;
};

/** Reads the identity of a board; throws OperationFailed. */
BoardIdentity identity_of(const Board& board);

/** The saved regions of a board. */
struct RegionArchive {
  BoardIdentity board;
  std::map<std::uint32_t, Bytes> regions;

  /** The file's text. */
  [[nodiscard]] std::string text() const;

  /** Reads a file; throws OperationFailed when it is not one of these or is damaged. */
  static RegionArchive from_file(const std::string& path);
};

}  // namespace ovkctl
