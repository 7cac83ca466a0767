/**
 * @file
 * World-wide names as text.
 */
#pragma once

#include "driver_abi/wwn.h"

#include <optional>
#include <string>
#include <string_view>

namespace ravnsim {

/** Reads "10:00:02:00:54:12:34:56", with colons or without. */
std::optional<Wwn> parse_wwn(std::string_view text);

/** Writes a name as colon-separated hex. */
std::string to_text(const Wwn& wwn);

}  // namespace ravnsim
