#include "simulator/topology.h"

#include "simulator/json_reader.h"

#include <algorithm>
#include <filesystem>
#include <map>

namespace ravnsim {

namespace {

// The lengths of the driver's fields.
constexpr std::size_t short_text = 64;
constexpr std::size_t long_text = 256;
constexpr std::size_t os_device_name_length = 114;

constexpr std::size_t scsi_vendor_length = 8;
constexpr std::size_t scsi_product_length = 16;
constexpr std::size_t scsi_revision_length = 4;
constexpr std::size_t scsi_serial_length = 64;
constexpr std::size_t longest_path = 4096;

constexpr std::uint32_t largest_lun = 0x3FFF;
constexpr std::uint32_t most_blocks = 0xFFFFFFFE;  // more do not fit into READ CAPACITY(10)
constexpr std::size_t most_bindings = 4096;
constexpr std::uint32_t largest_fc_id = 0xFFFFFF;
constexpr std::uint32_t largest_class = 6;
constexpr Range<std::uint32_t> frame_sizes{256, 9216};
constexpr Range<std::uint32_t> sli_modes{1, 5};

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
  static const std::map<std::uint32_t, std::uint32_t> bits{{0, 0x0},   {1, 0x1},   {2, 0x2},
                                                           {10, 0x4},  {4, 0x8},   {8, 0x10},
                                                           {16, 0x20}, {32, 0x40}, {64, 0x1000}};
  const auto found = bits.find(value.number<std::uint32_t>());
  if (found == bits.end()) {
    value.refuse("speeds in Gbit/s are 1, 2, 4, 8, 10, 16, 32 and 64, and 0 for unknown");
  }
  return found->second;
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

/** An NAA identifier: 8 bytes of the formats 2, 3 and 5, or 16 of format 6. */
std::vector<std::uint8_t> read_naa(const JsonValue& value) {
  constexpr std::size_t short_digits = 16;
  constexpr std::size_t long_digits = 32;
  if (!value.present()) {
    return {};
  }
  std::string digits = value.text(3 * long_digits / 2);
  std::erase(digits, ':');
  const bool has_format =
      digits.size() == short_digits
          ? std::string_view{"235"}.find(digits.front()) != std::string_view::npos
          : digits.size() == long_digits && digits.front() == '6';
  const bool is_hex = digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
  if (!has_format || !is_hex) {
    value.refuse("\"" + digits +
                 "\" is no NAA identifier: 16 hex digits that begin with 2, 3 or 5, "
                 "or 32 that begin with 6");
  }
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

/** The blocks of a file that holds a disk. */
std::uint32_t blocks_of_file(const JsonValue& place, const std::string& path) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  if (error) {
    place.refuse(path + ": " + error.message());
  }
  if (size == 0 || size % block_size != 0 || size / block_size > most_blocks) {
    place.refuse(path + " has " + std::to_string(size) +
                 " bytes, which is no number of blocks of " + std::to_string(block_size));
  }
  return static_cast<std::uint32_t>(size / block_size);
}

void read_medium(LunTopology& unit, JsonObject& members) {
  const JsonValue blocks = members.at("blocks");
  const JsonValue file = members.at("file");
  unit.read_only = members.at("read_only").flag(false);
  if (unit.type != DeviceType::disk) {
    if (blocks.present() || file.present()) {
      members.place().refuse("only a disk has blocks");
    }
    return;
  }
  if (blocks.present() == file.present()) {
    members.place().refuse("a disk has either blocks or a file");
  }
  if (file.present()) {
    unit.file = file.text(longest_path);
    unit.blocks = blocks_of_file(file, unit.file);
  } else {
    unit.blocks = blocks.number<std::uint32_t>({1, most_blocks});
  }
}

LunTopology read_lun(const JsonValue& value) {
  LunTopology unit;
  read_object(value, [&](JsonObject& members) {
    unit.number = members.at("lun").number<std::uint32_t>({0, largest_lun});
    unit.type = members.at("type").word<DeviceType>(
        {{"disk", DeviceType::disk}, {"tape", DeviceType::tape}}, DeviceType::disk);
    unit.vendor = members.at("vendor").text(scsi_vendor_length, "RAVNSIM");
    unit.product = members.at("product").text(scsi_product_length, "Logical unit");
    unit.revision = members.at("revision").text(scsi_revision_length, "1.0");
    unit.serial_number = members.at("serial_number").text(scsi_serial_length);
    unit.naa = read_naa(members.at("naa"));
    const JsonValue eui64 = members.at("eui64");
    if (eui64.present()) {
      unit.eui64 = eui64.wwn();
    }
    unit.os_device_name = members.at("os_device_name").text(long_text, "");
    read_medium(unit, members);
  });
  return unit;
}

std::vector<LunTopology> read_luns(const JsonValue& list) {
  std::vector<LunTopology> luns;
  for (const JsonValue& place : list.elements_or_none()) {
    const LunTopology unit = read_lun(place);
    if (std::ranges::find(luns, unit.number, &LunTopology::number) != luns.end()) {
      place.refuse("the port has another logical unit with the lun " + std::to_string(unit.number));
    }
    luns.push_back(unit);
  }
  std::ranges::sort(luns, {}, &LunTopology::number);
  return luns;
}

std::vector<BindingTopology> read_bindings(const JsonValue& list) {
  std::vector<BindingTopology> bindings;
  for (const JsonValue& place : list.elements_or_none()) {
    read_object(place, [&](JsonObject& members) {
      bindings.push_back({.port_wwn = members.at("port_wwn").wwn(),
                          .bus = members.at("bus").number<std::uint32_t>({}, 0),
                          .target = members.at("target").number<std::uint32_t>()});
    });
  }
  if (bindings.size() > most_bindings) {
    list.refuse("a board has at most " + std::to_string(most_bindings) + " bindings");
  }
  return bindings;
}

PortTopology read_port(const JsonValue& value) {
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
    port.luns = read_luns(members.at("luns"));
  });
  return port;
}

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
    read_identity(board, members);
    board.port = read_port(members.at("port"));
    for (const JsonValue& place : members.at("discovered_ports").elements_or_none()) {
      const PortTopology port = read_port(place);
      refuse_known_port(board, port, place);
      board.discovered_ports.push_back(port);
    }
    board.bindings = read_bindings(members.at("bindings"));
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
