#include "simulator/fabric/remote_port.h"

#include "driver_abi/fc.h"
#include "driver_abi/records/rnid.h"
#include "simulator/board/port_list.h"

#include <algorithm>
#include <arpa/inet.h>

namespace ravnsim {

using ovk::Els;

namespace {

constexpr std::size_t word = 4;

constexpr ElsReject invalid_command{0x01, 0x00};
constexpr ElsReject wrong_payload{0x03, 0x2D};
constexpr ElsReject unknown_port{0x09, 0x1F};
constexpr ElsReject unknown_format{0x09, 0x2C};

/** An LS_ACC with its first word only. */
ByteVector ls_accept() { return {static_cast<std::uint8_t>(Els::ls_acc), 0, 0, 0}; }

ByteVector echo(std::span<const std::uint8_t> request) {
  ByteVector reply = ls_accept();
  put_bytes(reply, request.subspan(word));
  return reply;
}

/** Request node identification data, without or with the general topology data. */
ByteVector identify_node(const PortTopology& port, std::span<const std::uint8_t> request) {
  constexpr std::uint8_t common_only = 0x00;
  if (request.size() < 2 * word) {
    return ls_reject(wrong_payload);
  }
  const std::uint8_t format = request[word];
  if (format != common_only && format != ovk::rnid_general_topology) {
    return ls_reject(unknown_format);
  }
  const ByteVector names = record_bytes(ovk::RnidNames{port.port_wwn, port.node_wwn});
  return accept_rnid(format, names,
                     format == common_only ? ByteVector{} : topology_data(port.rnid));
}

}  // namespace

ByteVector topology_data(const RnidTopology& rnid) {
  return record_bytes(
      ovk::RnidTopologyOnWire{.unit_type = htonl(rnid.unit_type),
                              .physical_port = htonl(rnid.physical_port),
                              .attached_nodes = htonl(rnid.attached_nodes),
                              .ip_version = static_cast<std::uint8_t>(rnid.ip_version),
                              .udp_port = htons(rnid.udp_port),
                              .ip_address = rnid.ip_address,
                              .topology_flags = htons(rnid.topology_flags)});
}

ByteVector accept_rnid(std::uint8_t format, const ByteVector& common, const ByteVector& specific) {
  ByteVector reply =
      record_bytes(ovk::RnidAcceptHeader{.command = Els::ls_acc,
                                         .format = format,
                                         .names_size = static_cast<std::uint8_t>(common.size()),
                                         .data_size = static_cast<std::uint8_t>(specific.size())});
  put_bytes(reply, common);
  put_bytes(reply, specific);
  return reply;
}

ByteVector ls_reject(ElsReject reject) {
  return {static_cast<std::uint8_t>(Els::ls_rjt), 0, 0, 0, 0, reject.reason, reject.explanation, 0};
}

const PortTopology* RemotePorts::find(const Wwn& port_wwn, std::uint32_t fc_id) {
  const auto& ports = adapter_.state<PortList>();
  if (port_wwn != Wwn{}) {
    return ports.find(port_wwn);
  }
  const auto found = std::ranges::find(ports.ports(), fc_id, &PortTopology::fc_id);
  return found != ports.ports().end() ? &*found : nullptr;
}

/** Read link error status: of the port that the request names. */
ByteVector RemotePorts::read_link_errors(std::span<const std::uint8_t> request) {
  if (request.size() < 2 * word) {
    return ls_reject(wrong_payload);
  }
  const std::uint32_t fc_id = get_number(request, word + 1, 3);
  if (find({}, fc_id) == nullptr) {
    return ls_reject(unknown_port);
  }
  const std::uint32_t reading = ++readings_[fc_id];
  ByteVector reply = ls_accept();
  put_number(reply, 1, 4);            // link failures
  put_number(reply, 2, 4);            // losses of synchronisation
  put_number(reply, 1, 4);            // losses of signal
  put_number(reply, 0, 4);            // primitive sequence protocol errors
  put_number(reply, 7 * reading, 4);  // invalid transmission words
  put_number(reply, reading, 4);      // invalid CRCs
  return reply;
}

ByteVector RemotePorts::answer_els(const PortTopology& port,
                                   std::span<const std::uint8_t> request) {
  if (request.size() < word) {
    return ls_reject(wrong_payload);
  }
  switch (static_cast<Els>(request[0])) {
    case Els::echo:
      return echo(request);
    case Els::rnid:
      return identify_node(port, request);
    case Els::rls:
      return read_link_errors(request);
    default:
      return ls_reject(invalid_command);
  }
}

}  // namespace ravnsim
