#include "ovkctl/frame/command.h"
#include "ovkctl/subjects/board_text.h"

#include <ovk/features.h>

#include <bit>
#include <endian.h>
#include <memory>

namespace ovkctl {
namespace {

constexpr ResultText not_offered = {OVK_OAS_NOT_SUPPORTED,
                                    "the driver does not offer optimized access",
                                    "See with \"ovkctl show\" which adapter and driver this is."};
constexpr ResultText switched_off = {OVK_OAS_DISABLED,
                                     "optimized access is switched off on the adapter",
                                     "Switch optimized access on in the adapter's settings."};

constexpr ResultText oas_results[] = {
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
    not_offered,
    switched_off,
    {OVK_OAS_RULE_REFUSED, "the driver does not take the rule, or has no room for it",
     "See with \"ovkctl oas list\" which rules there are, and remove one."},
};

constexpr ResultText remove_results[] = {
    {OVK_FAILED, "the command was not delivered or the driver has no such rule",
     "See with \"ovkctl oas list\" which rules there are."},
    not_offered,
    switched_off,
};

constexpr Word<Wwn> target_word{"TARGET", "port WWN of the target", "10:00:02:0a:54:00:00:01"};
constexpr Word<std::uint64_t> lun_word{"LUN", "the logical unit's number", "5"};
constexpr Option<Wwn> local_option{"--local", "WWN", "port WWN of the board's port"};
constexpr Option<std::uint8_t> priority_option{
    "--priority", "NUMBER", "0 to 127: a priority of its own", "", {0, OVK_OAS_MAX_PRIORITY}};

std::uint64_t lun_number(const OasLun& lun) {
  return be64toh(std::bit_cast<std::uint64_t>(lun.lun));
}

constexpr Column<OasLun> lun_columns[] = {
    {"lun", "LUN", field<lun_number>},
    {"scsi_lun", "SCSI LUN", as<Hex, &OasLun::scsi_lun, 16>},
    {"active", "ACTIVE", [](const OasLun& lun) { return lun.flag0 != 0; }},
    {"has_priority", "OWN PRIORITY", [](const OasLun& lun) { return lun.flag1 != 0; }},
    {"priority", "PRIORITY",
     [](const OasLun& lun) { return lun.flag1 != 0 ? Cell{lun.priority} : Cell{}; }},
};

/** Reads the list; that the ports have no logical unit is an empty one. */
std::unique_ptr<OasLunList> read_list(const Board& board, const ovk::PortPair& ports) {
  auto list = std::make_unique<OasLunList>();
  list->count = OVK_OAS_MAX_LUNS;
  const std::uint32_t result = OVK_GetOASLunList(board, &ports.local, &ports.remote, 0, list.get());
  if (result == OVK_OAS_NO_LUN) {
    list->count = 0;
  } else if (result != OVK_MORE_DATA) {
    board.check(result, "Reading the optimized-access list", oas_results);
  }
  return list;
}

Report list_report(const Board& board, const ovk::PortPair& ports) {
  const auto list = read_list(board, ports);
  const std::span delivered = first_of(list->luns, list->count);
  Report report =
      board.report()
          .field("local_port", "Local port", ports.local)
          .field("target_port", "Target port", ports.remote)
          .field("count", "Logical units", list->count)
          .table("luns", "", lun_columns, delivered, "No logical unit has optimized access.");
  if (delivered.size() < list->count) {
    report.note("The driver has more than it gives at a time.");
  }
  return report;
}

Report list(const Board& board, const Wwn& target, const std::optional<Wwn>& local) {
  return list_report(board, ports_of(board, target, local));
}

std::uint32_t send_rule(const Board& board, const ovk::PortPair& ports, std::uint64_t lun,
                        std::uint8_t operation) {
  return OVK_SetOASLun(board, &ports.local, &ports.remote, static_cast<std::uint32_t>(lun),
                       static_cast<std::uint32_t>(lun >> 32), 0, operation);
}

Report add(const Board& board, const Wwn& target, std::uint64_t lun,
           const std::optional<Wwn>& local, std::optional<std::uint8_t> priority) {
  const ovk::PortPair ports = ports_of(board, target, local);
  const OasRule rule{.operation = OVK_OAS_SET, .priority = priority.value_or(0), .lun = lun};
  board.check(priority ? OVK_SetOASLunV2(board, &ports.local, &ports.remote, 0, &rule)
                       : send_rule(board, ports, lun, OVK_OAS_SET),
              "Adding the optimized-access rule", oas_results);
  return list_report(board, ports);
}

Report remove(const Board& board, const Wwn& target, std::uint64_t lun,
              const std::optional<Wwn>& local) {
  const ovk::PortPair ports = ports_of(board, target, local);
  const std::uint32_t result = send_rule(board, ports, lun, OVK_OAS_CLEAR);
  // Whether the target is logged in does not matter to a rule that is gone.
  if (result != OVK_OAS_NODES_UNKNOWN && result != OVK_OAS_TARGET_UNKNOWN) {
    board.check(result, "Removing the optimized-access rule", remove_results);
  }
  return list_report(board, ports);
}

}  // namespace

void add_oas(Command root) {
  const Command oas = root.noun("oas", "Show and change optimized access storage (OAS)");
  oas.command("list", "Show the logical units of a target with optimized access")
      .takes(target_word, local_option)
      .shows(list);
  oas.command("add", "Give a logical unit optimized access")
      .takes(target_word, lun_word, local_option, priority_option)
      .asks("This changes which logical units {board} prefers.")
      .example("0 10:00:02:0a:54:00:00:01 5 --priority 100 --yes")
      .shows(add);
  oas.command("remove", "Take optimized access from a logical unit")
      .takes(target_word, lun_word, local_option)
      .asks("This changes which logical units {board} prefers.")
      .shows(remove);
}

}  // namespace ovkctl
