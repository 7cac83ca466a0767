/**
 * @file
 * Readers of the parts of a topology that are too large to be one line where they belong.
 */
#pragma once

#include "simulator/topology/json_reader.h"
#include "simulator/topology/topology.h"

namespace ravnsim {

/** Associated types of FC-LS. */
inline constexpr std::uint32_t storage_device_type = 0x9;
inline constexpr std::uint32_t host_type = 0xA;

/** A port, of which `unit_type` tells what stands behind it unless the topology says so. */
PortTopology read_port(const JsonValue& value, std::uint32_t unit_type);

/** What a port answers to an RNID. */
RnidTopology read_rnid(const JsonValue& value, std::uint32_t unit_type);

/** The logical units of a port, by rising number. */
std::vector<LunTopology> read_luns(const JsonValue& list);

/** The persistent bindings of a board. */
std::vector<BindingTopology> read_bindings(const JsonValue& list);

/** The counters of a board. */
std::array<CounterTopology, counter_count> read_statistics(const JsonValue& value);

/** The timeline of a board whose other ports were read. */
std::vector<Incident> read_timeline(const JsonValue& list, const BoardTopology& board);

/** The virtual ports of a board whose own port was read; nothing when there is no value. */
std::optional<NpivTopology> read_npiv(const JsonValue& value, const BoardTopology& board);

/** The regions of a board. */
std::vector<RegionTopology> read_regions(const JsonValue& list);

/** The FCFs that a board discovered. */
std::vector<FcfTopology> read_fcfs(const JsonValue& list);

}  // namespace ravnsim
