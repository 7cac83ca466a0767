#include "library/boards/driver_info.h"
#include "library/core/command.h"
#include "library/core/payload.h"

#include <ovk/mailbox.h>

#include <algorithm>

using ovk::Bytes;
using ovk::Command;
using ovk::HeapBuffer;

namespace {

/** The longest mailbox that the driver takes with its data. */
using ExtendedMailbox = Bytes<4096>;

}  // namespace

std::uint32_t IssueExtendedSLIConfig(std::uint32_t board, Mailbox* mb, std::uint32_t subCode,
                                     std::uint32_t /*kind*/, std::uint32_t words) {
  HeapBuffer<ExtendedMailbox> buffer{ovk::unfilled};
  if (!buffer) {
    return OVK_NO_MEMORY;
  }
  if (const auto refused = ovk::sli4_gate(board)) return *refused;
  constexpr std::uint32_t word_size = sizeof(std::uint32_t);
  const std::uint32_t told = words * word_size;
  const std::size_t moved =
      std::min<std::size_t>(words, sizeof(ExtendedMailbox) / word_size) * word_size;
  buffer.fill(mb, moved);
  Command command{board, {.request_size = told, .reply_size = told, .selector = subCode}};
  const bool succeeded = command.invoke<"RAVN_MGMT_MBOX_SLI_CFG_EXT">(buffer.get()).succeeded();
  if (!succeeded) {
    return OVK_FAILED;
  }
  buffer.copy_out(mb, moved);
  return OVK_OK;
}
