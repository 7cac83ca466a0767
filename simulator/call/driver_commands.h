/**
 * @file
 * The commands that the ravn driver knows, by the ids under which the channel delivers them.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ravnsim {

/** A command's id on the channel. An id that is not listed is one that the driver has no use for.
 */
enum class DriverCommand : std::uint64_t {
  lip = 0x10,
  reset = 0x14,
  induce_dump = 0x15,
  mod_info = 0x5f,
  log_msg = 0x60,
  call_ver = 0x61,
  event_test = 0x62,
  get_ras_config = 0x63,
  set_ras_config = 0x64,
  get_ras_log = 0x65,
  write_pci = 0x73,
  read_pci = 0x74,
  read_mem = 0x75,
  mbox = 0x76,
  get_ovk_rev = 0x77,
  write_ctlreg = 0x78,
  read_ctlreg = 0x79,
  initbrds = 0x7a,
  setdiag = 0x7b,
  getcfg = 0x7c,
  setcfg = 0x7d,
  write_mem = 0x7e,
  get_vpd = 0x7f,
  get_ravnovk_info = 0x80,
  get_dumpregion = 0x81,
  loopback_test = 0x82,
  loopback_mode = 0x83,
  vport_get_attrib = 0x85,
  vport_get_list = 0x86,
  vport_get_resrc = 0x87,
  vport_get_node_info = 0x88,
  npiv_ready = 0x89,
  linkinfo = 0x8a,
  ioinfo = 0x8b,
  nodeinfo = 0x8c,
  send_ct = 0x8e,
  send_els = 0x8f,
  hba_send_scsi = 0x90,
  hba_send_fcp = 0x91,
  hba_send_mgmt_cmd = 0x94,
  hba_send_mgmt_rsp = 0x95,
  list_bind = 0x96,
  mbox_sli_cfg_ext = 0x9c,
  mbox_sli_cfg_ext_sup = 0x9d,
  hba_get_fcf_list = 0xa2,
  hba_issue_dmp_mbx = 0xa7,
  hba_issue_upd_mbx = 0xa8,
  get_logical_link_speed = 0xa9,
  diag_mode_end = 0xab,
  get_fcp_priority = 0xac,
  set_fcp_priority = 0xad,
  get_fcp_priority_flag = 0xae,
  set_fcp_priority_flag = 0xaf,
  get_pci_sbdf = 0xb0,
  vmid_get_qfpa = 0xb1,
  vmid_get_id_mapping = 0xb2,
  vmid_update_mapping = 0xb3,
  set_auth_config_v2 = 0xb4,
  get_auth_config_v2 = 0xb5,
  set_auth_passwd_v2 = 0xb6,
  get_auth_passwd_v2 = 0xb7,
  del_auth_config_v2 = 0xb8,
  persist_auth_config = 0xb9,
  del_auth_config_obj = 0xba,
  init_auth = 0xbb,
  get_auth_status = 0xbc,
  hba_adapterattributes = 0x13b,
  hba_portattributes = 0x13c,
  hba_portstatistics = 0x13d,
  hba_discportattributes = 0x13e,
  hba_wwpnportattributes = 0x13f,
  hba_indexportattributes = 0x140,
  hba_fcptargetmapping = 0x141,
  hba_setmgmtinfo = 0x143,
  hba_getmgmtinfo = 0x144,
  hba_rnid = 0x145,
  hba_refreshinfo = 0x146,
  hba_getevent = 0x147,
  oas_get = 0x1015,
  get_trunk_info = 0x1016,
  oas_set = 0x1017,
  oas_ver = 0x1018,
};

/** The name that messages and fault files use, such as "RAVN_MGMT_INITBRDS"; the id for an unknown
    command. */
std::string name_of(DriverCommand command);

/** The command of that name. */
std::optional<DriverCommand> command_named(std::string_view name);

}  // namespace ravnsim
