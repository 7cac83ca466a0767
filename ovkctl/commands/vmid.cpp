#include "driver_abi/records/vmid.h"

#include "ovkctl/frame/command.h"

#include <ovk/features.h>

#include <algorithm>
#include <array>
#include <bit>
#include <memory>

namespace ovkctl {
namespace {

// ---- qfpa -----------------------------------------------------------------------------------

constexpr ResultText qfpa_results[] = {
    {OVK_VMID_DOES_NOT_FIT, "the fabric gave more ranges than the driver can hand out",
     "Look in the driver's log."},
    {OVK_VMID_NOT_SUPPORTED, "the driver or the fabric does not offer priorities",
     "See with \"ovkctl show\" which adapter this is, and check the switch."},
};

constexpr Column<ovk::QfpaRange> range_columns[] = {
    {"low", "LOW", field<&ovk::QfpaRange::low>},
    {"high", "HIGH", field<&ovk::QfpaRange::high>},
    {"qos_priority", "QOS PRIORITY", field<&ovk::QfpaRange::qos_priority>},
    {"ve_id_usage", "VE ID USAGE", field<&ovk::QfpaRange::ve_id_usage>},
};

Report show_ranges(const Board& board) {
  const auto list =
      board.read(OVK_GetQFPAPriorityList, "Reading the priority ranges", qfpa_results);
  const auto record = std::bit_cast<ovk::QfpaRecord>(list);
  return board.report()
      .table("ranges", "", range_columns, first_of(record.ranges, record.count),
             "The fabric gave no priority range.")
      .payload("", "", {std::begin(list.bytes), std::end(list.bytes)});
}

// ---- vmid -----------------------------------------------------------------------------------

using Uuid = std::array<std::uint8_t, 16>;

constexpr ResultText vmid_results[] = {
    {OVK_VMID_DOES_NOT_FIT, "no identifier is free",
     "Remove a machine, or see with \"ovkctl qfpa\" how many identifiers the fabric gives."},
    {OVK_VMID_NOT_SUPPORTED, "the driver or the fabric does not offer identifiers",
     "See with \"ovkctl show\" which adapter this is, and check the switch."},
};

constexpr ResultText update_results[] = {
    {OVK_FAILED, "the command was not delivered or the driver refused the change",
     "See with \"ovkctl vmid list\" which machines and identifiers there are. Nothing was "
     "changed."},
    vmid_results[0],
    vmid_results[1],
};

std::string uuid_text(const Uuid& uuid) {
  std::string text = bytes_text(uuid);
  for (const std::size_t dash : {8U, 13U, 18U, 23U}) {
    text.insert(dash, "-");
  }
  return text;
}

Uuid parse_uuid(const std::string& text) {
  std::string digits = text;
  std::erase(digits, '-');
  HexBytes hex;
  try {
    parse_value(digits, hex);
  } catch (const UsageError&) {
    hex.bytes.clear();
  }
  Uuid uuid{};
  if (hex.bytes.size() != uuid.size()) {
    throw UsageError("\"{}\" is no UUID of 32 hex digits.", text);
  }
  std::ranges::copy(hex.bytes, uuid.begin());
  return uuid;
}

constexpr Column<ovk::VmidMachine> machine_columns[] = {
    {"identifier", "ID", field<&ovk::VmidMachine::identifier>},
    {"qos_priority", "QOS PRIORITY", field<&ovk::VmidMachine::qos_priority>},
    {"uuid", "UUID", field<&ovk::VmidMachine::uuid, uuid_text>},
    {"name", "NAME", field<&ovk::VmidMachine::name>},
};

Report list_machines(const Board& board) {
  const auto record = std::make_unique<ovk::VmidRecord>();
  auto* const mapping = opaque<VMidMapping>(*record);
  board.check(OVK_GetVMidMapping(board, mapping), "Reading the VMID mapping", vmid_results);
  return board.report()
      .table("machines", "", machine_columns, first_of(record->machines, record->count),
             "No virtual machine has an identifier.")
      .payload("", "", {std::begin(mapping->bytes), std::end(mapping->bytes)});
}

constexpr Word<std::string> uuid_word{"UUID", "the machine's UUID",
                                      "422e1f6a-98d1-4c6e-b0c2-5f1d3a7e9b10"};
constexpr Setting<std::string> name_setting{"--name", "TEXT", "the machine's name", "", "web-3"};
constexpr Setting<std::uint32_t> identifier_setting{
    "--id", "NUMBER", "the wanted identifier; else the driver chooses", "0"};
constexpr Flag remove_flag{"--remove", "remove the machine"};

Report update_machine(const Board& board, const std::string& uuid, const std::string& name,
                      std::uint32_t identifier, bool remove) {
  const auto record = std::make_unique<ovk::VmidRecord>();
  record->count = 1;
  ovk::VmidMachine& machine = record->machines[0];
  machine = {.uuid = parse_uuid(uuid),
             .identifier = identifier,
             .action = remove ? ovk::VmidAction::remove : ovk::VmidAction::add};
  if (name.size() > machine.name.size()) {
    throw UsageError("--name: at most {} bytes fit.", machine.name.size());
  }
  std::ranges::copy(name, machine.name.begin());
  board.ask("This {} the identifier of virtual machine {} on {board}.", remove ? "removes" : "sets",
            uuid);
  board.check(OVK_UpdateVMidMapping(board, opaque<VMidMapping>(*record)),
              "Changing the VMID mapping", update_results);
  return list_machines(board);
}

}  // namespace

void add_vmid(Command root) {
  root.command("qfpa", "Show the priority ranges that the fabric gives (QFPA)")
      .saves()
      .shows(show_ranges);

  const Command vmid = root.noun("vmid", "Show and change virtual machine identifiers");
  vmid.command("list", "Show which virtual machine has which identifier")
      .saves()
      .shows(list_machines);
  vmid.command("update", "Add or remove a virtual machine")
      .takes(uuid_word, name_setting, identifier_setting, remove_flag)
      .asks_itself()
      .example("0 422e1f6a-98d1-4c6e-b0c2-5f1d3a7e9b10 --remove --yes")
      .shows(update_machine);
}

}  // namespace ovkctl
