/**
 * @file
 * Vital product data in the format of the PCI Local Bus 3.0 standard.
 */
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace ovkctl {

/** A field of the vital product data. */
struct VpdField {
  std::string keyword;  ///< two characters
  std::string text;
  bool writable = false;
};

/** What vital product data say. What does not parse is left out. */
struct Vpd {
  std::string identifier;
  std::vector<VpdField> fields;
  bool checksum_right = false;
  bool complete = false;  ///< it parses up to its end tag
};

/** Reads vital product data, whatever they hold. */
Vpd parse_vpd(std::span<const std::uint8_t> image);

/** What a keyword stands for, such as "Part number"; empty for one that is not known. */
std::string vpd_keyword_text(const std::string& keyword);

}  // namespace ovkctl
