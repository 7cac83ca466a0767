/**
 * @file
 * The records that the library hands through and that only the driver lays out, in the layout that
 * docs/simulator.md describes.
 */
#ifndef OVKCTL_DRIVER_RECORDS_H
#define OVKCTL_DRIVER_RECORDS_H

#include "ovkctl/subjects/record_cast.h"

#include <ovk/auth.h>
#include <ovk/features.h>
#include <ovk/types.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace ovkctl {

/** A range of priorities that the fabric gives to virtual machines. */
struct QfpaRange {
  std::uint8_t low;
  std::uint8_t high;
  std::uint8_t qos_priority;
  std::uint8_t ve_id_usage;
  std::uint8_t reserved4[4];
};

/** What is in a QfpaPriorityList. */
struct [[gnu::packed]] QfpaRecord {
  std::uint16_t count;
  std::array<QfpaRange, 64> ranges;
};

static_assert(sizeof(QfpaRecord) == sizeof(QfpaPriorityList));

/** What an update does with a machine. */
enum VmidAction : std::uint32_t { kAddMachine = 1, kRemoveMachine = 2 };

/** A virtual machine and the identifier of its frames. */
struct VmidMachine {
  std::array<std::uint8_t, 16> uuid;
  std::array<char, 256> name;
  std::uint32_t identifier;
  std::uint32_t action;
  std::uint32_t qos_priority;
  std::uint8_t reserved284[16];
};

/** What is in a VMidMapping. */
struct VmidRecord {
  std::uint32_t count;
  std::uint32_t reserved4;
  std::array<VmidMachine, 256> machines;
};

static_assert(sizeof(VmidMachine) == 300);
static_assert(sizeof(VmidRecord) == sizeof(VMidMapping));

/** The two ports with which every authentication record begins. */
struct PortPair {
  Wwn local;
  Wwn remote;
};

/** What is in an AuthConfig. */
struct AuthConfigRecord {
  PortPair ports;
  std::uint8_t mode;
  std::uint8_t bidirectional;
  std::uint16_t timeout_seconds;
  std::uint8_t hash_count;
  std::array<std::uint8_t, 4> hashes;
  std::uint8_t group_count;
  std::array<std::uint8_t, 6> groups;
  std::uint32_t interval_seconds;
  std::uint8_t reserved36[744];
};

static_assert(sizeof(AuthConfigRecord) == sizeof(AuthConfig));
static_assert(offsetof(AuthConfigRecord, interval_seconds) == 32);

/** The form of a secret. */
enum SecretType : std::uint8_t { kNoSecret = 0, kTextSecret = 1 };

/** What is in an AuthPassword. */
struct AuthPasswordRecord {
  PortPair ports;
  std::uint8_t local_type;
  std::uint8_t local_length;
  std::uint8_t remote_type;
  std::uint8_t remote_length;
  std::array<char, 128> local;
  std::array<char, 128> remote;
  std::uint32_t reserved276;
};

static_assert(sizeof(AuthPasswordRecord) == sizeof(AuthPassword));
static_assert(offsetof(AuthPasswordRecord, local) == 20);

/** What is in an AuthStatus. */
struct AuthStatusRecord {
  PortPair ports;
  std::uint8_t state;
  std::uint8_t bidirectional;
  std::uint8_t hash;
  std::uint8_t group;
  std::uint32_t reason;
  std::uint32_t attempts;
  std::uint32_t time;
  std::uint32_t interval_seconds;
  std::uint32_t reserved36;
};

static_assert(sizeof(AuthStatusRecord) == sizeof(AuthStatus));
static_assert(offsetof(AuthStatusRecord, reason) == 20);

}  // namespace ovkctl

#endif
