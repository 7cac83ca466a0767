#include "simulator/board/driver_parameters.h"

#include <algorithm>

namespace ravnsim {

namespace {

using enum ovk::TakesEffect;

// New parameters go to the end: a parameter's place is its number.
constexpr ParameterDefinition definitions[parameter_count] = {
    {"log_events", 0, 0xFFFFFFFF, 0x1, at_once, "Mask of the events that the driver logs"},
    {"lun_queue_depth", 1, 512, 64, at_once, "Commands outstanding on one LUN"},
    {"target_queue_depth", 10, 65535, 65535, at_once, "Commands outstanding on one target"},
    {"adapter_queue_depth", 32, 8192, 8192, at_driver_load, "Commands outstanding on the adapter"},
    {"node_timeout", 1, 255, 10, at_once, "Seconds until a lost node is given up"},
    {"link_speed", 0, 64, 0, at_link_up, "Gbit/s; 0 negotiates"},
    {"link_topology", 0, 2, 0, at_link_up, "0 negotiates, 1 loop, 2 point to point"},
    {"max_luns", 1, 65535, 255, at_driver_load, "LUNs looked for on one target"},
    {"max_transfer_kib", 64, 16384, 1024, at_driver_load, "Largest transfer of one command"},
    {"interrupt_delay_us", 0, 500, 0, at_once, "Microseconds that completions are collected"},
    {"interrupt_vectors", 1, 32, 8, at_driver_load, "MSI-X vectors"},
    {"scan_order", 0, 1, 0, at_driver_load, "0 by discovery, 1 by AL_PA"},
    {"first_burst_size", 0, 65536, 0, at_link_up, "Bytes written before the target is ready"},
    {"fabric_registration", 0, 1, 1, at_link_up, "Registers the host with the fabric's management"},
    {"virtual_ports", 0, 1, 1, at_driver_load, "Virtual ports are allowed"},
    {"interface_revision", 4, 4, 4, never_set, "Management interface that the driver serves"},
};

}  // namespace

std::span<const ParameterDefinition> parameter_definitions() { return definitions; }

ParameterValues::Values ParameterValues::initial() {
  Values values;
  std::ranges::transform(definitions, values.begin(), &ParameterDefinition::initial);
  return values;
}

}  // namespace ravnsim
