#include "simulator/topology/lun_topology.h"

#include "simulator/topology/json_reader.h"

#include <filesystem>
#include <system_error>

namespace ravnsim {

namespace {

constexpr std::uint32_t largest_lun = 0x3FFF;
constexpr std::uint32_t most_blocks = 0xFFFFFFFE;  // more do not fit into READ CAPACITY(10)

constexpr Word<DeviceType> device_types[] = {{"disk", DeviceType::disk},
                                             {"tape", DeviceType::tape}};

/** An NAA identifier: 8 bytes of the formats 2, 3 and 5, or 16 of format 6. */
std::vector<std::uint8_t> read_naa(const JsonValue& value) {
  constexpr std::size_t short_digits = 16;
  constexpr std::size_t long_digits = 32;
  std::string digits = value.text(3 * long_digits / 2);
  std::erase(digits, ':');
  const bool has_format =
      digits.size() == short_digits
          ? std::string_view{"235"}.find(digits.front()) != std::string_view::npos
          : digits.size() == long_digits && digits.front() == '6';
  const auto bytes = parse_hex(digits);
  if (!has_format || !bytes) {
    value.refuse("\"" + digits +
                 "\" is no NAA identifier: 16 hex digits that begin with 2, 3 or 5, "
                 "or 32 that begin with 6");
  }
  return *bytes;
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

void read_medium(JsonObject& in, LunTopology& unit) {
  const JsonValue blocks = in.at("blocks");
  const JsonValue file = in.at("file");
  in.optional("read_only", unit.read_only);
  if (unit.type != DeviceType::disk) {
    if (blocks.present() || file.present()) {
      in.place().refuse("only a disk has blocks");
    }
    return;
  }
  if (blocks.present() == file.present()) {
    in.place().refuse("a disk has either blocks or a file");
  }
  if (file.present()) {
    file.read(unit.file, Longest{4096});
    unit.blocks = blocks_of_file(file, unit.file);
  } else {
    blocks.read(unit.blocks, Range{1, most_blocks});
  }
}

}  // namespace

void read_members(JsonObject& in, LunTopology& unit) {
  in.required("lun", unit.number, Range{0, largest_lun});
  in.optional("type", unit.type, device_types);
  in.optional("vendor", unit.vendor, Longest{8});
  in.optional("product", unit.product, Longest{16});
  in.optional("revision", unit.revision, Longest{4});
  in.required("serial_number", unit.serial_number, Longest{64});
  in.optional("naa", unit.naa, read_naa);
  in.optional("eui64", unit.eui64);
  in.optional("os_device_name", unit.os_device_name, Longest{256});
  read_medium(in, unit);
}

}  // namespace ravnsim
