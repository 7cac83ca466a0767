/**
 * @file
 * The single list of the driver's commands. What the library declares to the host, its typed calls
 * and the simulator's handlers are all derived from it at compile time.
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

/** How the driver's interface is named when a channel is opened to it. */
inline constexpr std::uint32_t interface_version = 0x02000104;  ///< major, minor, update, patch
inline constexpr std::string_view interface_name{"ravn-mgmt"};
inline constexpr std::string_view interface_vendor{"TRV"};

enum class Direction : std::uint32_t {
  input = VMK_MGMT_PARAMETER_IN,
  output = VMK_MGMT_PARAMETER_OUT,
  in_out = VMK_MGMT_PARAMETER_IN_OUT,
  descriptor = VMK_MGMT_PARAMETER_DESCRIPTOR,
};

/** One declared parameter: the bytes that the driver copies, and which way. */
struct Parameter {
  std::uint32_t size;
  Direction direction;
};

/** The most parameters that follow the Command block. */
inline constexpr std::size_t max_payloads = VMK_MGMT_MAX_PARAMETERS - 1;

/** One command, with the parameters that follow the Command block. */
struct DriverCommand {
  std::string_view name;  ///< ends with a NUL; empty when nobody invokes the command
  std::uint32_t id;
  std::size_t payload_count;
  std::array<Parameter, max_payloads> payloads;
};

namespace command_rows {

inline constexpr std::string_view reserved{""};

consteval Parameter input(std::uint32_t size) { return {size, Direction::input}; }
consteval Parameter output(std::uint32_t size) { return {size, Direction::output}; }
consteval Parameter in_out(std::uint32_t size) { return {size, Direction::in_out}; }
consteval Parameter descriptor(std::uint32_t size) { return {size, Direction::descriptor}; }

consteval DriverCommand command(std::string_view name, std::uint32_t id,
                                std::initializer_list<Parameter> payloads = {}) {
  DriverCommand row{name, id, payloads.size(), {}};
  std::copy(payloads.begin(), payloads.end(), row.payloads.begin());
  return row;
}

// clang-format off
inline constexpr std::array all{
    command("RAVN_MGMT_MOD_INFO", 0x5f, {output(6276)}),
    command("RAVN_MGMT_LOG_MSG", 0x60, {input(64)}),
    command("RAVN_MGMT_CALL_VER", 0x61, {output(72)}),
    command("RAVN_MGMT_EVENT_TEST", 0x62),
    command("RAVN_MGMT_READ_PCI", 0x74, {output(4096)}),
    command("RAVN_MGMT_WRITE_PCI", 0x73, {input(4096)}),
    command("RAVN_MGMT_READ_MEM", 0x75, {output(4096)}),
    command("RAVN_MGMT_WRITE_MEM", 0x7e, {input(4096)}),
    command("RAVN_MGMT_INITBRDS", 0x7a, {output(81)}),
    command("RAVN_MGMT_GET_OVK_REV", 0x77, {output(12)}),
    command("RAVN_MGMT_WRITE_CTLREG", 0x78),
    command("RAVN_MGMT_READ_CTLREG", 0x79),
    command("RAVN_MGMT_GET_VPD", 0x7f, {output(616)}),
    command("RAVN_MGMT_GET_RAVNOVK_INFO", 0x80, {output(120)}),
    command(reserved, 0x84),
    command("RAVN_MGMT_SETDIAG", 0x7b),
    command("RAVN_MGMT_MBOX", 0x76, {in_out(4096), in_out(256), in_out(2057)}),
    command("RAVN_MGMT_MBOX_SLI_CFG_EXT", 0x9c, {in_out(4096)}),
    command("RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP", 0x9d),
    command("RAVN_MGMT_INDUCE_DUMP", 0x15),
    command("RAVN_MGMT_RESET", 0x14),
    command("RAVN_MGMT_GET_DUMPREGION", 0x81, {output(16)}),
    command("RAVN_MGMT_SET_FCP_PRIORITY_FLAG", 0xaf),
    command("RAVN_MGMT_GET_FCP_PRIORITY_FLAG", 0xae),
    command("RAVN_MGMT_GET_FCP_PRIORITY", 0xac, {output(35932)}),
    command("RAVN_MGMT_SET_FCP_PRIORITY", 0xad, {input(35932)}),
    command("RAVN_MGMT_GET_LOGICAL_LINK_SPEED", 0xa9),
    command("RAVN_MGMT_LINKINFO", 0x8a, {output(168)}),
    command("RAVN_MGMT_IOINFO", 0x8b, {output(96)}),
    command("RAVN_MGMT_NODEINFO", 0x8c, {output(14336)}),
    command("RAVN_MGMT_GETCFG", 0x7c, {output(10560)}),
    command("RAVN_MGMT_SETCFG", 0x7d),
    command("RAVN_MGMT_LIST_BIND", 0x96, {output(131076)}),
    command(reserved, 0xaa, {input(24), output(12)}),
    command("RAVN_MGMT_DIAG_MODE_END", 0xab),
    command(reserved, 0x9a, {input(28)}),
    command(reserved, 0x9b, {input(28)}),
    command("RAVN_MGMT_VPORT_GET_ATTRIB", 0x85, {input(28), output(340)}),
    command("RAVN_MGMT_NPIV_READY", 0x89),
    command("RAVN_MGMT_VPORT_GET_RESRC", 0x87, {output(16)}),
    command("RAVN_MGMT_VPORT_GET_LIST", 0x86, {output(81924)}),
    command("RAVN_MGMT_HBA_ADAPTERATTRIBUTES", 0x13b, {output(2192)}),
    command("RAVN_MGMT_HBA_PORTATTRIBUTES", 0x13c, {output(490)}),
    command("RAVN_MGMT_HBA_PORTSTATISTICS", 0x13d, {output(120)}),
    command("RAVN_MGMT_HBA_WWPNPORTATTRIBUTES", 0x13f, {output(490), input(28)}),
    command("RAVN_MGMT_HBA_DISCPORTATTRIBUTES", 0x13e, {output(490)}),
    command("RAVN_MGMT_HBA_INDEXPORTATTRIBUTES", 0x140, {output(490)}),
    command("RAVN_MGMT_HBA_SETMGMTINFO", 0x143, {input(44)}),
    command("RAVN_MGMT_HBA_GETMGMTINFO", 0x144, {output(44)}),
    command("RAVN_MGMT_HBA_REFRESHINFO", 0x146),
    command("RAVN_MGMT_HBA_GETEVENT", 0x147, {output(640)}),
    command(reserved, 0x142),
    command("RAVN_MGMT_LIP", 0x10),
    command(reserved, 0x13, {input(14336), output(491528)}),
    command(reserved, 0x97, {output(10560)}),
    command(reserved, 0x98),
    command(reserved, 0x93),
    command(reserved, 0x92),
    command(reserved, 0x99),
    command(reserved, 0x100f),
    command("RAVN_MGMT_HBA_SEND_FCP", 0x91, {in_out(200), in_out(262144)}),
    command("RAVN_MGMT_HBA_SEND_SCSI", 0x90, {in_out(172), in_out(262144)}),
    command("RAVN_MGMT_HBA_RNID", 0x145, {input(28), output(64)}),
    command("RAVN_MGMT_SEND_ELS", 0x8f, {input(16), input(1024), output(1024)}),
    command("RAVN_MGMT_SEND_CT", 0x8e, {input(245760), output(245760)}),
    command("RAVN_MGMT_HBA_SEND_MGMT_CMD", 0x94, {input(8), input(245760), output(245760)}),
    command("RAVN_MGMT_HBA_SEND_MGMT_RSP", 0x95, {input(245760)}),
    command("RAVN_MGMT_HBA_ISSUE_DMP_MBX", 0xa7, {input(12), output(4096), output(4)}),
    command("RAVN_MGMT_HBA_ISSUE_UPD_MBX", 0xa8, {input(4096), output(4)}),
    command("RAVN_MGMT_VPORT_GET_NODE_INFO", 0x88, {input(28), output(157700)}),
    command("RAVN_MGMT_HBA_GET_FCF_LIST", 0xa2, {output(556)}),
    command("RAVN_MGMT_HBA_FCPTARGETMAPPING", 0x141, {output(303108)}),
    command("RAVN_MGMT_LOOPBACK_TEST", 0x82, {input(65536), output(65536)}),
    command("RAVN_MGMT_LOOPBACK_MODE", 0x83, {input(4)}),
    command("RAVN_MGMT_OAS_GET", 0x1015, {input(8), input(8), output(6656)}),
    command("RAVN_MGMT_GET_TRUNK_INFO", 0x1016, {output(12)}),
    command("RAVN_MGMT_OAS_SET", 0x1017, {input(6656)}),
    command("RAVN_MGMT_OAS_VER", 0x1018),
    command("RAVN_MGMT_GET_PCI_SBDF", 0xb0, {output(24)}),
    command("RAVN_MGMT_VMID_GET_QFPA", 0xb1, {in_out(514)}),
    command("RAVN_MGMT_VMID_GET_ID_MAPPING", 0xb2, {in_out(76808)}),
    command("RAVN_MGMT_VMID_UPDATE_MAPPING", 0xb3, {input(76808)}),
    command("RAVN_MGMT_GET_RAS_CONFIG", 0x63, {output(6)}),
    command("RAVN_MGMT_SET_RAS_CONFIG", 0x64, {input(2)}),
    command("RAVN_MGMT_GET_RAS_LOG", 0x65, {in_out(16), descriptor(1)}),
    command("RAVN_MGMT_SET_AUTH_CONFIG_V2", 0xb4, {in_out(780)}),
    command("RAVN_MGMT_GET_AUTH_CONFIG_V2", 0xb5, {input(8), in_out(780), input(1)}),
    command("RAVN_MGMT_SET_AUTH_PASSWD_V2", 0xb6, {input(280)}),
    command("RAVN_MGMT_GET_AUTH_PASSWD_V2", 0xb7, {in_out(280), input(1)}),
    command("RAVN_MGMT_DEL_AUTH_CONFIG_V2", 0xb8, {in_out(780), input(1)}),
    command("RAVN_MGMT_PERSIST_AUTH_CONFIG", 0xb9),
    command("RAVN_MGMT_DEL_AUTH_CONFIG_OBJ", 0xba),
    command("RAVN_MGMT_INIT_AUTH", 0xbb, {input(8), input(8)}),
    command("RAVN_MGMT_GET_AUTH_STATUS", 0xbc, {in_out(40)}),
};
// clang-format on

}  // namespace command_rows

/** In the order in which they are declared to the host. */
inline constexpr const auto& commands = command_rows::all;
static_assert(commands.size() == 94);

/** A command by its name. A name that the list does not hold does not compile. */
struct CommandName {
  std::size_t row;

  template <std::size_t size>
  consteval CommandName(const char (&name)[size])  // NOLINT: names are written as plain literals
      : row{row_of(name)} {}

  constexpr const DriverCommand& operator*() const { return commands[row]; }
  constexpr const DriverCommand* operator->() const { return &commands[row]; }
  constexpr bool operator==(const CommandName&) const = default;

 private:
  static consteval std::size_t row_of(std::string_view name) {
    for (std::size_t row = 0; row < commands.size(); ++row) {
      if (commands[row].name == name && name != command_rows::reserved) {
        return row;
      }
    }
    the_driver_has_no_command_of_this_name();
    return commands.size();
  }

  /** Not defined, nor to be called at compile time: the compiler's message carries its name. */
  static void the_driver_has_no_command_of_this_name();
};

}  // namespace ovk
