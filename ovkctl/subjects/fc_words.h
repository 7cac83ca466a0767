/**
 * @file
 * The codes and bit masks of Fibre Channel in words.
 */
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace ovkctl {

/** A port type, such as "N_Port". */
std::string port_type_text(std::uint32_t code);

/** A port state, such as "online". */
std::string port_state_text(std::uint32_t code);

/** The classes of service of a mask, such as "class 3". */
std::vector<std::string> service_class_list(std::uint32_t mask);

/** The FC-4 types of a bit map of 32 bytes, such as "FCP". */
std::vector<std::string> fc4_type_list(std::span<const std::uint8_t> map);

}  // namespace ovkctl
