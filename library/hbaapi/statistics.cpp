#include "library/core/board_tables.h"
#include "library/core/command.h"

#include <ovk/hbaapi.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <functional>

using ovk::Command;
using ovk::Outcome;

constinit PortStatistics ovk_rststatistics[OVK_MAX_BOARDS] = {};

namespace {

constexpr std::int64_t not_counted = -1;

/** The counters as a row of unsigned numbers, whose differences wrap. */
using Counters = std::array<std::uint64_t, sizeof(PortStatistics) / sizeof(std::uint64_t)>;

PortStatistics difference(const PortStatistics& now, const PortStatistics& baseline) {
  auto counters = std::bit_cast<Counters>(now);
  std::ranges::transform(counters, std::bit_cast<Counters>(baseline), counters.begin(),
                         std::minus{});
  return std::bit_cast<PortStatistics>(counters);
}

/** The baseline with which later readings are compared. */
PortStatistics as_baseline(PortStatistics stats) {
  // Intended: only these three go on to read -1 after a reset when the driver does not count them.
  for (std::int64_t* counter : {&stats.LIPCount, &stats.NOSCount, &stats.DumpedFrames}) {
    if (*counter == not_counted) {
      *counter = 0;
    }
  }
  return stats;
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
    *stats = as_baseline(reply);
    return OVK_OK;
  }
  const PortStatistics* baseline = ovk::board_entry(ovk_rststatistics, board);
  *stats = baseline != nullptr ? difference(reply, *baseline) : reply;
  return OVK_OK;
}

std::uint32_t ResetStatistics(std::uint32_t board) {
  PortStatistics no_board;
  PortStatistics* baseline = ovk::board_entry(ovk_rststatistics, board);
  return GetPortStatistics(board, OVK_STATISTICS_SNAPSHOT,
                           baseline != nullptr ? baseline : &no_board);
}
