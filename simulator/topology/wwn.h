/**
 * @file
 * World-wide names, and other bytes, as text.
 */
#pragma once

#include "driver_abi/wwn.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ravnsim {

/** The bytes that hex digits stand for; nothing for other characters, or for half a byte. */
std::optional<std::vector<std::uint8_t>> parse_hex(std::string_view digits);

/** Reads "10:00:02:00:54:12:34:56", with colons or without. */
std::optional<Wwn> parse_wwn(std::string_view text);

/** Writes a name as colon-separated hex. */
std::string to_text(const Wwn& wwn);

}  // namespace ravnsim
