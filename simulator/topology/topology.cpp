#include "simulator/topology/topology.h"

#include "simulator/board/port_speed.h"
#include "simulator/topology/json_reader.h"
#include "simulator/topology/topology_parts.h"

#include <algorithm>

namespace ravnsim {

namespace {

// The lengths of the driver's fields.
constexpr std::size_t short_text = 64;
constexpr std::size_t long_text = 256;
constexpr std::size_t os_device_name_length = 114;

constexpr std::uint32_t largest_fc_id = 0xFFFFFF;
constexpr std::uint32_t largest_class = 6;
constexpr std::uint32_t usual_event_queue_capacity = 64;
constexpr Range<std::uint32_t> frame_sizes{256, 9216};
constexpr Range<std::uint32_t> sli_modes{1, 5};
constexpr Range<std::uint32_t> reset_times{0, 3600000};
constexpr std::uint32_t default_reset_time = 2000;
constexpr std::uint32_t default_dump_region_size = 0x100000;

PortType read_port_type(const JsonValue& value) {
  using enum PortType;
  return value.word<PortType>({{"unknown", unknown},
                               {"other", other},
                               {"not_present", not_present},
                               {"n_port", n_port},
                               {"nl_port", nl_port},
                               {"fl_port", fl_port},
                               {"f_port", f_port},
                               {"e_port", e_port},
                               {"g_port", g_port},
                               {"l_port", l_port},
                               {"point_to_point", point_to_point}},
                              n_port);
}

PortState read_port_state(const JsonValue& value) {
  using enum PortState;
  return value.word<PortState>({{"unknown", unknown},
                                {"online", online},
                                {"offline", offline},
                                {"bypassed", bypassed},
                                {"diagnostics", diagnostics},
                                {"link_down", link_down},
                                {"error", error},
                                {"loopback", loopback}},
                               online);
}

/** The FC-HBA bit of a speed in Gbit/s. */
std::uint32_t read_speed(const JsonValue& value) {
  const auto bit = speed_bit(value.number<std::uint32_t>());
  if (!bit) {
    value.refuse("speeds in Gbit/s are 1, 2, 4, 8, 10, 16, 32 and 64, and 0 for unknown");
  }
  return *bit;
}

std::uint32_t read_speeds(const JsonValue& list) {
  std::uint32_t speeds = 0;
  for (const JsonValue& speed : list.elements_or_none()) {
    speeds |= read_speed(speed);
  }
  return speeds;
}

std::uint32_t read_classes(const JsonValue& list) {
  std::uint32_t classes = list.present() ? 0 : 1U << 3;  // class 3 is what everyone speaks
  for (const JsonValue& number : list.elements_or_none()) {
    classes |= 1U << number.number<std::uint32_t>({1, largest_class});
  }
  return classes;
}

Fc4Types read_fc4_types(const JsonValue& list, const Fc4Types& fallback) {
  if (!list.present()) {
    return fallback;
  }
  Fc4Types types{};
  for (const JsonValue& name : list.elements_or_none()) {
    const auto type = name.word<std::uint32_t>({{"fcp", 0x08}, {"ct", 0x20}, {"nvme", 0x28}});
    // The map is of big-endian words, the type's bit counted from the word's least significant.
    constexpr std::uint32_t word_bits = 32;
    const std::uint32_t byte = type / word_bits * 4 + (3 - type % word_bits / 8);
    types.at(byte) = static_cast<std::uint8_t>(types.at(byte) | 1U << type % 8);
  }
  return types;
}

}  // namespace

PortTopology read_port(const JsonValue& value, std::uint32_t unit_type) {
  PortTopology port;
  read_object(value, [&](JsonObject& members) {
    port.node_wwn = members.at("node_wwn").wwn();
    port.port_wwn = members.at("port_wwn").wwn();
    port.fc_id = members.at("fc_id").number<std::uint32_t>({0, largest_fc_id});
    port.type = read_port_type(members.at("type"));
    port.state = read_port_state(members.at("state"));
    port.classes = read_classes(members.at("classes"));
    port.fc4_types_supported = read_fc4_types(members.at("fc4_types"), {});
    port.fc4_types_active =
        read_fc4_types(members.at("fc4_types_active"), port.fc4_types_supported);
    port.symbolic_name = members.at("symbolic_name").text(long_text, "");
    port.os_device_name = members.at("os_device_name").text(os_device_name_length, "");
    port.supported_speeds = read_speeds(members.at("supported_speeds"));
    const JsonValue speed = members.at("speed");
    port.speed = speed.present() ? read_speed(speed) : 0;
    port.max_frame_size = members.at("max_frame_size").number(frame_sizes, 2048U);
    port.fabric_name = members.at("fabric_name").wwn(Wwn{});
    port.rnid = read_rnid(members.at("rnid"), unit_type);
    port.luns = read_luns(members.at("luns"));
  });
  return port;
}

namespace {

/** The ports of one board are told apart by their names. */
void refuse_known_port(const BoardTopology& board, const PortTopology& port,
                       const JsonValue& place) {
  const bool known = port.port_wwn == board.port.port_wwn ||
                     std::ranges::find(board.discovered_ports, port.port_wwn,
                                       &PortTopology::port_wwn) != board.discovered_ports.end();
  if (known) {
    place.refuse("the board has another port with the port_wwn " + to_text(port.port_wwn));
  }
}

void read_identity(BoardTopology& board, JsonObject& members) {
  board.manufacturer = members.at("manufacturer").text(short_text);
  board.serial_number = members.at("serial_number").text(short_text);
  board.model = members.at("model").text(long_text);
  board.model_description = members.at("model_description").text(long_text, board.model);
  board.hardware_version = members.at("hardware_version").text(long_text, "");
  board.option_rom_version = members.at("option_rom_version").text(long_text, "");
  board.firmware_version = members.at("firmware_version").text(long_text, "");
  board.vendor_specific_id =
      members.at("vendor_specific_id").number<std::uint32_t>({}, board.device);
}

BoardTopology read_board(const JsonValue& value) {
  BoardTopology board;
  read_object(value, [&](JsonObject& members) {
    board.driver_number = members.at("driver_number").number<std::uint32_t>({0, max_boards - 1});
    board.device = members.at("device").number<std::uint32_t>();
    board.subsystem = members.at("subsystem").number<std::uint32_t>({}, 0);
    board.adapter_type = members.at("adapter_type").number<std::uint32_t>({}, 0);
    board.sli_mode = members.at("sli_mode").number(sli_modes);
    board.features = members.at("features").number<std::uint32_t>({}, 0);
    board.extended_sli_config = members.at("extended_sli_config").flag(board.sli_mode >= sli4);
    board.ready = members.at("ready").flag(true);
    board.reset_time = std::chrono::milliseconds{
        members.at("reset_milliseconds").number(reset_times, default_reset_time)};
    board.loopback_plug = members.at("loopback_plug").flag(false);
    board.dump_region_size =
        members.at("dump_region_size").number<std::uint32_t>({}, default_dump_region_size);
    read_identity(board, members);
    board.hardware = read_hardware(board, members);
    board.offers = read_feature_topology(members);
    board.port = read_port(members.at("port"), host_type);
    for (const JsonValue& place : members.at("discovered_ports").elements_or_none()) {
      const PortTopology port = read_port(place, storage_device_type);
      refuse_known_port(board, port, place);
      board.discovered_ports.push_back(port);
    }
    board.bindings = read_bindings(members.at("bindings"));
    board.statistics = read_statistics(members.at("statistics"));
    board.event_queue_capacity =
        members.at("event_queue_capacity").number<std::uint32_t>({}, usual_event_queue_capacity);
    board.timeline = read_timeline(members.at("timeline"), board);
    board.npiv = read_npiv(members.at("npiv"), board);
    board.regions = read_regions(members.at("regions"));
    board.fcfs = read_fcfs(members.at("fcfs"));
  });
  return board;
}

}  // namespace

Topology read_topology(const JsonDocument& document) {
  Topology topology;
  read_object(document.root(), [&](JsonObject& members) {
    read_object(members.at("driver"), [&](JsonObject& driver) {
      topology.driver.name = driver.at("name").text(long_text);
      topology.driver.version = driver.at("version").text(long_text);
      topology.driver.reset_mode_3 = driver.at("reset_mode_3").flag(true);
    });
    for (const JsonValue& place : members.at("boards").elements()) {
      const BoardTopology board = read_board(place);
      if (std::ranges::find(topology.boards, board.driver_number, &BoardTopology::driver_number) !=
          topology.boards.end()) {
        place.refuse("another board has the driver_number " + std::to_string(board.driver_number));
      }
      topology.boards.push_back(board);
    }
  });
  return topology;
}

}  // namespace ravnsim
