/**
 * @file
 * The accept of an RNID as it came over the wire.
 */
#ifndef OVKCTL_RNID_REPLY_H
#define OVKCTL_RNID_REPLY_H

#include <ovk/types.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace ovkctl {

/** The common identification data. */
struct RnidNames {
  Wwn port_wwn;
  Wwn node_wwn;
};

/** The general topology discovery data. */
struct RnidTopology {
  std::uint32_t unit_type;
  std::uint32_t physical_port;
  std::uint32_t attached_nodes;
  std::uint16_t ip_version;
  std::uint16_t udp_port;
  std::array<std::uint8_t, 16> ip_address;
  std::uint16_t flags;
};

/** An LS_ACC (FC-LS), with the parts that it carries. */
struct RnidReply {
  std::uint8_t format;
  std::optional<RnidNames> names;
  std::optional<RnidTopology> topology;
};

/** Reads an LS_ACC; nothing when the bytes are none, or end too early. */
std::optional<RnidReply> parse_rnid_reply(std::span<const std::uint8_t> bytes);

/** An IP version code of FC-LS in words. */
std::string ip_version_text(std::uint16_t version);

/** A unit type (associated type of FC-LS) in words. */
std::string unit_type_text(std::uint32_t type);

/** An address of the field for IP addresses; empty when there is none. */
std::string ip_address_text(std::uint16_t version, const std::array<std::uint8_t, 16>& address);

/** The field and its version for an address; throws UsageError for a text that is none. */
std::pair<std::uint16_t, std::array<std::uint8_t, 16>> parse_ip_address(const std::string& text);

}  // namespace ovkctl

#endif
