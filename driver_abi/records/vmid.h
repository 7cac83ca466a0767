/**
 * @file
 * Virtual machine identifiers, and the priority ranges that the fabric gives (QFPA). No public
 * source defines this layout: where a host shows another, it is mended here.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ovk {

/** A range of priorities that the fabric gives to virtual machines. */
struct QfpaRange {
  std::uint8_t low;
  std::uint8_t high;
  std::uint8_t qos_priority;
  std::uint8_t ve_id_usage;
  std::uint8_t reserved4[4];
};

/** The answer to RAVN_MGMT_VMID_GET_QFPA. */
struct [[gnu::packed]] QfpaRecord {
  std::uint16_t count;
  std::array<QfpaRange, 64> ranges;
};

static_assert(sizeof(QfpaRange) == 8);
static_assert(sizeof(QfpaRecord) == 514);
static_assert(offsetof(QfpaRecord, ranges) == 2);

/** What an update does with a machine. */
enum class VmidAction : std::uint32_t { add = 1, remove = 2 };

/** A virtual machine and the identifier of its frames. */
struct VmidMachine {
  std::array<std::uint8_t, 16> uuid;
  std::array<char, 256> name;  ///< NUL-padded
  std::uint32_t identifier;    ///< 0 in an update: the driver chooses
  VmidAction action;           ///< of an update; add in the driver's answer
  std::uint32_t qos_priority;  ///< that of the identifier's range
  std::uint8_t reserved284[16];
};

static_assert(sizeof(VmidMachine) == 300);
static_assert(offsetof(VmidMachine, name) == 16);
static_assert(offsetof(VmidMachine, identifier) == 272);
static_assert(offsetof(VmidMachine, qos_priority) == 280);

/** What RAVN_MGMT_VMID_GET_ID_MAPPING gives and RAVN_MGMT_VMID_UPDATE_MAPPING takes. */
struct VmidRecord {
  std::uint32_t count;
  std::uint32_t reserved4;
  std::array<VmidMachine, 256> machines;
};

static_assert(sizeof(VmidRecord) == 76808);
static_assert(offsetof(VmidRecord, machines) == 8);

}  // namespace ovk
