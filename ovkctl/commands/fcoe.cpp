#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"
#include "ovkctl/subjects/fcoe_results.h"
#include "ovkctl/subjects/region_io.h"

#include <ovk/regions.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace ovkctl {
namespace {

FcoeParams read_params(std::uint32_t board) {
  FcoeParams params{};
  check_board(OVK_FCoEGetParams(board, &params), board, "Reading the FCoE parameters",
              kFcoeResults);
  return params;
}

void print_params(const Context& context, std::uint32_t board) {
  const FcoeParams params = read_params(board);
  std::uint64_t fc_map = 0;
  for (const std::uint8_t byte : params.fc_map) {
    fc_map = fc_map << 8 | byte;
  }
  Report report;
  report.field("board", "Board", board)
      .field("fc_map", "FC-MAP", Hex{fc_map, 6})
      .field("vlan_valid", "VLAN used", params.vlan_valid != 0)
      .field("vlan_id", "VLAN", params.vlan_id);
  context.print(report);
}

struct Wanted {
  Given<HexBytes> fc_map;
  Given<std::uint16_t> vlan;
  Given<bool> no_vlan;

  void apply(FcoeParams& params) const {
    if (!fc_map.present() && !vlan.present() && !*no_vlan) {
      throw UsageError("Give what is to be set: --fc-map, --vlan or --no-vlan.");
    }
    if (vlan.present() && *no_vlan) {
      throw UsageError("--vlan and --no-vlan exclude each other.");
    }
    if (fc_map.present()) {
      if (fc_map->bytes.size() != sizeof params.fc_map) {
        throw UsageError("An FC-MAP has three bytes, such as 0efc00.");
      }
      std::ranges::copy(fc_map->bytes, params.fc_map);
    }
    if (vlan.present()) {
      params.vlan_valid = 1;
      params.vlan_id = *vlan;
    } else if (*no_vlan) {
      params.vlan_valid = 0;
      params.vlan_id = 0;
    }
  }
};

void set_params(const Context& context, std::uint32_t board, const Wanted& wanted, bool yes) {
  FcoeParams params = read_params(board);
  wanted.apply(params);
  confirm(yes, "This changes how board " + std::to_string(board) +
                   " finds its fabric from the next reset on.");
  check_board(OVK_FCoESetParams(board, &params), board, "Setting the FCoE parameters",
              kFcoeResults);
  const FcoeParams stored = read_params(board);
  if (std::memcmp(&stored, &params, sizeof params) != 0) {
    fail_verification(board, "The FCoE parameters");
  }
  print_params(context, board);
}

}  // namespace

void add_fcoe(Command root) {
  const Command noun = root.subcommand("fcoe", "Show and set a board's FCoE parameters");
  add_board_command(noun, "show", "Show FC-MAP and VLAN", "ovkctl fcoe show 2", print_params);

  const Command set = noun.subcommand("set", "Set FC-MAP and VLAN");
  set.example("ovkctl fcoe set 2 --vlan 100 --yes");
  const auto set_board = set.board();
  const Wanted wanted{
      .fc_map = set.option<HexBytes>("--fc-map", "BYTES", "the three bytes of the FC-MAP"),
      .vlan = set.option<std::uint16_t>(
          "--vlan", "NUMBER", "use this VLAN", 0,
          [](const std::uint16_t& vlan) { between(0, OVK_VLAN_ID_MASK)(vlan); }),
      .no_vlan = set.flag("--no-vlan", "use no VLAN")};
  const auto yes = set.yes();
  set.action([=](const Context& context) {
    const Session session;
    set_params(context, session.board(*set_board), wanted, *yes);
  });
}

}  // namespace ovkctl
