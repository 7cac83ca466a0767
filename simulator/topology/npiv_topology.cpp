#include "simulator/topology/npiv_topology.h"

#include "simulator/topology/json_reader.h"

namespace ravnsim {

NpivTopology read_npiv(const JsonValue& value, const Wwn& own_port) {
  constexpr std::uint32_t most_virtual_ports = 4096;
  NpivTopology npiv;
  read_object(value, [&](JsonObject& in) {
    in.optional("ready", npiv.ready);
    in.optional("port_limit", npiv.port_limit, Range{0, most_virtual_ports});
    in.optional("login_limit", npiv.login_limit);
    in.list("virtual_ports", npiv.ports, unique_port({own_port}));
    if (npiv.ports.size() > npiv.port_limit) {
      in.place().refuse("there are more virtual_ports than the port_limit admits");
    }
  });
  return npiv;
}

}  // namespace ravnsim
