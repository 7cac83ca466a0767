#include "ovkctl/subjects/rnid_reply.h"

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/values.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstddef>
#include <utility>

namespace ovkctl {
namespace {

constexpr std::uint8_t kLsAcc = 0x02;
constexpr std::uint8_t kGeneralTopology = 0xdf;
constexpr std::size_t kNamesSize = 16;
constexpr std::size_t kTopologySize = 52;
constexpr std::size_t kVendorUniqueSize = 16;

constexpr std::uint16_t kNoIp = 0;
constexpr std::uint16_t kIpv4 = 1;
constexpr std::uint16_t kIpv6 = 2;
constexpr std::size_t kIpv4Place = 12;  // an IPv4 address stands in the last bytes of its field

/** Takes numbers and bytes in wire order out of bytes of which there are enough. */
class Cursor {
 public:
  explicit Cursor(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  template <typename Number>
  Number number() {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : take(sizeof(Number))) {
      value = value << 8 | byte;
    }
    return static_cast<Number>(value);
  }

  template <typename Bytes>
  Bytes bytes() {
    Bytes copy;
    std::ranges::copy(take(std::size(copy)), std::begin(copy));
    return copy;
  }

  Wwn wwn() {
    Wwn name;
    std::ranges::copy(take(sizeof name), name.bytes);
    return name;
  }

  std::size_t left() const { return bytes_.size(); }
  void skip(std::size_t count) { take(count); }

 private:
  std::span<const std::uint8_t> take(std::size_t count) {
    const auto taken = bytes_.first(count);
    bytes_ = bytes_.subspan(count);
    return taken;
  }

  std::span<const std::uint8_t> bytes_;
};

RnidTopology parse_topology(Cursor& cursor) {
  cursor.skip(kVendorUniqueSize);
  RnidTopology topology{};
  topology.unit_type = cursor.number<std::uint32_t>();
  topology.physical_port = cursor.number<std::uint32_t>();
  topology.attached_nodes = cursor.number<std::uint32_t>();
  cursor.skip(1);  // node management
  topology.ip_version = cursor.number<std::uint8_t>();
  topology.udp_port = cursor.number<std::uint16_t>();
  topology.ip_address = cursor.bytes<std::array<std::uint8_t, 16>>();
  cursor.skip(2);
  topology.flags = cursor.number<std::uint16_t>();
  return topology;
}

}  // namespace

std::optional<RnidReply> parse_rnid_reply(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t header_size = 8;
  if (bytes.size() < header_size || bytes[0] != kLsAcc) {
    return std::nullopt;
  }
  Cursor cursor(bytes);
  cursor.skip(4);  // the command
  RnidReply reply{.format = cursor.number<std::uint8_t>(), .names = {}, .topology = {}};
  const std::size_t names_size = cursor.number<std::uint8_t>();
  cursor.skip(1);
  const std::size_t specific_size = cursor.number<std::uint8_t>();
  if (cursor.left() < names_size + specific_size) {
    return std::nullopt;
  }
  if (names_size == kNamesSize) {
    reply.names = RnidNames{cursor.wwn(), cursor.wwn()};
  } else {
    cursor.skip(names_size);
  }
  if (reply.format == kGeneralTopology && specific_size == kTopologySize) {
    reply.topology = parse_topology(cursor);
  }
  return reply;
}

std::string ip_version_text(std::uint16_t version) {
  switch (version) {
    case kNoIp:
      return "none";
    case kIpv4:
      return "IPv4";
    case kIpv6:
      return "IPv6";
    default:
      return hex_text(version, 4);
  }
}

std::string unit_type_text(std::uint32_t type) {
  static constexpr std::pair<std::uint32_t, const char*> texts[] = {
      {0x01, "unknown"},
      {0x02, "other"},
      {0x03, "hub"},
      {0x04, "switch"},
      {0x05, "gateway"},
      {0x09, "storage device"},
      {0x0a, "host"},
      {0x0b, "storage subsystem"},
      {0x0e, "storage access device"},
      {0x11, "NAS device"},
      {0x12, "bridge"},
      {0x13, "virtualization device"},
      {0xff, "multi-function device"},
  };
  const auto* const found =
      std::ranges::find(texts, type, &std::pair<std::uint32_t, const char*>::first);
  return found != std::end(texts) ? found->second : hex_text(type, 2);
}

std::string ip_address_text(std::uint16_t version, const std::array<std::uint8_t, 16>& address) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (version == kIpv4) {
    inet_ntop(AF_INET, &address[kIpv4Place], text.data(), text.size());
  } else if (version == kIpv6) {
    inet_ntop(AF_INET6, address.data(), text.data(), text.size());
  }
  return text.data();
}

std::pair<std::uint16_t, std::array<std::uint8_t, 16>> parse_ip_address(const std::string& text) {
  std::array<std::uint8_t, 16> address{};
  if (inet_pton(AF_INET, text.c_str(), &address[kIpv4Place]) == 1) {
    return {kIpv4, address};
  }
  if (inet_pton(AF_INET6, text.c_str(), address.data()) == 1) {
    return {kIpv6, address};
  }
  throw UsageError("\"" + text + "\" is no IP address.");
}

}  // namespace ovkctl
