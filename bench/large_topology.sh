#!/usr/bin/env bash
# Prints a topology of one board that sees many ports, each with a logical unit:
#   bench/large_topology.sh PORTS > topology.json
set -euo pipefail

awk -v ports="${1:?how many ports}" '
  function wwn(kind, number) {
    return sprintf("10:00:02:%02x:%02x:%02x:%02x:01", kind, int(number / 65536), int(number / 256) % 256, number % 256)
  }
  BEGIN {
    print "{\"driver\": {\"name\": \"ravn\", \"version\": \"14.0.0.0\"},"
    print " \"boards\": [{\"driver_number\": 0, \"device\": \"0xE3000010\", \"manufacturer\": \"Example\","
    print "  \"serial_number\": \"0\", \"model\": \"Large\", \"sli_mode\": 4, \"adapter_type\": \"0x704\","
    printf "  \"port\": {\"node_wwn\": \"%s\", \"port_wwn\": \"%s\", \"fc_id\": 1, \"fabric_name\": \"%s\"},\n", wwn(0, 0), wwn(0, 1), wwn(0, 2)
    print "  \"discovered_ports\": ["
    for (i = 0; i < ports; ++i) {
      # In another order than that of their addresses, as ports come.
      printf "   {\"node_wwn\": \"%s\", \"port_wwn\": \"%s\", \"fc_id\": %d, \"fabric_name\": \"%s\", ", wwn(1, i), wwn(2, i), 65536 + i * 7919 % 65521 + 65536 * int(i / 65521), wwn(0, 2)
      printf "\"fc4_types\": [\"fcp\"], \"symbolic_name\": \"port %d\", \"luns\": [{\"lun\": 0, \"serial_number\": \"%d\", \"blocks\": 2048}]}%s\n", i, i, i + 1 < ports ? "," : ""
    }
    print "  ]}]}"
  }'
