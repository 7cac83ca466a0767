/**
 * @file
 * What the commands have in common that read and write an adapter's memory, registers and PCI
 * configuration space.
 */
#ifndef OVKCTL_RAW_ACCESS_H
#define OVKCTL_RAW_ACCESS_H

#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/report.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ovkctl {

/** The usual reason for a refused access. */
inline constexpr const char* check_offset =
    "Check that the range lies within what the adapter has; the driver's log may say more.";

/** The data of a write: hex digits of the command line, or a file's contents. */
class WriteData {
 public:
  /** Declares the argument HEX and the option --from. */
  explicit WriteData(const Command& command)
      : hex_(command.optional_argument<HexBytes>("HEX", "the bytes, as hex digits")),
        file_(command.option<std::string>("--from", "FILE", "take the bytes from a file")) {}

  /** The bytes; throws UsageError unless the command line gives them in one of the two ways. */
  std::vector<std::uint8_t> bytes(std::size_t most) const {
    if (hex_.present() == file_.present()) {
      throw UsageError("Give the bytes either as HEX or with --from FILE.");
    }
    std::vector<std::uint8_t> bytes = hex_.present() ? hex_->bytes : read_file(*file_, most);
    if (bytes.empty() || bytes.size() > most) {
      throw UsageError("A write takes 1 to " + std::to_string(most) + " bytes.");
    }
    return bytes;
  }

 private:
  Given<HexBytes> hex_;
  Given<std::string> file_;
};

/** Puts bytes into a file when the command line names one, and into the report otherwise. */
inline void deliver(Report& report, const Given<std::string>& file,
                    const std::vector<std::uint8_t>& bytes, std::uint32_t offset) {
  if (file.present()) {
    write_file(*file, bytes);
    report.field("file", "File", *file);
  } else {
    report.dump("bytes", "", bytes, offset);
  }
}

}  // namespace ovkctl

#endif
