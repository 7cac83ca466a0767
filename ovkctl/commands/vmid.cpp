#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/subjects/driver_records.h"

#include <ovk/features.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <memory>
#include <string>

namespace ovkctl {
namespace {

using Uuid = std::array<std::uint8_t, 16>;

constexpr ResultText kVmidResults[] = {
    {OVK_VMID_DOES_NOT_FIT, "no identifier is free",
     "Remove a machine, or see with \"ovkctl qfpa\" how many identifiers the fabric gives."},
    {OVK_VMID_NOT_SUPPORTED, "the driver or the fabric does not offer identifiers",
     "See with \"ovkctl show\" which adapter this is, and check the switch."},
};

constexpr ResultText kUpdateResults[] = {
    {OVK_FAILED, "the command was not delivered or the driver refused the change",
     "See with \"ovkctl vmid list\" which machines and identifiers there are. Nothing was "
     "changed."},
    kVmidResults[0],
    kVmidResults[1],
};

std::string uuid_text(const Uuid& uuid) {
  std::string text;
  for (std::size_t i = 0; i < uuid.size(); ++i) {
    const bool dash = i == 4 || i == 6 || i == 8 || i == 10;
    text += (dash ? "-" : "") + hex_text(uuid[i], 2).substr(2);
  }
  return text;
}

Uuid parse_uuid(std::string text) {
  const std::string mistake = "\"" + text + "\" is no UUID of 32 hex digits";
  std::erase(text, '-');
  HexBytes hex;
  try {
    parse_value(text, hex);
  } catch (const UsageError&) {
    throw UsageError(mistake);
  }
  Uuid uuid{};
  if (hex.bytes.size() != uuid.size()) {
    throw UsageError(mistake);
  }
  std::ranges::copy(hex.bytes, uuid.begin());
  return uuid;
}

std::unique_ptr<VMidMapping> read_mapping(std::uint32_t board) {
  auto mapping = std::make_unique<VMidMapping>();
  check_board(OVK_GetVMidMapping(board, mapping.get()), board, "Reading the VMID mapping",
              kVmidResults);
  return mapping;
}

Report mapping_report(std::uint32_t board, const VMidMapping& mapping) {
  const auto record = std::make_unique<VmidRecord>(record_cast<VmidRecord>(mapping));
  Report report;
  report.field("board", "Board", board);
  Table& table = report.table(
      "machines", "",
      {{"identifier", "ID"}, {"qos_priority", "QOS PRIORITY"}, {"uuid", "UUID"}, {"name", "NAME"}},
      "No virtual machine has an identifier.");
  const std::size_t count = std::min<std::size_t>(record->count, record->machines.size());
  for (std::size_t i = 0; i < count; ++i) {
    const VmidMachine& machine = record->machines[i];
    table.row({machine.identifier, machine.qos_priority, uuid_text(machine.uuid),
               fixed_text(machine.name)});
  }
  return report;
}

void update(std::uint32_t board, const VmidMachine& machine) {
  const auto record = std::make_unique<VmidRecord>();
  record->count = 1;
  record->machines[0] = machine;
  const auto mapping = std::make_unique<VMidMapping>(record_cast<VMidMapping>(*record));
  check_board(OVK_UpdateVMidMapping(board, mapping.get()), board, "Changing the VMID mapping",
              kUpdateResults);
}

void add_list(const Command& vmid) {
  const Command list = vmid.subcommand("list", "Show which virtual machine has which identifier");
  list.example("ovkctl vmid list 0");
  const auto board = list.board();
  const auto output = list.output_file();
  list.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    const auto mapping = read_mapping(index);
    if (output.present()) {
      write_file(*output, mapping->bytes);
    }
    context.print(mapping_report(index, *mapping));
  });
}

void add_update(const Command& vmid) {
  const Command change = vmid.subcommand("update", "Add or remove a virtual machine");
  change.example("ovkctl vmid update 0 422e1f6a-98d1-4c6e-b0c2-5f1d3a7e9b10 --name web-3");
  change.example("ovkctl vmid update 0 422e1f6a-98d1-4c6e-b0c2-5f1d3a7e9b10 --remove");
  const auto board = change.board();
  const auto uuid = change.argument<std::string>("UUID", "the machine's UUID");
  const auto name = change.option<std::string>("--name", "TEXT", "the machine's name");
  const auto identifier = change.option<std::uint32_t>(
      "--id", "NUMBER", "the wanted identifier; else the driver chooses");
  const auto remove = change.flag("--remove", "remove the machine");
  change.action([=](const Context& context) {
    VmidMachine machine{.uuid = parse_uuid(*uuid),
                        .identifier = *identifier,
                        .action = *remove ? kRemoveMachine : kAddMachine};
    if (name->size() > machine.name.size()) {
      throw UsageError("--name: at most " + std::to_string(machine.name.size()) + " bytes fit");
    }
    std::ranges::copy(*name, machine.name.begin());
    const Session session;
    const std::uint32_t index = session.board(*board);
    update(index, machine);
    context.print(mapping_report(index, *read_mapping(index)));
  });
}

}  // namespace

void add_vmid(Command root) {
  const Command vmid = root.subcommand("vmid", "Show and change virtual machine identifiers");
  add_list(vmid);
  add_update(vmid);
}

}  // namespace ovkctl
