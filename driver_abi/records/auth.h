/**
 * @file
 * Authentication (FC-SP DH-CHAP). No public source defines this layout: where a host shows another,
 * it is mended here.
 */
#pragma once

#include "driver_abi/wwn.h"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>

namespace ovk {

/** The two ports with which every record begins. */
struct PortPair {
  Wwn local;
  Wwn remote;
  auto operator<=>(const PortPair&) const = default;
};

enum class AuthMode : std::uint8_t { disabled = 0, enabled = 1, passive = 2 };
enum class AuthHash : std::uint8_t { md5 = 1, sha1 = 2, sha256 = 3 };

/** DH groups by the bits of their modulus. */
enum class AuthGroup : std::uint8_t {
  null = 1,
  bits_1024 = 2,
  bits_1280 = 3,
  bits_1536 = 4,
  bits_2048 = 5,
  bits_4096 = 6,
};

/** The configuration of a pair of ports. */
struct AuthConfigRecord {
  PortPair ports;
  AuthMode mode;
  std::uint8_t bidirectional;
  std::uint16_t timeout_seconds;
  std::uint8_t hash_count;
  std::array<std::uint8_t, 4> hashes;  ///< AuthHash codes in the order of preference
  std::uint8_t group_count;
  std::array<std::uint8_t, 6> groups;  ///< AuthGroup codes in the order of preference
  std::uint32_t interval_seconds;      ///< 0: authentication is not repeated
  std::uint8_t reserved36[744];
};

static_assert(sizeof(AuthConfigRecord) == 780);
static_assert(offsetof(AuthConfigRecord, mode) == 16);
static_assert(offsetof(AuthConfigRecord, timeout_seconds) == 18);
static_assert(offsetof(AuthConfigRecord, hashes) == 21);
static_assert(offsetof(AuthConfigRecord, groups) == 26);
static_assert(offsetof(AuthConfigRecord, interval_seconds) == 32);

/** The entry that a read of a configuration is for. */
enum class AuthEntry : std::uint8_t { named = 0, next = 1 };

/** The form of one direction's secret. */
enum class SecretType : std::uint8_t { none = 0, text = 1, binary = 2 };

/** The secrets of a pair of ports. */
struct AuthPasswordRecord {
  PortPair ports;
  SecretType local_type;
  std::uint8_t local_length;
  SecretType remote_type;
  std::uint8_t remote_length;
  std::array<char, 128> local;
  std::array<char, 128> remote;
  std::uint32_t reserved276;
};

static_assert(sizeof(AuthPasswordRecord) == 280);
static_assert(offsetof(AuthPasswordRecord, local_type) == 16);
static_assert(offsetof(AuthPasswordRecord, local) == 20);
static_assert(offsetof(AuthPasswordRecord, remote) == 148);

enum class AuthState : std::uint8_t { never_tried = 0, authenticated = 1, failed = 2 };

enum class AuthFailure : std::uint32_t {
  none = 0,
  no_password = 1,
  peer_silent = 2,
  board_rejected = 3,
  peer_rejected = 4,
};

/** What became of the last authentication of a pair of ports. */
struct AuthStatusRecord {
  PortPair ports;
  AuthState state;
  std::uint8_t bidirectional;
  std::uint8_t hash;   ///< an AuthHash code
  std::uint8_t group;  ///< an AuthGroup code
  AuthFailure reason;
  std::uint32_t attempts;
  std::uint32_t time;  ///< of the last attempt, in seconds since 1970
  std::uint32_t interval_seconds;
  std::uint32_t reserved36;
};

static_assert(sizeof(AuthStatusRecord) == 40);
static_assert(offsetof(AuthStatusRecord, state) == 16);
static_assert(offsetof(AuthStatusRecord, reason) == 20);
static_assert(offsetof(AuthStatusRecord, time) == 28);

}  // namespace ovk
