/**
 * @file
 * Port speeds as FC-HBA bits and in Gbit/s.
 */
#pragma once

#include <cstdint>
#include <optional>

namespace ravnsim {

/** The FC-HBA bit of a speed in Gbit/s, 0 for 0; nothing for a speed that ports do not have. */
std::optional<std::uint32_t> speed_bit(std::uint32_t gbit);

/** The Gbit/s of an FC-HBA speed bit; 0 for none. */
std::uint32_t gbit_of(std::uint32_t speed_bit);

}  // namespace ravnsim
