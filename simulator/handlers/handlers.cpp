#include "simulator/handlers/handlers.h"

namespace ravnsim {

HandlerTable all_handlers() {
  HandlerTable table;
  add_attributes_handlers(table);
  add_auth_handlers(table);
  add_boards_handlers(table);
  add_driver_info_handlers(table);
  add_fcp_priority_handlers(table);
  add_oas_handlers(table);
  add_ras_log_handlers(table);
  add_vmid_handlers(table);
  return table;
}

}  // namespace ravnsim
