#include "driver_abi/fc.h"
#include "driver_abi/records/name_server.h"
#include "ovkctl/frame/command.h"
#include "ovkctl/subjects/fc_words.h"
#include "ovkctl/subjects/scsi_access.h"

#include <ovk/fabric.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace ovkctl {
namespace {

constexpr Word<HexBytes> els_request_word{"REQUEST", "the request in hex", "10000000deadbeef"};
constexpr Word<HexBytes> ct_request_word{"REQUEST", "the CT_IU in hex, preamble included",
                                         "01000000fc020000017100000000000000000008"};

// ---- CT -------------------------------------------------------------------------------------

/** The bytes before the contents of a CT_IU (FC-GS). */
constexpr std::size_t ct_preamble = 16;

constexpr ResultText ct_results[] = {
    {static_cast<std::uint32_t>(OVK_CT_NOT_READY), "the port cannot send now",
     "See with \"ovkctl list\" whether the board is ready and its link is up."},
    {static_cast<std::uint32_t>(OVK_CT_NO_RESOURCES), "there is no memory or the transport failed",
     "Run the command again."},
    {static_cast<std::uint32_t>(OVK_CT_TOO_LONG), "the request or the response is too long",
     "Ask for less at a time."},
    {static_cast<std::uint32_t>(OVK_CT_FAILED),
     "the address is not a well-known one, or the server did not answer",
     "The name server is 0xfffffc, the management server 0xfffffa."},
};

constexpr auto reject_reasons = words<std::uint8_t>({{0x01, "invalid command code"},
                                                     {0x02, "invalid version"},
                                                     {0x03, "logical error"},
                                                     {0x04, "invalid CT_IU size"},
                                                     {0x05, "logical busy"},
                                                     {0x07, "protocol error"},
                                                     {0x09, "unable to perform the command"},
                                                     {0x0B, "command not supported"}});

constexpr Word<std::uint32_t> address_word{
    "DESTINATION", "well-known address of the form 0xffffXX", "0xfffffc", {0xFFFF00, 0xFFFFFF}};

/** Sends a CT_IU to a well-known address and gives the response. */
Bytes exchange_ct(const Board& board, std::uint32_t destination,
                  std::span<const std::uint8_t> request) {
  Bytes response(OVK_CT_MAX_LENGTH);
  const std::int32_t result =
      GetCTInfo(board, destination, request.data(), static_cast<std::uint32_t>(request.size()),
                response.data(), static_cast<std::uint32_t>(response.size()));
  if (result < 0) {
    board.check(static_cast<std::uint32_t>(result), "The CT exchange", ct_results);
  }
  response.resize(std::min<std::size_t>(static_cast<std::size_t>(result), response.size()));
  return response;
}

/** The response code of a CT_IU in words. */
std::string response_text(std::span<const std::uint8_t> response) {
  if (response.size() < ct_preamble) {
    return "no CT_IU";
  }
  const std::uint32_t code = big_endian(response, 8, 2);
  if (code == ovk::ct_accepted) {
    return "accepted";
  }
  if (code != ovk::ct_rejected) {
    return "response code " + hex_text(code, 4);
  }
  const std::uint8_t reason = response[13];
  return fmt::format("rejected: {}, explanation {}",
                     word_or_hex(reject_reasons, reason, 2, "reason "), hex_text(response[14], 2));
}

Report send_ct(const Board& board, std::uint32_t destination, const HexBytes& request) {
  const Bytes response = exchange_ct(board, destination, request.bytes);
  return Report{}
      .field("response", "Response", response_text(response))
      .field("length", "Length", Size{response.size()})
      .payload("data", "", response);
}

// ---- ELS ------------------------------------------------------------------------------------

constexpr ResultText els_results[] = {
    {OVK_ELS_NO_RESPONSE, "the port did not answer",
     "See with \"ovkctl ports\" whether the board sees the port."},
};

constexpr Word<HexBytes> destination_word{"DESTINATION",
                                          "port WWN, or the driver's descriptor of 16 bytes in hex",
                                          "10:00:02:0a:54:00:00:01"};

/** A descriptor as it stands, or a port WWN at its begin. */
ElsDestination destination_of(const HexBytes& given) {
  ElsDestination destination{};
  if (given.bytes.size() != sizeof(Wwn) && given.bytes.size() != sizeof destination) {
    throw UsageError("DESTINATION is a port WWN or the driver's descriptor of 16 bytes.");
  }
  std::ranges::copy(given.bytes, destination.bytes);
  return destination;
}

std::string reply_text(const Bytes& reply) {
  const auto code = static_cast<ovk::Els>(big_endian(reply, 0, 1));
  if (code == ovk::Els::ls_rjt) {
    return fmt::format("LS_RJT, reason {}, explanation {}", hex_text(big_endian(reply, 5, 1), 2),
                       hex_text(big_endian(reply, 6, 1), 2));
  }
  return code == ovk::Els::ls_acc ? "LS_ACC"
                                  : "code " + hex_text(static_cast<std::uint32_t>(code), 2);
}

Report send_els(const Board& board, const HexBytes& destination, const HexBytes& request) {
  const ElsDestination port = destination_of(destination);
  const auto size = static_cast<std::uint32_t>(request.bytes.size());
  if (size == 0 || size > OVK_ELS_MAX_LENGTH) {
    throw UsageError("REQUEST has 1 to 1024 bytes.");
  }
  Bytes reply(OVK_ELS_MAX_LENGTH);
  std::uint32_t length = 0;
  board.check(OVK_SendELSCmd(board, &port, request.bytes.data(), size, reply.data(), &length),
              "The ELS exchange", els_results);
  reply.resize(std::min<std::size_t>(length, reply.size()));
  return Report{}
      .field("reply", "Reply", reply_text(reply))
      .field("length", "Length", Size{reply.size()})
      .payload("data", "", reply);
}

// ---- name server ----------------------------------------------------------------------------

constexpr std::uint32_t name_server = ovk::well_known_addresses | ovk::directory_service;
constexpr std::uint32_t most_ports = 0x10000;

/** The types that ports register (FC-GS). */
constexpr auto registered_types = words<std::uint8_t>(
    {{0x01, "N_Port"}, {0x02, "NL_Port"}, {0x81, "F_Port"}, {0x82, "FL_Port"}, {0x84, "E_Port"}});

using ovk::RegisteredPort;

std::uint32_t address_of(const RegisteredPort& port) { return big_endian(port.fc_id, 0, 3); }

std::string type_text(const RegisteredPort& port) {
  return word_or_hex(registered_types, port.type, 2, "type ");
}

std::string symbolic_name_text(const RegisteredPort& port) {
  return fixed_text(std::span{port.symbolic_name}.first(port.symbolic_name_length));
}

constexpr Column<RegisteredPort> registered_columns[] = {
    {"fc_id", "FC ID", as<FcAddress, address_of>},
    {"port_wwn", "PORT WWN", field<&RegisteredPort::port_name>},
    {"node_wwn", "NODE WWN", field<&RegisteredPort::node_name>},
    {"type", "TYPE", field<type_text>},
    {"classes", "",
     [](const RegisteredPort& port) { return service_class_list(big_endian(port.classes, 0, 4)); }},
    {"fc4_types", "FC-4 TYPES", field<&RegisteredPort::fc4_types, fc4_type_list>},
    {"fabric_wwn", "", field<&RegisteredPort::fabric_name>},
    {"symbolic_name", "SYMBOLIC NAME", field<symbolic_name_text>},
};

/** Asks with GA_NXT for the port after an address. */
RegisteredPort port_after(const Board& board, std::uint32_t fc_id) {
  constexpr std::size_t port_id = 17;
  std::array<std::uint8_t, 20> request{1, 0, 0, 0, ovk::directory_service, 2, 0, 0, 0x01, 0x00};
  request[port_id] = static_cast<std::uint8_t>(fc_id >> 16);
  request[port_id + 1] = static_cast<std::uint8_t>(fc_id >> 8);
  request[port_id + 2] = static_cast<std::uint8_t>(fc_id);
  const Bytes response = exchange_ct(board, name_server, request);
  if (response.size() < ct_preamble || big_endian(response, 8, 2) != ovk::ct_accepted) {
    throw OperationFailed(fmt::format("The name server of {} gave no port: {}.", board.name(),
                                      response_text(response)));
  }
  RegisteredPort port{};
  std::memcpy(&port, response.data() + ct_preamble,
              std::min(sizeof port, response.size() - ct_preamble));
  return port;
}

Report list_registered(const Board& board) {
  std::vector<RegisteredPort> ports;
  // The server goes on with the lowest address after the highest.
  for (std::uint32_t last = 0; ports.size() < most_ports; last = address_of(ports.back())) {
    const RegisteredPort port = port_after(board, last);
    if (address_of(port) <= last) {
      break;
    }
    ports.push_back(port);
  }
  return board.listing().table("ports", "", registered_columns, ports, "No port is registered.");
}

}  // namespace

void add_fabric(Command root) {
  root.command("ct", "Send a CT_IU to a server of the fabric")
      .takes(address_word, ct_request_word)
      .saves()
      .shows(send_ct);
  root.command("els", "Send an extended link service request to a port")
      .takes(destination_word, els_request_word)
      .saves()
      .shows(send_els);
  root.noun("nameserver", "Ask the fabric's name server")
      .command("list", "List the ports that are registered in the fabric")
      .shows(list_registered);
}

}  // namespace ovkctl
