#include "core/command.h"

namespace ovk {

std::uint32_t Outcome::result(std::initializer_list<StatusResult> map,
                              std::uint32_t otherwise) const {
  if (succeeded()) {
    return OVK_OK;
  }
  for (const StatusResult& entry : map) {
    if (entry.status == status) {
      return entry.result;
    }
  }
  return otherwise;
}

std::uint32_t Outcome::result_if_delivered(std::initializer_list<StatusResult> map,
                                           std::uint32_t otherwise) const {
  return delivered() ? result(map, otherwise) : otherwise;
}

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
