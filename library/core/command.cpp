#include "library/core/command.h"

namespace ovk {

void Command::write_call_line(const char* name) const {
  write_log_line(place_, "call: %s id[%d:%ld]\n", name, process_id(), thread_id());
}

void Command::report(const Outcome& outcome, const char* name, LoggedLines lines) const {
  if (outcome.succeeded()) {
    if ((lines & success_line) != 0 && log_enabled(OVK_LOG_SUCCESS)) {
      write_log_line(place_, "cmd ok:  %28s brd[%d] id[%d:%ld]\n", name, board_, process_id(),
                     thread_id());
    }
  } else if ((lines & failure_line) != 0 && log_enabled(OVK_LOG_ERROR)) {
    write_log_line(place_, "cmd err: %28s brd[%d] stat[x%x:x%x] id[%d:%ld]\n", name, board_,
                   outcome.invoke_result, static_cast<std::uint32_t>(outcome.status), process_id(),
                   thread_id());
  }
}

}  // namespace ovk
