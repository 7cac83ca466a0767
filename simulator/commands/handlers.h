/**
 * @file
 * The handlers of the driver's commands, a function for each subsystem. A new subsystem adds its
 * line here and in handlers.cpp.
 */
#pragma once

#include "simulator/call/handler_table.h"

namespace ravnsim {

void add_attributes_handlers(HandlerTable& table);
void add_auth_handlers(HandlerTable& table);
void add_boards_handlers(HandlerTable& table);
void add_driver_info_handlers(HandlerTable& table);
void add_events_handlers(HandlerTable& table);
void add_fabric_handlers(HandlerTable& table);
void add_fcf_handlers(HandlerTable& table);
void add_fcp_priority_handlers(HandlerTable& table);
void add_hardware_handlers(HandlerTable& table);
void add_link_handlers(HandlerTable& table);
void add_loopback_handlers(HandlerTable& table);
void add_mailbox_handlers(HandlerTable& table);
void add_module_handlers(HandlerTable& table);
void add_npiv_handlers(HandlerTable& table);
void add_oas_handlers(HandlerTable& table);
void add_parameters_handlers(HandlerTable& table);
void add_ras_log_handlers(HandlerTable& table);
void add_raw_access_handlers(HandlerTable& table);
void add_regions_handlers(HandlerTable& table);
void add_reset_handlers(HandlerTable& table);
void add_rnid_handlers(HandlerTable& table);
void add_scsi_handlers(HandlerTable& table);
void add_statistics_handlers(HandlerTable& table);
void add_target_mapping_handlers(HandlerTable& table);
void add_vmid_handlers(HandlerTable& table);

/** The table of all of them. */
HandlerTable all_handlers();

}  // namespace ravnsim
