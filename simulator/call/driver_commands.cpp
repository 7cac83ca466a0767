#include "simulator/call/driver_commands.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

namespace ravnsim {

namespace {

struct NamedCommand {
  DriverCommand command;
  std::string_view name;
};

constexpr NamedCommand named_commands[] = {
    {DriverCommand::lip, "RAVN_MGMT_LIP"},
    {DriverCommand::reset, "RAVN_MGMT_RESET"},
    {DriverCommand::induce_dump, "RAVN_MGMT_INDUCE_DUMP"},
    {DriverCommand::mod_info, "RAVN_MGMT_MOD_INFO"},
    {DriverCommand::log_msg, "RAVN_MGMT_LOG_MSG"},
    {DriverCommand::call_ver, "RAVN_MGMT_CALL_VER"},
    {DriverCommand::event_test, "RAVN_MGMT_EVENT_TEST"},
    {DriverCommand::get_ras_config, "RAVN_MGMT_GET_RAS_CONFIG"},
    {DriverCommand::set_ras_config, "RAVN_MGMT_SET_RAS_CONFIG"},
    {DriverCommand::get_ras_log, "RAVN_MGMT_GET_RAS_LOG"},
    {DriverCommand::write_pci, "RAVN_MGMT_WRITE_PCI"},
    {DriverCommand::read_pci, "RAVN_MGMT_READ_PCI"},
    {DriverCommand::read_mem, "RAVN_MGMT_READ_MEM"},
    {DriverCommand::mbox, "RAVN_MGMT_MBOX"},
    {DriverCommand::get_ovk_rev, "RAVN_MGMT_GET_OVK_REV"},
    {DriverCommand::write_ctlreg, "RAVN_MGMT_WRITE_CTLREG"},
    {DriverCommand::read_ctlreg, "RAVN_MGMT_READ_CTLREG"},
    {DriverCommand::initbrds, "RAVN_MGMT_INITBRDS"},
    {DriverCommand::setdiag, "RAVN_MGMT_SETDIAG"},
    {DriverCommand::getcfg, "RAVN_MGMT_GETCFG"},
    {DriverCommand::setcfg, "RAVN_MGMT_SETCFG"},
    {DriverCommand::write_mem, "RAVN_MGMT_WRITE_MEM"},
    {DriverCommand::get_vpd, "RAVN_MGMT_GET_VPD"},
    {DriverCommand::get_ravnovk_info, "RAVN_MGMT_GET_RAVNOVK_INFO"},
    {DriverCommand::get_dumpregion, "RAVN_MGMT_GET_DUMPREGION"},
    {DriverCommand::loopback_test, "RAVN_MGMT_LOOPBACK_TEST"},
    {DriverCommand::loopback_mode, "RAVN_MGMT_LOOPBACK_MODE"},
    {DriverCommand::vport_get_attrib, "RAVN_MGMT_VPORT_GET_ATTRIB"},
    {DriverCommand::vport_get_list, "RAVN_MGMT_VPORT_GET_LIST"},
    {DriverCommand::vport_get_resrc, "RAVN_MGMT_VPORT_GET_RESRC"},
    {DriverCommand::vport_get_node_info, "RAVN_MGMT_VPORT_GET_NODE_INFO"},
    {DriverCommand::npiv_ready, "RAVN_MGMT_NPIV_READY"},
    {DriverCommand::linkinfo, "RAVN_MGMT_LINKINFO"},
    {DriverCommand::ioinfo, "RAVN_MGMT_IOINFO"},
    {DriverCommand::nodeinfo, "RAVN_MGMT_NODEINFO"},
    {DriverCommand::send_ct, "RAVN_MGMT_SEND_CT"},
    {DriverCommand::send_els, "RAVN_MGMT_SEND_ELS"},
    {DriverCommand::hba_send_scsi, "RAVN_MGMT_HBA_SEND_SCSI"},
    {DriverCommand::hba_send_fcp, "RAVN_MGMT_HBA_SEND_FCP"},
    {DriverCommand::hba_send_mgmt_cmd, "RAVN_MGMT_HBA_SEND_MGMT_CMD"},
    {DriverCommand::hba_send_mgmt_rsp, "RAVN_MGMT_HBA_SEND_MGMT_RSP"},
    {DriverCommand::list_bind, "RAVN_MGMT_LIST_BIND"},
    {DriverCommand::mbox_sli_cfg_ext, "RAVN_MGMT_MBOX_SLI_CFG_EXT"},
    {DriverCommand::mbox_sli_cfg_ext_sup, "RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP"},
    {DriverCommand::hba_get_fcf_list, "RAVN_MGMT_HBA_GET_FCF_LIST"},
    {DriverCommand::hba_issue_dmp_mbx, "RAVN_MGMT_HBA_ISSUE_DMP_MBX"},
    {DriverCommand::hba_issue_upd_mbx, "RAVN_MGMT_HBA_ISSUE_UPD_MBX"},
    {DriverCommand::get_logical_link_speed, "RAVN_MGMT_GET_LOGICAL_LINK_SPEED"},
    {DriverCommand::diag_mode_end, "RAVN_MGMT_DIAG_MODE_END"},
    {DriverCommand::get_fcp_priority, "RAVN_MGMT_GET_FCP_PRIORITY"},
    {DriverCommand::set_fcp_priority, "RAVN_MGMT_SET_FCP_PRIORITY"},
    {DriverCommand::get_fcp_priority_flag, "RAVN_MGMT_GET_FCP_PRIORITY_FLAG"},
    {DriverCommand::set_fcp_priority_flag, "RAVN_MGMT_SET_FCP_PRIORITY_FLAG"},
    {DriverCommand::get_pci_sbdf, "RAVN_MGMT_GET_PCI_SBDF"},
    {DriverCommand::vmid_get_qfpa, "RAVN_MGMT_VMID_GET_QFPA"},
    {DriverCommand::vmid_get_id_mapping, "RAVN_MGMT_VMID_GET_ID_MAPPING"},
    {DriverCommand::vmid_update_mapping, "RAVN_MGMT_VMID_UPDATE_MAPPING"},
    {DriverCommand::set_auth_config_v2, "RAVN_MGMT_SET_AUTH_CONFIG_V2"},
    {DriverCommand::get_auth_config_v2, "RAVN_MGMT_GET_AUTH_CONFIG_V2"},
    {DriverCommand::set_auth_passwd_v2, "RAVN_MGMT_SET_AUTH_PASSWD_V2"},
    {DriverCommand::get_auth_passwd_v2, "RAVN_MGMT_GET_AUTH_PASSWD_V2"},
    {DriverCommand::del_auth_config_v2, "RAVN_MGMT_DEL_AUTH_CONFIG_V2"},
    {DriverCommand::persist_auth_config, "RAVN_MGMT_PERSIST_AUTH_CONFIG"},
    {DriverCommand::del_auth_config_obj, "RAVN_MGMT_DEL_AUTH_CONFIG_OBJ"},
    {DriverCommand::init_auth, "RAVN_MGMT_INIT_AUTH"},
    {DriverCommand::get_auth_status, "RAVN_MGMT_GET_AUTH_STATUS"},
    {DriverCommand::hba_adapterattributes, "RAVN_MGMT_HBA_ADAPTERATTRIBUTES"},
    {DriverCommand::hba_portattributes, "RAVN_MGMT_HBA_PORTATTRIBUTES"},
    {DriverCommand::hba_portstatistics, "RAVN_MGMT_HBA_PORTSTATISTICS"},
    {DriverCommand::hba_discportattributes, "RAVN_MGMT_HBA_DISCPORTATTRIBUTES"},
    {DriverCommand::hba_wwpnportattributes, "RAVN_MGMT_HBA_WWPNPORTATTRIBUTES"},
    {DriverCommand::hba_indexportattributes, "RAVN_MGMT_HBA_INDEXPORTATTRIBUTES"},
    {DriverCommand::hba_fcptargetmapping, "RAVN_MGMT_HBA_FCPTARGETMAPPING"},
    {DriverCommand::hba_setmgmtinfo, "RAVN_MGMT_HBA_SETMGMTINFO"},
    {DriverCommand::hba_getmgmtinfo, "RAVN_MGMT_HBA_GETMGMTINFO"},
    {DriverCommand::hba_rnid, "RAVN_MGMT_HBA_RNID"},
    {DriverCommand::hba_refreshinfo, "RAVN_MGMT_HBA_REFRESHINFO"},
    {DriverCommand::hba_getevent, "RAVN_MGMT_HBA_GETEVENT"},
    {DriverCommand::oas_get, "RAVN_MGMT_OAS_GET"},
    {DriverCommand::get_trunk_info, "RAVN_MGMT_GET_TRUNK_INFO"},
    {DriverCommand::oas_set, "RAVN_MGMT_OAS_SET"},
    {DriverCommand::oas_ver, "RAVN_MGMT_OAS_VER"},
};

}  // namespace

std::string name_of(DriverCommand command) {
  const auto* found = std::ranges::find(named_commands, command, &NamedCommand::command);
  if (found != std::end(named_commands)) {
    return std::string{found->name};
  }
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "command 0x%llx",
                static_cast<unsigned long long>(command));
  return text.data();
}

std::optional<DriverCommand> command_named(std::string_view name) {
  const auto* found = std::ranges::find(named_commands, name, &NamedCommand::name);
  if (found == std::end(named_commands)) {
    return std::nullopt;
  }
  return found->command;
}

}  // namespace ravnsim
