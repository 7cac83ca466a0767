#include "driver_abi/records/parameters.h"
#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"

#include <ovk/info.h>

#include <algorithm>
#include <bit>
#include <string>
#include <vector>

namespace ovkctl {
namespace {

std::string takes_effect_text(ovk::TakesEffect when) {
  switch (when) {
    case ovk::TakesEffect::at_once:
      return "at once";
    case ovk::TakesEffect::at_link_up:
      return "at link up";
    case ovk::TakesEffect::at_driver_load:
      return "at driver load";
    case ovk::TakesEffect::never_set:
      return "read-only";
    default:
      return "unknown";
  }
}

std::vector<ovk::ParameterRecord> read_parameters(std::uint32_t board) {
  std::vector<CfgParam> table(OVK_MAX_CFG_PARAMS);
  const std::uint32_t reported = GetCfgParam(board, table.data());
  if (reported == 0) {
    throw OperationFailed("Board " + std::to_string(board) + " gave no parameters.",
                          "See with \"ovkctl list\" whether the board is ready, and look in the "
                          "driver's log for the reason.");
  }
  table.resize(std::min<std::size_t>(reported, table.size()));
  std::vector<ovk::ParameterRecord> parameters;
  for (const CfgParam& entry : table) {
    parameters.push_back(std::bit_cast<ovk::ParameterRecord>(entry));
  }
  return parameters;
}

Report list_report(std::uint32_t board) {
  Report report;
  report.field("board", "Board", board);
  Table& table = report.table("parameters", "",
                              {{"index", "INDEX"},
                               {"name", "NAME"},
                               {"value", "VALUE"},
                               {"default", "DEFAULT"},
                               {"least", "LEAST"},
                               {"most", "MOST"},
                               {"takes_effect", "TAKES EFFECT"},
                               {"description", "DESCRIPTION"}},
                              "The driver has no parameters.");
  std::uint32_t index = 0;
  for (const ovk::ParameterRecord& parameter : read_parameters(board)) {
    table.row({index++, fixed_text(parameter.name), parameter.value, parameter.initial,
               parameter.least, parameter.most, takes_effect_text(parameter.takes_effect),
               fixed_text(parameter.description)});
  }
  return report;
}

std::uint32_t index_of(const std::vector<ovk::ParameterRecord>& parameters,
                       const std::string& name) {
  const auto found = std::ranges::find_if(parameters, [&](const ovk::ParameterRecord& parameter) {
    return fixed_text(parameter.name) == name;
  });
  if (found == parameters.end()) {
    throw UsageError("There is no parameter \"" + name +
                     "\"; \"ovkctl params list\" shows which there are.");
  }
  return static_cast<std::uint32_t>(found - parameters.begin());
}

/** What the parameter admits, for the one who just found out that it does not admit everything. */
std::string limits_text(const ovk::ParameterRecord& parameter) {
  if (parameter.takes_effect == ovk::TakesEffect::never_set) {
    return "This parameter cannot be set.";
  }
  return "It takes " + std::to_string(parameter.least) + " to " + std::to_string(parameter.most) +
         ".";
}

Report set_report(std::uint32_t board, const std::string& name, std::uint32_t value) {
  const std::vector<ovk::ParameterRecord> before = read_parameters(board);
  const std::uint32_t index = index_of(before, name);
  const std::string limits = limits_text(before[index]);
  const ResultText results[] = {
      {OVK_FAILED, "the command was not delivered or the driver refused the value", limits.c_str()},
  };
  check_board(SetCfgParam(board, index, value), board, "Setting " + name, results);
  const ovk::ParameterRecord now = read_parameters(board).at(index);
  Report report;
  report.field("board", "Board", board)
      .field("name", "Parameter", name)
      .field("before", "Before", before[index].value)
      .field("value", "Now", now.value)
      .field("takes_effect", "Takes effect", takes_effect_text(now.takes_effect));
  return report;
}

void add_list_command(const Command& params) {
  add_board_report(params, "list", "List the driver's parameters for a board",
                   "ovkctl params list 0", list_report);
}

void add_set_command(const Command& params) {
  const Command set = params.subcommand("set", "Set one of the driver's parameters for a board");
  set.example("ovkctl params set 0 lun_queue_depth 32 --yes");
  const auto board = set.board();
  const auto name = set.argument<std::string>("NAME", "name of the parameter");
  const auto value = set.argument<std::uint32_t>("VALUE", "its new value");
  const auto yes = set.yes();
  set.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    confirm(*yes, "This changes how the driver treats board " + std::to_string(index) + ".");
    context.print(set_report(index, *name, *value));
  });
}

}  // namespace

void add_params(Command root) {
  const Command params = root.subcommand("params", "Show and set the driver's parameters");
  add_list_command(params);
  add_set_command(params);
}

}  // namespace ovkctl
