/**
 * @file
 * What the counters of a port read at its last reset, kept from one run of ovkctl to the next: the
 * library keeps it for the life of a process only.
 */
#pragma once

#include <ovk/hbaapi.h>

#include <array>
#include <cstdint>
#include <optional>

namespace ovkctl {

/** The counters of a record in their order. */
using CounterRow = std::array<std::int64_t, sizeof(PortStatistics) / sizeof(std::int64_t)>;

/** The baseline of a port; nothing when it was never reset. Throws OperationFailed for a file that
    is no baseline. */
std::optional<PortStatistics> load_baseline(const Wwn& port_wwn);

/** Keeps the baseline of a port; throws OperationFailed. */
void save_baseline(const Wwn& port_wwn, const PortStatistics& baseline);

}  // namespace ovkctl
