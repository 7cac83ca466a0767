/**
 * @file
 * The codes and bit masks of FC-HBA in words.
 */
#ifndef OVKCTL_FC_WORDS_H
#define OVKCTL_FC_WORDS_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ovkctl {

/** A port type, such as "N_Port". */
std::string port_type_text(std::uint32_t code);

/** A port state, such as "online". */
std::string port_state_text(std::uint32_t code);

/** The Gbit/s of a port speed; nothing when it is not negotiated or not known. */
std::optional<std::uint32_t> speed_gbit(std::uint32_t code);

/** A port speed, such as "16 Gbit/s". */
std::string speed_text(std::uint32_t code);

/** A number of Gbit/s with its unit. */
std::string gbit_text(std::uint32_t gbit);

/** The Gbit/s of a mask of supported speeds, slowest first. */
std::vector<std::uint32_t> speed_list(std::uint32_t mask);

/** The classes of service of a mask, such as "class 3". */
std::vector<std::string> service_class_list(std::uint32_t mask);

/** The FC-4 types of a bit map of 32 bytes, such as "FCP". */
std::vector<std::string> fc4_type_list(std::span<const std::uint8_t> map);

}  // namespace ovkctl

#endif
