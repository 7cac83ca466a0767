/**
 * @file
 * World-wide names as the simulator keeps them.
 */
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ravnsim {

/** A world-wide name: 8 bytes in wire order, most significant first. */
struct Wwn {
  std::array<std::uint8_t, 8> bytes;

  auto operator<=>(const Wwn&) const = default;
};

static_assert(sizeof(Wwn) == 8);

/** Reads "10:00:00:00:c9:12:34:56", with colons or without. */
std::optional<Wwn> parse_wwn(std::string_view text);

/** Writes a name as colon-separated hex. */
std::string to_text(const Wwn& wwn);

}  // namespace ravnsim
