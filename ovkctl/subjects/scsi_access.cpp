#include "ovkctl/subjects/scsi_access.h"

#include "ovkctl/frame/values.h"
#include "ovkctl/frame/words.h"

#include <algorithm>
#include <arpa/inet.h>
#include <fmt/core.h>

namespace ovkctl {
namespace {

constexpr std::uint32_t peripheral_limit = 0x100;
constexpr std::uint32_t flat_space = 0x4000;

constexpr const char* sense_keys[] = {
    "NO SENSE",       "RECOVERED ERROR", "NOT READY",      "MEDIUM ERROR",
    "HARDWARE ERROR", "ILLEGAL REQUEST", "UNIT ATTENTION", "DATA PROTECT",
    "BLANK CHECK",    "VENDOR SPECIFIC", "COPY ABORTED",   "ABORTED COMMAND",
    "reserved",       "VOLUME OVERFLOW", "MISCOMPARE",     "COMPLETED"};

/** The additional sense codes that operators meet. */
constexpr auto additional_senses =
    words<std::uint32_t>({{0x0400, "not ready, cause not reportable"},
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
                          {0x4B00, "data phase error"}});

constexpr auto device_types = words<std::uint8_t>({{0x00, "disk"},
                                                   {0x01, "tape"},
                                                   {0x05, "CD/DVD"},
                                                   {0x08, "medium changer"},
                                                   {0x0C, "storage array controller"},
                                                   {0x0D, "enclosure"},
                                                   {0x1F, "no device"}});

constexpr const char* associations[] = {"logical unit", "target port", "target device", "reserved"};
constexpr const char* designator_types[] = {"vendor specific",
                                            "T10 vendor ID",
                                            "EUI-64",
                                            "NAA",
                                            "relative target port",
                                            "target port group",
                                            "logical unit group",
                                            "MD5",
                                            "SCSI name string"};

constexpr std::uint8_t ascii_code_set = 2;
constexpr std::uint8_t utf8_code_set = 3;
constexpr std::size_t descriptor_header = 4;

/** Sense data in words, such as "ILLEGAL REQUEST, invalid field in CDB (5/24/00)". */
std::string sense_text(const Sense& sense) {
  constexpr std::uint8_t descriptor_format = 0x72;
  const bool is_fixed = (sense.bytes[0] & 0x7F) < descriptor_format;
  const std::uint8_t key = sense.bytes[is_fixed ? 2 : 1] & 0x0F;
  const std::uint32_t code = big_endian(sense.bytes, is_fixed ? 12 : 2, 2);
  const std::string meaning = word_or(additional_senses, code, "");
  return fmt::format("{}, {}{}({:x}/{:02x}/{:02x})", sense_keys[key], meaning,
                     meaning.empty() ? "" : " ", key, code >> 8, code & 0xFF);
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

std::string ascii_text(std::span<const std::uint8_t> bytes, std::size_t offset, std::size_t size) {
  const std::size_t begin = std::min(offset, bytes.size());
  const auto part = bytes.subspan(begin, std::min(size, bytes.size() - begin));
  const std::string text(part.begin(), part.end());
  return fixed_text(text);
}

std::uint32_t LogicalUnit::word0() const {
  const std::uint32_t address = lun < peripheral_limit ? lun : flat_space | lun;
  return htons(static_cast<std::uint16_t>(address));
}

std::string lun_text(std::span<const std::uint8_t> fcp_lun) {
  const std::uint32_t address = big_endian(fcp_lun, 0, 2);
  const bool is_single_level =
      std::ranges::all_of(fcp_lun.subspan(2), [](auto b) { return b == 0; });
  if (is_single_level && address < peripheral_limit) {
    return std::to_string(address);
  }
  if (is_single_level && (address & ~largest_lun) == flat_space) {
    return std::to_string(address & largest_lun);
  }
  return bytes_text(fcp_lun);
}

void check_scsi(std::uint32_t result, const Sense& sense, const Board& board,
                const std::string& operation) {
  static constexpr ResultText results[] = {
      {OVK_FAILED, "the target was not reached or the driver refused the command",
       "See with \"ovkctl ports\" whether the board sees the target port."},
  };
  board.check(result, operation, results);
  if (sense.length != 0) {
    throw OperationFailed(fmt::format("{} failed: the target answers CHECK CONDITION, {}.",
                                      operation, sense_text(sense)),
                          "See with \"ovkctl luns\" which logical units the target has.");
  }
}

std::string device_type_text(std::uint8_t first_inquiry_byte) {
  const std::uint8_t type = first_inquiry_byte & 0x1F;
  return word_or_hex(device_types, type, 2, "type ");
}

Designator decode_designator(std::span<const std::uint8_t> descriptor) {
  if (descriptor.size() < descriptor_header) {
    return {};
  }
  const std::size_t type = descriptor[1] & 0x0F;
  const std::uint8_t code_set = descriptor[0] & 0x0F;
  const std::size_t length =
      std::min<std::size_t>(descriptor[3], descriptor.size() - descriptor_header);
  const auto value = descriptor.subspan(descriptor_header, length);
  const bool is_text = code_set == ascii_code_set || code_set == utf8_code_set;
  return {type < std::size(designator_types) ? designator_types[type] : "reserved",
          associations[descriptor[1] >> 4 & 3],
          is_text ? ascii_text(value, 0, value.size()) : bytes_text(value)};
}

std::vector<Designator> decode_identification_page(std::span<const std::uint8_t> page) {
  std::vector<Designator> designators;
  auto rest = page.subspan(std::min(descriptor_header, page.size()));
  rest = rest.first(std::min<std::size_t>(rest.size(), big_endian(page, 2, 2)));
  while (rest.size() >= descriptor_header) {
    designators.push_back(decode_designator(rest));
    rest = rest.subspan(std::min<std::size_t>(rest.size(), descriptor_header + rest[3]));
  }
  return designators;
}

}  // namespace ovkctl
