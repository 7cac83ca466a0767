#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/subjects/ct_access.h"
#include "ovkctl/subjects/fc_words.h"

#include <cstring>

namespace ovkctl {
namespace {

constexpr std::uint32_t kNameServer = 0xFFFFFC;
constexpr std::uint32_t kMostPorts = 0x10000;

// The contents of an accepted GA_NXT (FC-GS).
constexpr std::size_t kPortName = 4;
constexpr std::size_t kSymbolicName = 12;
constexpr std::size_t kNodeName = 268;
constexpr std::size_t kClasses = 556;
constexpr std::size_t kFc4Types = 560;
constexpr std::size_t kFc4TypesSize = 32;
constexpr std::size_t kFabricName = 608;
constexpr std::size_t kContentsSize = 620;

/** Asks for the port after an address. */
ByteVector port_after(std::uint32_t board, std::uint32_t fc_id) {
  const ByteVector request{1,
                           0,
                           0,
                           0,
                           0xFC,
                           2,
                           0,
                           0,
                           0x01,
                           0x00,
                           0,
                           0,
                           0,
                           0,
                           0,
                           0,
                           0,
                           static_cast<std::uint8_t>(fc_id >> 16),
                           static_cast<std::uint8_t>(fc_id >> 8),
                           static_cast<std::uint8_t>(fc_id)};
  const ByteVector response = exchange_ct(board, kNameServer, request);
  if (!ct_accepted(response)) {
    throw OperationFailed("The name server of board " + std::to_string(board) +
                          " gave no port: " + ct_response_text(response) + ".");
  }
  ByteVector contents(response.begin() + kCtPreamble, response.end());
  contents.resize(kContentsSize);
  return contents;
}

Wwn wwn_at(const ByteVector& contents, std::size_t offset) {
  Wwn wwn;
  std::memcpy(&wwn, contents.data() + offset, sizeof wwn);
  return wwn;
}

std::string registered_type_text(std::uint8_t type) {
  switch (type) {
    case 0x01:
      return "N_Port";
    case 0x02:
      return "NL_Port";
    case 0x81:
      return "F_Port";
    case 0x82:
      return "FL_Port";
    case 0x84:
      return "E_Port";
    default:
      return "type " + hex_text(type, 2);
  }
}

void add_port(Table& table, std::uint32_t fc_id, const ByteVector& port) {
  const auto types = std::span(port).subspan(kFc4Types, kFc4TypesSize);
  table.row({FcAddress{fc_id}, wwn_at(port, kPortName), wwn_at(port, kNodeName),
             registered_type_text(port[0]), service_class_list(big_endian(port, kClasses, 4)),
             fc4_type_list(types), wwn_at(port, kFabricName),
             ascii_text(port, kSymbolicName + 1, port[kSymbolicName])});
}

Report name_server_report(std::uint32_t board) {
  Report report;
  report.field("board", "", board);
  Table& table = report.table("ports", "",
                              {{"fc_id", "FC ID"},
                               {"port_wwn", "PORT WWN"},
                               {"node_wwn", "NODE WWN"},
                               {"type", "TYPE"},
                               {"classes", ""},
                               {"fc4_types", "FC-4 TYPES"},
                               {"fabric_wwn", ""},
                               {"symbolic_name", "SYMBOLIC NAME"}},
                              "No port is registered.");
  // The server goes on with the lowest address after the highest.
  std::uint32_t fc_id = 0;
  for (std::uint32_t count = 0; count < kMostPorts; ++count) {
    const ByteVector port = port_after(board, fc_id);
    const std::uint32_t next = big_endian(port, 1, 3);
    if (next <= fc_id) {
      break;
    }
    fc_id = next;
    add_port(table, fc_id, port);
  }
  return report;
}

}  // namespace

void add_nameserver(Command root) {
  const Command nameserver = root.subcommand("nameserver", "Ask the fabric's name server");
  add_board_report(nameserver, "list", "List the ports that are registered in the fabric",
                   "ovkctl nameserver list 0", name_server_report);
}

}  // namespace ovkctl
