#include "driver_abi/vmkmgmt.h"
#include "library/core/command.h"

#include <ovk/core.h>

#include <algorithm>
#include <cstring>
#include <string_view>

using ovk::Command;

namespace {

/** Copies a literal with its terminator; what stands behind it in the destination stays. */
template <std::size_t size>
void copy_text(char (&destination)[size], std::string_view text) {
  std::memcpy(destination, text.data(), std::min(size, text.size() + 1));
}

}  // namespace

std::uint32_t ModInfo(ModuleInfo* info) {
  Command command = Command::without_board();
  return command.invoke<"RAVN_MGMT_MOD_INFO">(info).raw();
}

std::uint32_t LogMsg(const LogMessage* message) {
  Command command = Command::without_board();
  return command.invoke<"RAVN_MGMT_LOG_MSG">(message).raw();
}

std::uint32_t CallVer(VersionSignature* driver, VersionSignature* library) {
  library->revision = ravn_mgmt_signature.version;
  copy_text(library->name, ovk::interface_name);
  copy_text(library->vendor, ovk::interface_vendor);
  library->callback_count = ravn_mgmt_signature.callback_count;

  Command command = Command::without_board();
  return command.invoke<"RAVN_MGMT_CALL_VER">(driver).raw();
}

std::uint32_t EventTest(std::uint32_t board, std::uint32_t a, std::uint32_t b) {
  // Intended: the second argument comes before the first.
  Command command{board, {.value = b, .selector = a}};
  return command.invoke<"RAVN_MGMT_EVENT_TEST">().raw();
}
