#include "simulator/handlers/handlers.h"

namespace ravnsim {

HandlerTable all_handlers() {
  HandlerTable table;
  add_attributes_handlers(table);
  add_boards_handlers(table);
  add_driver_info_handlers(table);
  add_fcf_handlers(table);
  add_loopback_handlers(table);
  add_mailbox_handlers(table);
  add_regions_handlers(table);
  add_reset_handlers(table);
  return table;
}

}  // namespace ravnsim
