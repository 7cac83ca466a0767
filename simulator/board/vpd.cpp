#include "simulator/board/vpd.h"

#include "simulator/board/wire.h"

#include <numeric>
#include <string_view>

namespace ravnsim {

namespace {

constexpr std::uint8_t identifier_string = 0x82;
constexpr std::uint8_t read_only_fields = 0x90;
constexpr std::uint8_t read_write_fields = 0x91;
constexpr std::uint8_t end_tag = 0x78;

// With these lengths a part always holds all its fields.
constexpr std::size_t longest_identifier = 96;
constexpr std::size_t longest_field = 24;
constexpr std::size_t read_write_room = 64;

void put_resource(ByteVector& bytes, std::uint8_t tag, const ByteVector& contents) {
  bytes.push_back(tag);
  bytes.push_back(static_cast<std::uint8_t>(contents.size()));
  bytes.push_back(static_cast<std::uint8_t>(contents.size() >> 8));
  put_bytes(bytes, contents);
}

void put_field(ByteVector& fields, std::string_view keyword, std::string_view text) {
  text = text.substr(0, longest_field);
  if (text.empty()) {
    return;
  }
  put_text(fields, keyword);
  fields.push_back(static_cast<std::uint8_t>(text.size()));
  put_text(fields, text);
}

ByteVector read_only_part(const BoardTopology& board) {
  ByteVector part;
  ByteVector identifier;
  put_text(identifier, std::string_view{board.model_description}.substr(0, longest_identifier));
  put_resource(part, identifier_string, identifier);

  const VpdTopology& vpd = board.hardware.vpd;
  ByteVector fields;
  put_field(fields, "PN", vpd.part_number);
  put_field(fields, "EC", vpd.engineering_change);
  put_field(fields, "SN", board.serial_number);
  put_field(fields, "MN", vpd.manufacture_id);
  put_field(fields, "V0", board.option_rom_version);
  put_text(fields, "RV");
  fields.push_back(1);
  fields.push_back(0);
  put_resource(part, read_only_fields, fields);

  // The bytes up to the checksum add up to 0.
  part.back() = static_cast<std::uint8_t>(-std::accumulate(part.begin(), part.end(), 0));
  return part;
}

ByteVector read_write_part(const VpdTopology& vpd) {
  ByteVector fields;
  put_field(fields, "YA", vpd.asset_tag);
  put_text(fields, "RW");
  const std::size_t remaining = read_write_room - fields.size() - 1;
  fields.push_back(static_cast<std::uint8_t>(remaining));
  fields.resize(read_write_room);

  ByteVector part;
  put_resource(part, read_write_fields, fields);
  part.push_back(end_tag);
  return part;
}

}  // namespace

VpdImage vpd_of(const BoardTopology& board) {
  return {read_only_part(board), read_write_part(board.hardware.vpd)};
}

}  // namespace ravnsim
