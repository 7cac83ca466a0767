#include "library/core/command.h"

#include <ovk/info.h>

#include <algorithm>
#include <cstring>

using ovk::Command;
using ovk::Outcome;

std::uint32_t OVK_GetLinkInfo(int board, LinkInfo* record) {
  LinkInfo reply{};
  Command command{static_cast<std::uint32_t>(board)};
  const Outcome outcome = command.invoke<"RAVN_MGMT_LINKINFO">(&reply);
  if (outcome.succeeded()) {
    std::memcpy(record, &reply, sizeof reply);  // callers may hand in any address
  }
  return outcome.result();
}

std::uint32_t GetLinkInfo(int board, LinkInfo* record) { return OVK_GetLinkInfo(board, record); }

std::uint32_t GetIOinfo(int board, IoInfo* record) {
  IoInfo reply{};
  Command command{static_cast<std::uint32_t>(board)};
  const Outcome outcome = command.invoke<"RAVN_MGMT_IOINFO">(&reply);
  if (outcome.succeeded()) {
    *record = reply;
  }
  return outcome.result();
}

std::uint32_t GetNodeInfo(int board, NodeInfoEntry* entries) {
  constexpr std::uint32_t size = OVK_MAX_NODE_INFO_ENTRIES * sizeof(NodeInfoEntry);
  std::memset(entries, 0, size);
  Command command{static_cast<std::uint32_t>(board), {.request_size = size}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_NODEINFO">(ovk::as_bytes<size>(entries));
  // Intended: a failure reads like an empty table.
  const std::uint32_t reported =
      outcome.succeeded() ? command.block.reply_size / std::uint32_t{sizeof(NodeInfoEntry)} : 0;
  const std::uint32_t count = std::min<std::uint32_t>(reported, OVK_MAX_NODE_INFO_ENTRIES);
  std::memset(entries + count, 0, size - count * sizeof(NodeInfoEntry));  // what nobody reported
  return count;
}
