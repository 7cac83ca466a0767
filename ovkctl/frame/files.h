/**
 * @file
 * Whole files of bytes.
 */
#pragma once

#include "ovkctl/frame/values.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace ovkctl {

/** Reads a whole file; throws OperationFailed when it cannot be read or holds more than most. */
Bytes read_file(const std::string& path, std::size_t most);

/** Writes a whole file, or to standard output for "-"; throws OperationFailed when the bytes did
 * not all get there. */
void write_file(const std::string& path, std::span<const std::uint8_t> bytes);

}  // namespace ovkctl
