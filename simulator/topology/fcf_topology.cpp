#include "simulator/topology/fcf_topology.h"

#include "simulator/topology/json_reader.h"

namespace ravnsim {

void read_members(JsonObject& in, FcfTopology& fcf) {
  fcf.index = static_cast<std::uint16_t>(in.place().index());
  in.optional("index", fcf.index, Range{0, 0xFFFE});
  in.required("fabric_name", fcf.fabric_name);
  in.required("switch_name", fcf.switch_name);
  in.optional("priority", fcf.priority);
  in.optional("max_receive_size", fcf.max_receive_size);
  in.optional("keep_alive_milliseconds", fcf.keep_alive);
  in.list("vlans", fcf.vlans, Range{0, 4095});
  in.optional("available", fcf.available);
  in.optional("valid", fcf.valid);
}

}  // namespace ravnsim
