#include "simulator/fabric/scsi_target.h"

#include "driver_abi/fc.h"

#include <algorithm>
#include <optional>

namespace ravnsim {

namespace {

using Cdb = std::span<const std::uint8_t>;

using Opcode = ovk::ScsiOpcode;

constexpr SenseCode no_sense{0x000000};
constexpr SenseCode unrecovered_read_error{0x031100};
constexpr SenseCode write_error{0x030C00};
constexpr SenseCode invalid_opcode{0x052000};
constexpr SenseCode lba_out_of_range{0x052100};
constexpr SenseCode invalid_field{0x052400};
constexpr SenseCode no_such_unit{0x052500};
constexpr SenseCode write_protected{0x072700};
constexpr SenseCode data_phase_error{0x0B4B00};

constexpr std::uint8_t information_valid = 0x80;
constexpr std::uint8_t pointer_into_cdb = 0xC0;  // with the bit that makes it valid
constexpr std::uint8_t no_such_device = 0x7F;    // qualifier 3, type 0x1F

constexpr std::size_t vendor_length = 8;
constexpr std::size_t product_length = 16;
constexpr std::size_t revision_length = 4;

// What a designation descriptor's first two bytes say (SPC).
constexpr std::uint32_t binary_naa = 0x0103;
constexpr std::uint32_t binary_eui64 = 0x0102;
constexpr std::uint32_t ascii_t10 = 0x0201;
constexpr std::uint32_t fcp_port_naa = 0x0193;

ScsiReply good(ByteVector data, std::uint32_t allocation_length) {
  data.resize(std::min<std::size_t>(data.size(), allocation_length));
  return {.data = std::move(data)};
}

ScsiReply check_condition(SenseCode code) { return {.sense = fixed_sense(code)}; }

/** Says which byte of the CDB is wrong. */
ScsiReply refuse_field(std::uint8_t cdb_byte) {
  ScsiReply reply = check_condition(invalid_field);
  reply.sense[15] = pointer_into_cdb;
  reply.sense[17] = cdb_byte;
  return reply;
}

ScsiReply refuse_lba(std::uint32_t lba) {
  ScsiReply reply = check_condition(lba_out_of_range);
  reply.sense[0] |= information_valid;
  ByteVector information;
  put_number(information, lba, 4);
  std::ranges::copy(information, reply.sense.begin() + 3);
  return reply;
}

std::uint8_t device_type(const LunTopology* unit) {
  return unit != nullptr ? static_cast<std::uint8_t>(unit->type) : no_such_device;
}

ByteVector standard_inquiry(const LunTopology* unit) {
  constexpr std::uint8_t spc4 = 6;
  constexpr std::uint8_t hierarchical_format_2 = 0x12;
  constexpr std::uint8_t additional_length = 31;
  constexpr std::uint8_t command_queuing = 0x02;
  ByteVector data{device_type(unit), 0, spc4, hierarchical_format_2,
                  additional_length, 0, 0,    command_queuing};
  put_text(data, unit != nullptr ? unit->vendor : "", vendor_length, ' ');
  put_text(data, unit != nullptr ? unit->product : "", product_length, ' ');
  put_text(data, unit != nullptr ? unit->revision : "", revision_length, ' ');
  return data;
}

void put_designator(ByteVector& page, std::uint32_t kind, std::span<const std::uint8_t> bytes) {
  put_number(page, kind, 2);
  put_number(page, static_cast<std::uint32_t>(bytes.size()), 2);
  put_bytes(page, bytes);
}

ByteVector designators(const LunTopology& unit, const PortTopology& port) {
  ByteVector list;
  if (!unit.naa.empty()) {
    put_designator(list, binary_naa, unit.naa);
  }
  if (unit.eui64) {
    put_designator(list, binary_eui64, unit.eui64->bytes);
  }
  ByteVector t10;
  put_text(t10, unit.vendor, vendor_length, ' ');
  put_text(t10, unit.product, product_length, ' ');
  put_text(t10, unit.serial_number);
  put_designator(list, ascii_t10, t10);
  put_designator(list, fcp_port_naa, port.port_wwn.bytes);
  return list;
}

std::optional<ByteVector> vital_product_data(const LunTopology& unit, const PortTopology& port,
                                             std::uint8_t page) {
  ByteVector contents;
  switch (page) {
    case 0x00:
      contents = {0x00, 0x80, 0x83};
      break;
    case 0x80:
      put_text(contents, unit.serial_number);
      break;
    case 0x83:
      contents = designators(unit, port);
      break;
    default:
      return std::nullopt;
  }
  ByteVector data{device_type(&unit), page};
  put_number(data, static_cast<std::uint32_t>(contents.size()), 2);
  put_bytes(data, contents);
  return data;
}

ScsiReply inquire(const LunTopology* unit, const PortTopology& port, Cdb cdb) {
  const std::uint32_t allocation_length = get_number(cdb, 3, 2);
  const std::uint8_t page = cdb[2];
  if ((cdb[1] & ~1U) != 0) {
    return refuse_field(1);
  }
  if (cdb[1] == 0) {
    return page == 0 ? good(standard_inquiry(unit), allocation_length) : refuse_field(2);
  }
  const auto data =
      unit != nullptr ? vital_product_data(*unit, port, page) : std::optional<ByteVector>{};
  return data ? good(*data, allocation_length) : refuse_field(2);
}

/** Sense data that would wait for this command went with the command that it belongs to. */
ScsiReply request_sense(const LunTopology* unit, Cdb cdb) {
  if (cdb[1] != 0) {
    return refuse_field(1);
  }
  return good(fixed_sense(unit != nullptr ? no_sense : no_such_unit), cdb[4]);
}

ScsiReply read_capacity(const LunTopology& unit, Cdb cdb) {
  if (get_number(cdb, 2, 4) != 0) {
    return refuse_field(2);
  }
  ByteVector data;
  put_number(data, unit.blocks - 1, 4);
  put_number(data, block_size, 4);
  return good(data, static_cast<std::uint32_t>(data.size()));
}

/** The blocks that READ(10) or WRITE(10) names, or how it is refused. */
struct Extent {
  std::uint32_t lba;
  std::uint32_t bytes;
  std::optional<ScsiReply> refusal;
};

Extent extent_of(const LunTopology& unit, Cdb cdb) {
  constexpr std::uint8_t protection_bits = 0xE0;
  Extent extent{get_number(cdb, 2, 4), get_number(cdb, 7, 2) * block_size, std::nullopt};
  if ((cdb[1] & protection_bits) != 0) {
    extent.refusal = refuse_field(1);
  } else if (extent.lba > unit.blocks || extent.bytes / block_size > unit.blocks - extent.lba) {
    extent.refusal = refuse_lba(extent.lba);
  }
  return extent;
}

ScsiReply read_blocks(const LunTopology& unit, Medium& medium, Cdb cdb) {
  Extent extent = extent_of(unit, cdb);
  if (extent.refusal) {
    return *extent.refusal;
  }
  ByteVector data(extent.bytes);
  if (!medium.read(extent.lba, data)) {
    return check_condition(unrecovered_read_error);
  }
  return {.data = std::move(data)};
}

ScsiReply write_blocks(const LunTopology& unit, Medium& medium, Cdb cdb,
                       std::span<const std::uint8_t> data_out) {
  Extent extent = extent_of(unit, cdb);
  if (extent.refusal) {
    return *extent.refusal;
  }
  if (unit.read_only) {
    return check_condition(write_protected);
  }
  if (data_out.size() < extent.bytes) {
    return check_condition(data_phase_error);
  }
  if (!medium.write(extent.lba, data_out.first(extent.bytes))) {
    return check_condition(write_error);
  }
  return {.taken = extent.bytes};
}

/** The commands of disks. */
ScsiReply execute_on_blocks(const LunTopology& unit, Medium& medium, Cdb cdb,
                            std::span<const std::uint8_t> data_out) {
  switch (static_cast<Opcode>(cdb[0])) {
    case Opcode::read_capacity_10:
      return read_capacity(unit, cdb);
    case Opcode::read_10:
      return read_blocks(unit, medium, cdb);
    case Opcode::write_10:
      return write_blocks(unit, medium, cdb, data_out);
    default:
      return check_condition(invalid_opcode);
  }
}

}  // namespace

FcpLun fcp_lun(std::uint32_t number) {
  constexpr std::uint32_t peripheral_limit = 0x100;
  constexpr std::uint32_t flat_space = 0x4000;
  const std::uint32_t address = number < peripheral_limit ? number : flat_space | number;
  return {static_cast<std::uint8_t>(address >> 8), static_cast<std::uint8_t>(address)};
}

ByteVector fixed_sense(SenseCode code) {
  constexpr std::uint8_t current_fixed = 0x70;
  constexpr std::size_t length = 18;
  ByteVector sense(length);
  sense[0] = current_fixed;
  sense[2] = static_cast<std::uint8_t>(code.code >> 16);
  sense[7] = length - 8;
  sense[12] = static_cast<std::uint8_t>(code.code >> 8);
  sense[13] = static_cast<std::uint8_t>(code.code);
  return sense;
}

const LunTopology* ScsiTarget::unit_of(const FcpLun& lun) const {
  const auto found = std::ranges::find_if(
      port_.luns, [&](const LunTopology& unit) { return fcp_lun(unit.number) == lun; });
  return found != port_.luns.end() ? &*found : nullptr;
}

ScsiReply ScsiTarget::report_luns(Cdb cdb) const {
  constexpr std::uint32_t least_room = 16;
  constexpr std::uint8_t well_known_only = 1;
  constexpr std::uint8_t all_units = 2;
  const std::uint32_t allocation_length = get_number(cdb, 6, 4);
  if (cdb[2] > all_units) {
    return refuse_field(2);
  }
  if (allocation_length < least_room) {
    return refuse_field(6);
  }
  ByteVector list;
  for (const LunTopology& unit : port_.luns) {
    if (cdb[2] != well_known_only) {
      put_bytes(list, fcp_lun(unit.number));
    }
  }
  ByteVector data;
  put_number(data, static_cast<std::uint32_t>(list.size()), 4);
  put_zeros(data, 4);
  put_bytes(data, list);
  return good(data, allocation_length);
}

ScsiReply ScsiTarget::execute(const FcpCommand& command, std::span<const std::uint8_t> data_out) {
  const Cdb cdb{command.cdb};
  const LunTopology* unit = unit_of(command.lun);
  // These answer for units that are not there, too.
  switch (static_cast<Opcode>(cdb[0])) {
    case Opcode::inquiry:
      return inquire(unit, port_, cdb);
    case Opcode::report_luns:
      return report_luns(cdb);
    case Opcode::request_sense:
      return request_sense(unit, cdb);
    default:
      break;
  }
  if (unit == nullptr) {
    return check_condition(no_such_unit);
  }
  if (static_cast<Opcode>(cdb[0]) == Opcode::test_unit_ready) {
    return {};
  }
  return unit->type == DeviceType::disk ? execute_on_blocks(*unit, media_.of(*unit), cdb, data_out)
                                        : check_condition(invalid_opcode);
}

}  // namespace ravnsim
