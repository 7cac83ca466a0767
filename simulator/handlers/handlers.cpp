#include "simulator/handlers/handlers.h"

namespace ravnsim {

HandlerTable all_handlers() {
  HandlerTable table;
  add_attributes_handlers(table);
  add_boards_handlers(table);
  add_driver_info_handlers(table);
  add_fabric_handlers(table);
  add_scsi_handlers(table);
  add_target_mapping_handlers(table);
  return table;
}

}  // namespace ravnsim
