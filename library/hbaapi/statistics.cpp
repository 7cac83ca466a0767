#include "library/core/board_tables.h"
#include "library/core/command.h"

#include <ovk/hbaapi.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

using ovk::Command;
using ovk::Outcome;

constinit PortStatistics ovk_rststatistics[OVK_MAX_BOARDS] = {};

namespace {

constexpr std::int64_t not_counted = -1;

/** Takes a baseline off the counters; the differences wrap. */
void subtract(PortStatistics& stats, const PortStatistics& baseline) {
  const auto* const before = static_cast<const std::uint8_t*>(static_cast<const void*>(&baseline));
  auto* const counters = static_cast<std::uint8_t*>(static_cast<void*>(&stats));
  for (std::size_t at = 0; at < sizeof stats; at += sizeof(std::uint64_t)) {
    std::uint64_t counter = 0;
    std::uint64_t counted_before = 0;
    std::memcpy(&counter, counters + at, sizeof counter);
    std::memcpy(&counted_before, before + at, sizeof counted_before);
    counter -= counted_before;
    std::memcpy(counters + at, &counter, sizeof counter);
  }
}

/** Makes the counters a baseline with which later readings are compared. */
void make_baseline(PortStatistics& stats) {
  // Intended: only these three go on to read -1 after a reset when the driver does not count them.
  for (std::int64_t* counter : {&stats.LIPCount, &stats.NOSCount, &stats.DumpedFrames}) {
    if (*counter == not_counted) {
      *counter = 0;
    }
  }
}

}  // namespace

std::uint32_t GetPortStatistics(std::uint32_t board, std::uint32_t port_index,
                                PortStatistics* stats) {
  PortStatistics reply{};
  Command command{board};
  const Outcome outcome = command.invoke<"RAVN_MGMT_HBA_PORTSTATISTICS">(&reply);
  if (!outcome.succeeded()) {
    return outcome.result();
  }
  if (port_index == OVK_STATISTICS_SNAPSHOT) {
    make_baseline(reply);
  } else if (const PortStatistics* baseline = ovk::board_entry(ovk_rststatistics, board)) {
    subtract(reply, *baseline);
  }
  *stats = reply;
  return OVK_OK;
}

std::uint32_t ResetStatistics(std::uint32_t board) {
  PortStatistics no_board;
  PortStatistics* baseline = ovk::board_entry(ovk_rststatistics, board);
  return GetPortStatistics(board, OVK_STATISTICS_SNAPSHOT,
                           baseline != nullptr ? baseline : &no_board);
}
