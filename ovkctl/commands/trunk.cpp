#include "driver_abi/records/link.h"
#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"

#include <ovk/info.h>

#include <bit>
#include <cstdint>

namespace ovkctl {
namespace {

constexpr std::uint32_t kMbitPerGbit = 1000;
constexpr std::uint32_t kPortBits = 32;

constexpr ResultText kTrunkResults[] = {
    {OVK_TRUNK_REFUSED, "the host's channel refused the command",
     "Check that the driver and the library are of versions that fit each other."},
};

Report trunk_report(std::uint32_t board) {
  TrunkInfo info{};
  check_board(OVK_GetTrunkInfo(board, &info), board, "Reading the trunk", kTrunkResults);
  const auto trunk = std::bit_cast<ovk::TrunkRecord>(info);
  Report report;
  report.field("board", "Board", board)
      .field("trunked", "Trunk", trunk.ports != 0)
      .field("port_speed_gbit", "Speed of a port (Gbit/s)", trunk.port_speed_mbit / kMbitPerGbit);
  Table& ports = report.table("ports", "", {{"port", "PORT"}, {"link", "LINK"}},
                              "The port is not part of a trunk.");
  for (std::uint32_t port = 0; port < kPortBits; ++port) {
    if ((trunk.ports >> port & 1) != 0) {
      ports.row({port, (trunk.ports_up >> port & 1) != 0 ? "up" : "down"});
    }
  }
  return report;
}

}  // namespace

void add_trunk(Command root) {
  add_board_report(root, "trunk", "Show the physical ports that make up a trunk", "ovkctl trunk 0",
                   trunk_report);
}

}  // namespace ovkctl
