#include "simulator/topology/topology_parts.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace ravnsim {

namespace {

constexpr std::size_t device_name_length = 256;
constexpr std::size_t scsi_vendor_length = 8;
constexpr std::size_t scsi_product_length = 16;
constexpr std::size_t scsi_revision_length = 4;
constexpr std::size_t scsi_serial_length = 64;
constexpr std::size_t longest_path = 4096;

constexpr std::uint32_t largest_lun = 0x3FFF;
constexpr std::uint32_t most_blocks = 0xFFFFFFFE;  // more do not fit into READ CAPACITY(10)
constexpr std::size_t most_bindings = 4096;

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
    unit.os_device_name = members.at("os_device_name").text(device_name_length, "");
    read_medium(unit, members);
  });
  return unit;
}

}  // namespace

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

}  // namespace ravnsim
