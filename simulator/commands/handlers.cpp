#include "simulator/commands/handlers.h"

namespace ravnsim {

HandlerTable all_handlers() {
  HandlerTable table;
  add_attributes_handlers(table);
  add_auth_handlers(table);
  add_boards_handlers(table);
  add_driver_info_handlers(table);
  add_events_handlers(table);
  add_fabric_handlers(table);
  add_fcf_handlers(table);
  add_fcp_priority_handlers(table);
  add_hardware_handlers(table);
  add_link_handlers(table);
  add_loopback_handlers(table);
  add_mailbox_handlers(table);
  add_module_handlers(table);
  add_npiv_handlers(table);
  add_oas_handlers(table);
  add_parameters_handlers(table);
  add_ras_log_handlers(table);
  add_raw_access_handlers(table);
  add_regions_handlers(table);
  add_reset_handlers(table);
  add_rnid_handlers(table);
  add_scsi_handlers(table);
  add_statistics_handlers(table);
  add_target_mapping_handlers(table);
  add_vmid_handlers(table);
  return table;
}

}  // namespace ravnsim
