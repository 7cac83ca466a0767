#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/subjects/board_text.h"

#include <ovk/features.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>

namespace ovkctl {
namespace {

constexpr const char* kSwitchedOff = "Switch optimized access on in the adapter's settings.";

constexpr ResultText kOasResults[] = {
    {OVK_OAS_VERSION_TOO_LOW, "the driver's rules have no priority",
     "Leave --priority out, or update the driver."},
    {OVK_OAS_NO_SUCH_PORT, "the board has no such local port",
     "See with \"ovkctl ports\" which port the board has."},
    {OVK_OAS_NO_MEMORY, "there is not enough memory", "Free memory and run the command again."},
    {OVK_OAS_NODES_UNKNOWN,
     "the driver took the rule, but it could not be checked whether the target is logged in",
     "See with \"ovkctl oas list\" whether the rule is there."},
    {OVK_OAS_TARGET_UNKNOWN,
     "the driver took the rule, but the board is not logged in with the target",
     "Check the name of the target with \"ovkctl ports\". Until it logs in, the rule has no "
     "effect."},
    {OVK_OAS_NOT_SUPPORTED, "the driver does not offer optimized access",
     "See with \"ovkctl show\" which adapter and driver this is."},
    {OVK_OAS_DISABLED, "optimized access is switched off on the adapter", kSwitchedOff},
    {OVK_OAS_RULE_REFUSED, "the driver does not take the rule, or has no room for it",
     "See with \"ovkctl oas list\" which rules there are, and remove one."},
};

constexpr ResultText kRemoveResults[] = {
    {OVK_FAILED, "the command was not delivered or the driver has no such rule",
     "See with \"ovkctl oas list\" which rules there are."},
    {OVK_OAS_NOT_SUPPORTED, "the driver does not offer optimized access",
     "See with \"ovkctl show\" which adapter and driver this is."},
    {OVK_OAS_DISABLED, "optimized access is switched off on the adapter", kSwitchedOff},
};

constexpr const char* kAdding = "Adding the optimized-access rule";

/** The arguments that all commands have: which board, and between which ports. */
struct Ports {
  explicit Ports(const Command& command)
      : board(command.board()),
        target(command.argument<Wwn>("TARGET", "port WWN of the target")),
        local(command.option<Wwn>("--local", "WWN", "port WWN of the board's port")) {}

  /** The local port: the board's own unless the command line names another. */
  Wwn local_of(std::uint32_t index) const {
    return local.present() ? *local : read_own_port(index).PortWWN;
  }

  Given<BoardIndex> board;
  Given<Wwn> target;
  Given<Wwn> local;
};

std::uint64_t lun_number(const OasLun& lun) {
  std::uint64_t number = 0;
  for (const std::uint8_t byte : lun.lun) {
    number = number << 8 | byte;
  }
  return number;
}

/** Reads the list; that the ports have no logical unit is an empty one. */
std::unique_ptr<OasLunList> read_list(std::uint32_t board, const Wwn& local, const Wwn& target) {
  auto list = std::make_unique<OasLunList>();
  list->count = OVK_OAS_MAX_LUNS;
  const std::uint32_t result = OVK_GetOASLunList(board, &local, &target, 0, list.get());
  if (result == OVK_OAS_NO_LUN) {
    list->count = 0;
  } else if (result != OVK_MORE_DATA) {
    check_board(result, board, "Reading the optimized-access list", kOasResults);
  }
  return list;
}

Report list_report(std::uint32_t board, const Wwn& local, const Wwn& target) {
  const auto list = read_list(board, local, target);
  Report report;
  report.field("board", "Board", board)
      .field("local_port", "Local port", local)
      .field("target_port", "Target port", target)
      .field("count", "Logical units", list->count);
  Table& table = report.table("luns", "",
                              {{"lun", "LUN"},
                               {"scsi_lun", "SCSI LUN"},
                               {"active", "ACTIVE"},
                               {"has_priority", "OWN PRIORITY"},
                               {"priority", "PRIORITY"}},
                              "No logical unit has optimized access.");
  const std::uint32_t delivered = std::min<std::uint32_t>(list->count, std::size(list->luns));
  for (std::uint32_t i = 0; i < delivered; ++i) {
    const OasLun& lun = list->luns[i];
    table.row({lun_number(lun), Hex{lun.scsi_lun, 16}, lun.flag0 != 0, lun.flag1 != 0,
               lun.flag1 != 0 ? Cell(lun.priority) : Cell()});
  }
  if (delivered < list->count) {
    report.note("The driver has more than it gives at a time.");
  }
  return report;
}

std::uint32_t send_rule(std::uint32_t board, const Wwn& local, const Wwn& target, std::uint64_t lun,
                        OvkOasOperation operation) {
  return OVK_SetOASLun(board, &local, &target, static_cast<std::uint32_t>(lun),
                       static_cast<std::uint32_t>(lun >> 32), 0,
                       static_cast<std::uint8_t>(operation));
}

void remove_rule(std::uint32_t board, const Wwn& local, const Wwn& target, std::uint64_t lun) {
  const std::uint32_t result = send_rule(board, local, target, lun, OVK_OAS_CLEAR);
  // Whether the target is logged in does not matter to a rule that is gone.
  if (result != OVK_OAS_NODES_UNKNOWN && result != OVK_OAS_TARGET_UNKNOWN) {
    check_board(result, board, "Removing the optimized-access rule", kRemoveResults);
  }
}

void set_rule_with_priority(std::uint32_t board, const Wwn& local, const Wwn& target,
                            std::uint64_t lun, std::uint32_t priority) {
  const OasRule rule{
      .operation = OVK_OAS_SET, .priority = static_cast<std::uint8_t>(priority), .lun = lun};
  check_board(OVK_SetOASLunV2(board, &local, &target, 0, &rule), board, kAdding, kOasResults);
}

void add_list(const Command& oas) {
  const Command list =
      oas.subcommand("list", "Show the logical units of a target with optimized access");
  list.example("ovkctl oas list 0 10:00:02:0a:54:00:00:01");
  const Ports ports(list);
  list.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*ports.board);
    context.print(list_report(index, ports.local_of(index), *ports.target));
  });
}

void add_add(const Command& oas) {
  const Command add = oas.subcommand("add", "Give a logical unit optimized access");
  add.example("ovkctl oas add 0 10:00:02:0a:54:00:00:01 5");
  add.example("ovkctl oas add 0 10:00:02:0a:54:00:00:01 5 --priority 100");
  const Ports ports(add);
  const auto lun = add.argument<std::uint64_t>("LUN", "the logical unit's number");
  const auto priority =
      add.option<std::uint32_t>("--priority", "NUMBER", "0 to 127: a priority of its own", 0,
                                between(0, OVK_OAS_MAX_PRIORITY));
  add.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*ports.board);
    const Wwn local = ports.local_of(index);
    if (priority.present()) {
      set_rule_with_priority(index, local, *ports.target, *lun, *priority);
    } else {
      check_board(send_rule(index, local, *ports.target, *lun, OVK_OAS_SET), index, kAdding,
                  kOasResults);
    }
    context.print(list_report(index, local, *ports.target));
  });
}

void add_remove(const Command& oas) {
  const Command remove = oas.subcommand("remove", "Take optimized access from a logical unit");
  remove.example("ovkctl oas remove 0 10:00:02:0a:54:00:00:01 5");
  const Ports ports(remove);
  const auto lun = remove.argument<std::uint64_t>("LUN", "the logical unit's number");
  remove.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*ports.board);
    const Wwn local = ports.local_of(index);
    remove_rule(index, local, *ports.target, *lun);
    context.print(list_report(index, local, *ports.target));
  });
}

}  // namespace

void add_oas(Command root) {
  const Command oas = root.subcommand("oas", "Show and change optimized access storage (OAS)");
  add_list(oas);
  add_add(oas);
  add_remove(oas);
}

}  // namespace ovkctl
