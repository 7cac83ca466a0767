/**
 * @file
 * The texts of the log lines, which the library adds to the driver's list of commands.
 */
#pragma once

#include "driver_abi/commands.h"

#include <cstdint>

namespace ovk {

/** The log lines that a command writes at all. */
enum LoggedLines : std::uint8_t {
  call_line = 1,
  success_line = 2,
  failure_line = 4,
  all_lines = call_line | success_line | failure_line,
  results_only = success_line | failure_line,
  no_failure = call_line | success_line,
};

/** What a command's log lines carry in place of its name, and which lines it writes. */
struct LogText {
  const char* call = nullptr;
  const char* results = nullptr;
  LoggedLines lines = all_lines;
};

namespace catalogue_rows {

struct LogRow {
  CommandName command;
  LogText text;
};

// Where a log text differs from the command's name, the difference is part of the log format.
// clang-format off
inline constexpr LogRow all[]{
    {"RAVN_MGMT_INITBRDS", {.lines = no_failure}},
    {"RAVN_MGMT_GET_LOGICAL_LINK_SPEED", {.results = "RAVN_MGMT_GET_VPD"}},
    {"RAVN_MGMT_VPORT_GET_RESRC", {.results = "RAVN_MGMT_VPORT_GET_LIST"}},
    {"RAVN_MGMT_HBA_GETMGMTINFO", {.results = "RAVN_MGMT_HBA_SETMGMTINFO"}},
    {"RAVN_MGMT_LOOPBACK_MODE", {.call = "RAVN_MGMT_HBA_WWPNPORTATTRIBUTES"}},
    {"RAVN_MGMT_OAS_GET", {.results = "RAVN_MGMT_OAS_GET_LIST"}},
    {"RAVN_MGMT_OAS_SET", {.results = "RAVN_MGMT_OAS_SET_RULE"}},
    {"RAVN_MGMT_OAS_VER", {.results = "RAVN_MGMT_OAS_VERSION"}},
    {"RAVN_MGMT_GET_PCI_SBDF", {.lines = no_failure}},
    {"RAVN_MGMT_GET_RAS_CONFIG", {.results = "RAVN_MGMT_GET_RAS_LOG", .lines = results_only}},
    {"RAVN_MGMT_SET_RAS_CONFIG", {.lines = results_only}},
    {"RAVN_MGMT_GET_RAS_LOG", {.lines = results_only}},
};
// clang-format on

}  // namespace catalogue_rows

/** The texts of a command's log lines: its own name where no row says otherwise. */
constexpr LogText log_text(CommandName command) {
  LogText text{};
  for (const auto& row : catalogue_rows::all) {
    text = row.command == command ? row.text : text;
  }
  text.call = text.call != nullptr ? text.call : command->name.data();
  text.results = text.results != nullptr ? text.results : command->name.data();
  return text;
}

}  // namespace ovk
