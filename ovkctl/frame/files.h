/**
 * @file
 * Whole files of bytes.
 */
#pragma once

#include "ovkctl/frame/values.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace ovkctl {

/** Reads a whole file; throws OperationFailed when it cannot be read or holds more than most. */
Bytes read_file(const std::string& path, std::size_t most);

/**
 * The bytes that a command line gives in hex or in a file.
 *
 * @param most      how many a file may hold
 * @param sentence  says how they are given, for a command line that does so in neither or both ways
 */
Bytes given_bytes(const std::optional<HexBytes>& hex, const std::optional<std::string>& file,
                  std::size_t most, const char* sentence);

/** Writes a whole file, or to standard output for "-"; throws OperationFailed when the bytes did
 * not all get there. */
void write_file(const std::string& path, std::span<const std::uint8_t> bytes);

}  // namespace ovkctl
