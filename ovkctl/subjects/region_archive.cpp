#include "ovkctl/subjects/region_archive.h"

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/values.h"
#include "ovkctl/subjects/board_text.h"

#include <ovk/hbaapi.h>

#include <fmt/core.h>
#include <optional>
#include <sstream>
#include <string_view>

namespace ovkctl {
namespace {

constexpr std::string_view format_line = "ovkctl regions 1";
constexpr std::string_view checksum_word = "crc32 ";
constexpr std::size_t longest_file = 65536;

std::uint32_t crc32(std::string_view text) {
  static constexpr std::uint32_t polynomial = 0xEDB88320;
  std::uint32_t crc = 0xFFFFFFFF;
  for (const char character : text) {
    crc ^= static_cast<std::uint8_t>(character);
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc >> 1) ^ ((crc & 1) != 0 ? polynomial : 0);
    }
  }
  return ~crc;
}

std::string checksum_line(std::string_view text) {
  return fmt::format("{}{:#010x}\n", checksum_word, crc32(text));
}

/** Takes "word rest" apart when the line starts with the word. */
std::optional<std::string> value_of(const std::string& line, const std::string& word) {
  return line.starts_with(word + " ") ? std::optional(line.substr(word.size() + 1)) : std::nullopt;
}

void read_region_line(const std::string& value, RegionArchive& archive) {
  const std::size_t blank = value.find(' ');
  const auto number = static_cast<std::uint32_t>(
      parse_number(value.substr(0, blank), std::numeric_limits<std::uint32_t>::max()));
  HexBytes bytes;
  parse_value(blank != std::string::npos ? value.substr(blank + 1) : "", bytes);
  if (bytes.bytes.size() != region_kind(number).length) {
    throw UsageError("region {} has the wrong length", number);
  }
  archive.regions[number] = bytes.bytes;
}

void read_line(const std::string& line, RegionArchive& archive) {
  if (const auto region = value_of(line, "region")) {
    read_region_line(*region, archive);
  } else if (const auto model = value_of(line, "model")) {
    archive.board.model = *model;
  } else if (const auto serial = value_of(line, "serial_number")) {
    archive.board.serial_number = *serial;
  } else if (const auto wwn = value_of(line, "port_wwn")) {
    archive.board.port_wwn = *wwn;
  } else {
    throw UsageError("\"{}\" is unknown", line);
  }
}

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
  throw OperationFailed(fmt::format("The file \"{}\" holds no saved regions: {}.", path, why),
                        "Take a file that \"ovkctl region save\" wrote.");
}

}  // namespace

BoardIdentity identity_of(const Board& board) {
  AdapterAttributes adapter{};
  GetAdapterAttributes(board, &adapter);
  return {fixed_text(adapter.Model), fixed_text(adapter.SerialNumber),
          wwn_text(read_own_port(board).PortWWN)};
}

std::string BoardIdentity::text() const {
  return fmt::format("{} {}, port {}", model, serial_number, port_wwn);
}

std::string RegionArchive::text() const {
  std::string lines = fmt::format("{}\nmodel {}\nserial_number {}\nport_wwn {}\n", format_line,
                                  board.model, board.serial_number, board.port_wwn);
  for (const auto& [number, bytes] : regions) {
    lines += fmt::format("region {} {}\n", number, bytes_text(bytes));
  }
  return lines + checksum_line(lines);
}

RegionArchive RegionArchive::from_file(const std::string& path) {
  const Bytes bytes = read_file(path, longest_file);
  const std::string text(bytes.begin(), bytes.end());
  if (!text.starts_with(std::string(format_line) + "\n")) {
    refuse(path, "its first line is another");
  }
  const std::size_t checksum = text.rfind(checksum_word);
  if (checksum == std::string::npos ||
      text.substr(checksum) != checksum_line(std::string_view(text).substr(0, checksum))) {
    refuse(path, "its checksum does not fit");
  }
  RegionArchive archive;
  std::istringstream lines(text.substr(format_line.size() + 1, checksum - format_line.size() - 1));
  try {
    for (std::string line; std::getline(lines, line);) {
      read_line(line, archive);
    }
  } catch (const UsageError& mistake) {
    refuse(path, mistake.what());
  }
  return archive;
}

}  // namespace ovkctl
