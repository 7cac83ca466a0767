#include "ovkctl/subjects/scsi_access.h"

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/values.h"

#include <ovk/hbaapi.h>

#include <algorithm>
#include <cstring>

namespace ovkctl {
namespace {

constexpr std::uint32_t kPeripheralLimit = 0x100;
constexpr std::uint32_t kFlatSpace = 0x4000;

constexpr const char* kSenseKeys[] = {
    "NO SENSE",       "RECOVERED ERROR", "NOT READY",      "MEDIUM ERROR",
    "HARDWARE ERROR", "ILLEGAL REQUEST", "UNIT ATTENTION", "DATA PROTECT",
    "BLANK CHECK",    "VENDOR SPECIFIC", "COPY ABORTED",   "ABORTED COMMAND",
    "reserved",       "VOLUME OVERFLOW", "MISCOMPARE",     "COMPLETED"};

struct AdditionalSense {
  std::uint32_t code;
  const char* meaning;
};

/** The additional sense codes that operators meet. */
constexpr AdditionalSense kAdditionalSenses[] = {
    {0x0400, "not ready, cause not reportable"},
    {0x0C00, "write error"},
    {0x1100, "unrecovered read error"},
    {0x2000, "invalid command operation code"},
    {0x2100, "logical block address out of range"},
    {0x2400, "invalid field in CDB"},
    {0x2500, "logical unit not supported"},
    {0x2700, "write protected"},
    {0x2900, "power on, reset, or bus device reset occurred"},
    {0x3A00, "medium not present"},
    {0x3F0E, "reported LUNs data has changed"},
    {0x4B00, "data phase error"},
};

constexpr const char* kAssociations[] = {"logical unit", "target port", "target device",
                                         "reserved"};
constexpr const char* kDesignatorTypes[] = {"vendor specific",
                                            "T10 vendor ID",
                                            "EUI-64",
                                            "NAA",
                                            "relative target port",
                                            "target port group",
                                            "logical unit group",
                                            "MD5",
                                            "SCSI name string"};

constexpr std::uint8_t kAsciiCodeSet = 2;
constexpr std::uint8_t kUtf8CodeSet = 3;
constexpr std::size_t kDescriptorHeader = 4;

std::string additional_sense_text(std::uint32_t code) {
  const auto* found = std::ranges::find(kAdditionalSenses, code, &AdditionalSense::code);
  return found != std::end(kAdditionalSenses) ? std::string(found->meaning) + " " : "";
}

}  // namespace

std::uint32_t big_endian(std::span<const std::uint8_t> bytes, std::size_t offset,
                         std::size_t size) {
  std::uint32_t number = 0;
  for (std::size_t i = offset; i < offset + size; ++i) {
    number = number << 8 | (i < bytes.size() ? bytes[i] : 0U);
  }
  return number;
}

std::string hex_digits(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += hex_text(byte, 2).substr(2);
  }
  return text;
}

std::string ascii_text(std::span<const std::uint8_t> bytes, std::size_t offset, std::size_t size) {
  const std::size_t begin = std::min(offset, bytes.size());
  const auto part = bytes.subspan(begin, std::min(size, bytes.size() - begin));
  const std::string text(part.begin(), part.end());
  return fixed_text(text);
}

std::uint32_t LogicalUnit::word0() const {
  const std::uint32_t address = lun < kPeripheralLimit ? lun : kFlatSpace | lun;
  const std::array<std::uint8_t, 4> bytes{static_cast<std::uint8_t>(address >> 8),
                                          static_cast<std::uint8_t>(address)};
  std::uint32_t word = 0;
  std::memcpy(&word, bytes.data(), sizeof word);
  return word;
}

std::string lun_text(std::span<const std::uint8_t> fcp_lun) {
  const std::uint32_t address = big_endian(fcp_lun, 0, 2);
  const bool is_single_level =
      std::ranges::all_of(fcp_lun.subspan(2), [](auto b) { return b == 0; });
  if (is_single_level && address < kPeripheralLimit) {
    return std::to_string(address);
  }
  if (is_single_level && (address & ~kLargestLun) == kFlatSpace) {
    return std::to_string(address & kLargestLun);
  }
  return hex_digits(fcp_lun);
}

std::string sense_text(const Sense& sense) {
  constexpr std::uint8_t descriptor_format = 0x72;
  const bool is_fixed = (sense.bytes[0] & 0x7F) < descriptor_format;
  const std::uint8_t key = sense.bytes[is_fixed ? 2 : 1] & 0x0F;
  const std::uint32_t code = big_endian(sense.bytes, is_fixed ? 12 : 2, 2);
  return std::string(kSenseKeys[key]) + ", " + additional_sense_text(code) + "(" +
         hex_text(key, 1).substr(2) + "/" + hex_text(code >> 8, 2).substr(2) + "/" +
         hex_text(code & 0xFF, 2).substr(2) + ")";
}

void check_scsi(std::uint32_t result, const Sense& sense, std::uint32_t board,
                const std::string& operation) {
  static constexpr ResultText results[] = {
      {OVK_FAILED, "the target was not reached or the driver refused the command",
       "See with \"ovkctl ports\" whether the board sees the target port."},
  };
  check_board(result, board, operation, results);
  if (sense.length != 0) {
    throw OperationFailed(
        operation + " failed: the target answers CHECK CONDITION, " + sense_text(sense) + ".",
        "See with \"ovkctl luns\" which logical units the target has.");
  }
}

ByteVector read_inquiry(const LogicalUnit& unit, bool evpd, std::uint8_t page) {
  constexpr std::uint32_t most = 255;  // the length in the CDB has one byte
  ByteVector data(most);
  std::uint32_t length = most;
  Sense sense;
  const std::uint32_t result =
      SendScsiInquiry(unit.board, &unit.target, unit.word0(), unit.word1(), evpd ? 1 : 0, page,
                      data.data(), &length, sense.bytes.data(), &sense.length);
  check_scsi(result, sense, unit.board, "The inquiry");
  data.resize(std::min(length, most));
  return data;
}

std::string device_type_text(std::uint8_t first_inquiry_byte) {
  constexpr std::uint8_t type_mask = 0x1F;
  switch (first_inquiry_byte & type_mask) {
    case 0x00:
      return "disk";
    case 0x01:
      return "tape";
    case 0x05:
      return "CD/DVD";
    case 0x08:
      return "medium changer";
    case 0x0C:
      return "storage array controller";
    case 0x0D:
      return "enclosure";
    case 0x1F:
      return "no device";
    default:
      return "type " + hex_text(first_inquiry_byte & type_mask, 2);
  }
}

Designator decode_designator(std::span<const std::uint8_t> descriptor) {
  if (descriptor.size() < kDescriptorHeader) {
    return {};
  }
  const std::size_t type = descriptor[1] & 0x0F;
  const std::uint8_t code_set = descriptor[0] & 0x0F;
  const std::size_t length =
      std::min<std::size_t>(descriptor[3], descriptor.size() - kDescriptorHeader);
  const auto value = descriptor.subspan(kDescriptorHeader, length);
  const bool is_text = code_set == kAsciiCodeSet || code_set == kUtf8CodeSet;
  return {type < std::size(kDesignatorTypes) ? kDesignatorTypes[type] : "reserved",
          kAssociations[descriptor[1] >> 4 & 3],
          is_text ? ascii_text(value, 0, value.size()) : hex_digits(value)};
}

std::vector<Designator> decode_identification_page(std::span<const std::uint8_t> page) {
  std::vector<Designator> designators;
  auto rest = page.subspan(std::min(kDescriptorHeader, page.size()));
  rest = rest.first(std::min<std::size_t>(rest.size(), big_endian(page, 2, 2)));
  while (rest.size() >= kDescriptorHeader) {
    designators.push_back(decode_designator(rest));
    rest = rest.subspan(std::min<std::size_t>(rest.size(), kDescriptorHeader + rest[3]));
  }
  return designators;
}

}  // namespace ovkctl
