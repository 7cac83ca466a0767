#include "simulator/topology/topology.h"

#include "simulator/topology/json_reader.h"

namespace ravnsim {

static void read_members(JsonObject& in, DriverTopology& driver) {
  constexpr Longest text{256};
  in.required("name", driver.name, text);
  in.required("version", driver.version, text);
  in.optional("reset_mode_3", driver.reset_mode_3);
}

static void read_members(JsonObject& in, Topology& topology) {
  in.required("driver", topology.driver);
  in.required("boards", topology.boards,
              unique(&BoardTopology::driver_number, "another board has the driver_number {}"));
}

Topology read_topology(const JsonDocument& document) {
  Topology topology;
  document.root().read(topology);
  return topology;
}

}  // namespace ravnsim
