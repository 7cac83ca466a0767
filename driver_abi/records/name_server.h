/**
 * @file
 * What the name server of a fabric tells of a port (FC-GS).
 */
#pragma once

#include <ovk/types.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace ovk {

/** The contents of an accepted GA_NXT. Numbers are bytes, the highest first. */
struct RegisteredPort {
  std::uint8_t type;
  std::array<std::uint8_t, 3> fc_id;
  Wwn port_name;
  std::uint8_t symbolic_name_length;
  char symbolic_name[255];
  Wwn node_name;
  std::uint8_t reserved276[280];
  std::array<std::uint8_t, 4> classes;
  std::array<std::uint8_t, 32> fc4_types;
  std::uint8_t reserved592[16];
  Wwn fabric_name;
  std::uint8_t reserved616[4];
};

static_assert(sizeof(RegisteredPort) == 620);
static_assert(offsetof(RegisteredPort, port_name) == 4);
static_assert(offsetof(RegisteredPort, symbolic_name_length) == 12);
static_assert(offsetof(RegisteredPort, node_name) == 268);
static_assert(offsetof(RegisteredPort, classes) == 556);
static_assert(offsetof(RegisteredPort, fc4_types) == 560);
static_assert(offsetof(RegisteredPort, fabric_name) == 608);

}  // namespace ovk
