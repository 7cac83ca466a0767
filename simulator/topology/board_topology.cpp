#include "simulator/topology/board_topology.h"

#include "simulator/topology/json_reader.h"

namespace ravnsim {

namespace {

// The lengths of the driver's fields.
constexpr Longest short_text{64};
constexpr Longest long_text{256};

constexpr std::size_t most_bindings = 4096;

/** A time of at most an hour. */
std::chrono::milliseconds read_reset_time(const JsonValue& value) {
  return std::chrono::milliseconds{value.number<std::uint32_t>({0, 3600000})};
}

void read_identity(JsonObject& in, BoardTopology& board) {
  in.required("manufacturer", board.manufacturer, short_text);
  in.required("serial_number", board.serial_number, short_text);
  in.required("model", board.model, long_text);
  board.model_description = board.model;
  in.optional("model_description", board.model_description, long_text);
  in.optional("hardware_version", board.hardware_version, long_text);
  in.optional("option_rom_version", board.option_rom_version, long_text);
  in.optional("firmware_version", board.firmware_version, long_text);
  board.vendor_specific_id = board.device;
  in.optional("vendor_specific_id", board.vendor_specific_id);
}

/** What is outside the board, and what becomes of it. */
void read_surroundings(JsonObject& in, BoardTopology& board) {
  in.required("port", board.port);
  const Wwn& own_port = board.port.port_wwn;
  in.list("discovered_ports", board.discovered_ports, unique_port({own_port}));
  in.list("bindings", board.bindings);
  if (board.bindings.size() > most_bindings) {
    in.at("bindings").refuse("a board has at most " + std::to_string(most_bindings) + " bindings");
  }
  in.optional("statistics", board.statistics);
  in.optional("event_queue_capacity", board.event_queue_capacity);
  in.optional("timeline", board.timeline,
              [&](const JsonValue& list) { return read_timeline(list, board.discovered_ports); });
  in.optional("npiv", board.npiv,
              [&](const JsonValue& value) { return read_npiv(value, own_port); });
}

}  // namespace

static void read_members(JsonObject& in, BindingTopology& binding) {
  in.required("port_wwn", binding.port_wwn);
  in.optional("bus", binding.bus);
  in.required("target", binding.target);
}

void read_members(JsonObject& in, BoardTopology& board) {
  in.required("driver_number", board.driver_number, Range{0, max_boards - 1});
  in.required("device", board.device);
  in.optional("subsystem", board.subsystem);
  in.optional("adapter_type", board.adapter_type);
  in.required("sli_mode", board.sli_mode, Range{1, 5});
  in.optional("features", board.features);
  board.extended_sli_config = board.sli_mode >= sli4;
  in.optional("extended_sli_config", board.extended_sli_config);
  in.optional("ready", board.ready);
  in.optional("reset_milliseconds", board.reset_time, read_reset_time);
  in.optional("loopback_plug", board.loopback_plug);
  in.optional("dump_region_size", board.dump_region_size);
  read_identity(in, board);
  read_hardware(in, board);
  read_members(in, board.offers);
  read_surroundings(in, board);
  in.list("regions", board.regions,
          unique(&RegionTopology::number, "the board has this region already"));
  in.list("fcfs", board.fcfs,
          unique(&FcfTopology::index, "the board has another FCF of this index"));
}

}  // namespace ravnsim
