/**
 * @file
 * The single list of the driver's commands. The table that is declared to the host, the typed
 * invoke and the texts of the log lines are all derived from it at compile time.
 */
#pragma once

#include "driver_abi/vmkmgmt.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace ovk {

enum class Direction : std::uint32_t {
  input = VMK_MGMT_PARAMETER_IN,
  output = VMK_MGMT_PARAMETER_OUT,
  in_out = VMK_MGMT_PARAMETER_IN_OUT,
  descriptor = VMK_MGMT_PARAMETER_DESCRIPTOR,
};

/** One parameter after the Command block: the bytes that the driver copies, and which way. */
struct Parameter {
  std::uint32_t size;
  Direction direction;
};

/** The log lines that a command writes at all. */
enum LoggedLines : std::uint8_t {
  call_line = 1,
  success_line = 2,
  failure_line = 4,
  all_lines = call_line | success_line | failure_line,
  results_only = success_line | failure_line,
  no_failure = call_line | success_line,
};

/** What a command's log lines carry where that is not the command's own name. */
struct LogText {
  const char* call = nullptr;
  const char* results = nullptr;
  LoggedLines lines = all_lines;
};

/** The most parameters that follow the Command block. */
inline constexpr std::size_t max_payloads = VMK_MGMT_MAX_PARAMETERS - 1;

/** One driver command. */
struct Callback {
  const char* name;
  std::uint32_t id;
  std::size_t payload_count;
  std::array<Parameter, max_payloads> payloads;
  LogText log;
};

namespace catalogue_rows {

/** Declared to the host, but not invoked by this library. */
inline constexpr const char* reserved = "";

consteval Parameter input(std::uint32_t size) { return {size, Direction::input}; }
consteval Parameter output(std::uint32_t size) { return {size, Direction::output}; }
consteval Parameter in_out(std::uint32_t size) { return {size, Direction::in_out}; }
consteval Parameter descriptor(std::uint32_t size) { return {size, Direction::descriptor}; }

consteval Callback callback(const char* name, std::uint32_t id,
                            std::initializer_list<Parameter> payloads = {}, LogText log = {}) {
  Callback row{name, id, payloads.size(), {}, log};
  std::copy(payloads.begin(), payloads.end(), row.payloads.begin());
  row.log.call = log.call != nullptr ? log.call : name;
  row.log.results = log.results != nullptr ? log.results : name;
  return row;
}

// Where a log text differs from the command's name, the difference is part of the log format.
// clang-format off
inline constexpr std::array all{
    callback("RAVN_MGMT_MOD_INFO", 0x5f, {output(6276)}),
    callback("RAVN_MGMT_LOG_MSG", 0x60, {input(64)}),
    callback("RAVN_MGMT_CALL_VER", 0x61, {output(72)}),
    callback("RAVN_MGMT_EVENT_TEST", 0x62),
    callback("RAVN_MGMT_READ_PCI", 0x74, {output(4096)}),
    callback("RAVN_MGMT_WRITE_PCI", 0x73, {input(4096)}),
    callback("RAVN_MGMT_READ_MEM", 0x75, {output(4096)}),
    callback("RAVN_MGMT_WRITE_MEM", 0x7e, {input(4096)}),
    callback("RAVN_MGMT_INITBRDS", 0x7a, {output(81)}, {.lines = no_failure}),
    callback("RAVN_MGMT_GET_OVK_REV", 0x77, {output(12)}),
    callback("RAVN_MGMT_WRITE_CTLREG", 0x78),
    callback("RAVN_MGMT_READ_CTLREG", 0x79),
    callback("RAVN_MGMT_GET_VPD", 0x7f, {output(616)}),
    callback("RAVN_MGMT_GET_RAVNOVK_INFO", 0x80, {output(120)}),
    callback(reserved, 0x84),
    callback("RAVN_MGMT_SETDIAG", 0x7b),
    callback("RAVN_MGMT_MBOX", 0x76, {in_out(4096), in_out(256), in_out(2057)}),
    callback("RAVN_MGMT_MBOX_SLI_CFG_EXT", 0x9c, {in_out(4096)}),
    callback("RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP", 0x9d),
    callback("RAVN_MGMT_INDUCE_DUMP", 0x15),
    callback("RAVN_MGMT_RESET", 0x14),
    callback("RAVN_MGMT_GET_DUMPREGION", 0x81, {output(16)}),
    callback("RAVN_MGMT_SET_FCP_PRIORITY_FLAG", 0xaf),
    callback("RAVN_MGMT_GET_FCP_PRIORITY_FLAG", 0xae),
    callback("RAVN_MGMT_GET_FCP_PRIORITY", 0xac, {output(35932)}),
    callback("RAVN_MGMT_SET_FCP_PRIORITY", 0xad, {input(35932)}),
    callback("RAVN_MGMT_GET_LOGICAL_LINK_SPEED", 0xa9, {}, {.results = "RAVN_MGMT_GET_VPD"}),
    callback("RAVN_MGMT_LINKINFO", 0x8a, {output(168)}),
    callback("RAVN_MGMT_IOINFO", 0x8b, {output(96)}),
    callback("RAVN_MGMT_NODEINFO", 0x8c, {output(14336)}),
    callback("RAVN_MGMT_GETCFG", 0x7c, {output(10560)}),
    callback("RAVN_MGMT_SETCFG", 0x7d),
    callback("RAVN_MGMT_LIST_BIND", 0x96, {output(131076)}),
    callback(reserved, 0xaa, {input(24), output(12)}),
    callback("RAVN_MGMT_DIAG_MODE_END", 0xab),
    callback(reserved, 0x9a, {input(28)}),
    callback(reserved, 0x9b, {input(28)}),
    callback("RAVN_MGMT_VPORT_GET_ATTRIB", 0x85, {input(28), output(340)}),
    callback("RAVN_MGMT_NPIV_READY", 0x89),
    callback("RAVN_MGMT_VPORT_GET_RESRC", 0x87, {output(16)}, {.results = "RAVN_MGMT_VPORT_GET_LIST"}),
    callback("RAVN_MGMT_VPORT_GET_LIST", 0x86, {output(81924)}),
    callback("RAVN_MGMT_HBA_ADAPTERATTRIBUTES", 0x13b, {output(2192)}),
    callback("RAVN_MGMT_HBA_PORTATTRIBUTES", 0x13c, {output(490)}),
    callback("RAVN_MGMT_HBA_PORTSTATISTICS", 0x13d, {output(120)}),
    callback("RAVN_MGMT_HBA_WWPNPORTATTRIBUTES", 0x13f, {output(490), input(28)}),
    callback("RAVN_MGMT_HBA_DISCPORTATTRIBUTES", 0x13e, {output(490)}),
    callback("RAVN_MGMT_HBA_INDEXPORTATTRIBUTES", 0x140, {output(490)}),
    callback("RAVN_MGMT_HBA_SETMGMTINFO", 0x143, {input(44)}),
    callback("RAVN_MGMT_HBA_GETMGMTINFO", 0x144, {output(44)}, {.results = "RAVN_MGMT_HBA_SETMGMTINFO"}),
    callback("RAVN_MGMT_HBA_REFRESHINFO", 0x146),
    callback("RAVN_MGMT_HBA_GETEVENT", 0x147, {output(640)}),
    callback(reserved, 0x142),
    callback("RAVN_MGMT_LIP", 0x10),
    callback(reserved, 0x13, {input(14336), output(491528)}),
    callback(reserved, 0x97, {output(10560)}),
    callback(reserved, 0x98),
    callback(reserved, 0x93),
    callback(reserved, 0x92),
    callback(reserved, 0x99),
    callback(reserved, 0x100f),
    callback("RAVN_MGMT_HBA_SEND_FCP", 0x91, {in_out(200), in_out(262144)}),
    callback("RAVN_MGMT_HBA_SEND_SCSI", 0x90, {in_out(172), in_out(262144)}),
    callback("RAVN_MGMT_HBA_RNID", 0x145, {input(28), output(64)}),
    callback("RAVN_MGMT_SEND_ELS", 0x8f, {input(16), input(1024), output(1024)}),
    callback("RAVN_MGMT_SEND_CT", 0x8e, {input(245760), output(245760)}),
    callback("RAVN_MGMT_HBA_SEND_MGMT_CMD", 0x94, {input(8), input(245760), output(245760)}),
    callback("RAVN_MGMT_HBA_SEND_MGMT_RSP", 0x95, {input(245760)}),
    callback("RAVN_MGMT_HBA_ISSUE_DMP_MBX", 0xa7, {input(12), output(4096), output(4)}),
    callback("RAVN_MGMT_HBA_ISSUE_UPD_MBX", 0xa8, {input(4096), output(4)}),
    callback("RAVN_MGMT_VPORT_GET_NODE_INFO", 0x88, {input(28), output(157700)}),
    callback("RAVN_MGMT_HBA_GET_FCF_LIST", 0xa2, {output(556)}),
    callback("RAVN_MGMT_HBA_FCPTARGETMAPPING", 0x141, {output(303108)}),
    callback("RAVN_MGMT_LOOPBACK_TEST", 0x82, {input(65536), output(65536)}),
    callback("RAVN_MGMT_LOOPBACK_MODE", 0x83, {input(4)}, {.call = "RAVN_MGMT_HBA_WWPNPORTATTRIBUTES"}),
    callback("RAVN_MGMT_OAS_GET", 0x1015, {input(8), input(8), output(6656)}, {.results = "RAVN_MGMT_OAS_GET_LIST"}),
    callback("RAVN_MGMT_GET_TRUNK_INFO", 0x1016, {output(12)}),
    callback("RAVN_MGMT_OAS_SET", 0x1017, {input(6656)}, {.results = "RAVN_MGMT_OAS_SET_RULE"}),
    callback("RAVN_MGMT_OAS_VER", 0x1018, {}, {.results = "RAVN_MGMT_OAS_VERSION"}),
    callback("RAVN_MGMT_GET_PCI_SBDF", 0xb0, {output(24)}, {.lines = no_failure}),
    callback("RAVN_MGMT_VMID_GET_QFPA", 0xb1, {in_out(514)}),
    callback("RAVN_MGMT_VMID_GET_ID_MAPPING", 0xb2, {in_out(76808)}),
    callback("RAVN_MGMT_VMID_UPDATE_MAPPING", 0xb3, {input(76808)}),
    callback("RAVN_MGMT_GET_RAS_CONFIG", 0x63, {output(6)}, {.results = "RAVN_MGMT_GET_RAS_LOG", .lines = results_only}),
    callback("RAVN_MGMT_SET_RAS_CONFIG", 0x64, {input(2)}, {.lines = results_only}),
    callback("RAVN_MGMT_GET_RAS_LOG", 0x65, {in_out(16), descriptor(1)}, {.lines = results_only}),
    callback("RAVN_MGMT_SET_AUTH_CONFIG_V2", 0xb4, {in_out(780)}),
    callback("RAVN_MGMT_GET_AUTH_CONFIG_V2", 0xb5, {input(8), in_out(780), input(1)}),
    callback("RAVN_MGMT_SET_AUTH_PASSWD_V2", 0xb6, {input(280)}),
    callback("RAVN_MGMT_GET_AUTH_PASSWD_V2", 0xb7, {in_out(280), input(1)}),
    callback("RAVN_MGMT_DEL_AUTH_CONFIG_V2", 0xb8, {in_out(780), input(1)}),
    callback("RAVN_MGMT_PERSIST_AUTH_CONFIG", 0xb9),
    callback("RAVN_MGMT_DEL_AUTH_CONFIG_OBJ", 0xba),
    callback("RAVN_MGMT_INIT_AUTH", 0xbb, {input(8), input(8)}),
    callback("RAVN_MGMT_GET_AUTH_STATUS", 0xbc, {in_out(40)}),
};
// clang-format on

}  // namespace catalogue_rows

inline constexpr const auto& catalogue = catalogue_rows::all;
static_assert(catalogue.size() == 94);

/** A command's name as a template argument. */
struct CommandName {
  std::array<char, 40> text{};

  template <std::size_t size>
  consteval CommandName(const char (&name)[size]) {  // NOLINT: names are written as plain literals
    static_assert(size <= sizeof text);
    std::copy(name, name + size, text.begin());
  }

  [[nodiscard]] constexpr std::string_view view() const { return text.data(); }
  constexpr bool operator==(const CommandName&) const = default;
};

/** The row of the named command, or the size of the catalogue. */
consteval std::size_t row_of(CommandName name) {
  std::size_t row = 0;
  while (row < catalogue.size() && name.view() != catalogue[row].name) {
    ++row;
  }
  return row;
}

/** The named command. A name that the catalogue does not hold does not compile. */
template <CommandName name>
consteval const Callback& callback_named() {
  static_assert(name.view() != catalogue_rows::reserved, "a reserved command is not invoked");
  static_assert(row_of(name) < catalogue.size(), "the catalogue holds no command of this name");
  return catalogue[row_of(name)];
}

}  // namespace ovk
