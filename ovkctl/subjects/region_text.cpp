#include "ovkctl/subjects/region_text.h"

#include "ovkctl/frame/values.h"

#include <ovk/regions.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace ovkctl {
namespace {

using Image = std::span<const std::uint8_t>;

constexpr std::uint32_t kEntryTable = 22;
constexpr std::uint32_t kRecordList = 23;
constexpr std::size_t kImageHeader = 8;
constexpr std::size_t kRecordHeader = 4;
constexpr std::uint8_t kEndOfList = 0xff;

bool has_signature(Image image, std::string_view signature) {
  return image.size() >= kImageHeader &&
         std::equal(signature.begin(), signature.end(), image.begin());
}

bool is_zero(Image bytes) {
  return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == 0; });
}

std::string bytes_text(Image bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += (text.empty() ? "" : " ") + hex_text(byte, 2).substr(2);
  }
  return text;
}

std::uint32_t word_at(Image bytes, std::size_t offset) {
  std::uint32_t word = 0;
  std::memcpy(&word, bytes.subspan(offset, sizeof word).data(), sizeof word);
  return word;
}

std::string fcoe_text(Image header, Image data) {
  static constexpr std::size_t length = 8;
  if (data.size() != length) {
    return "damaged: it has another length";
  }
  const std::string vlan = (header[3] & 1) != 0
                               ? "VLAN " + std::to_string(word_at(data, 4) & OVK_VLAN_ID_MASK)
                               : "no VLAN";
  return "FC-MAP " + bytes_text(data.first(3)) + ", " + vlan;
}

std::string connections_text(Image data) {
  static constexpr std::size_t entry_bytes = 20;
  std::size_t used = 0;
  for (std::size_t at = 0; at + entry_bytes <= data.size(); at += entry_bytes) {
    used += data[at] & OVK_FCF_CONNECT_IN_USE;
  }
  return std::to_string(used) + " of " + std::to_string(data.size() / entry_bytes) + " in use";
}

std::string link_text(Image data) {
  static constexpr std::size_t slot_bytes = 4;
  for (std::size_t at = 0; at + slot_bytes <= data.size(); at += slot_bytes) {
    if (data[at] == 1) {
      return data[at + 2] == 0 ? "the link is kept down" : "the link may come up";
    }
  }
  return "no valid setting";
}

struct RecordText {
  std::string name;
  std::string meaning;
};

RecordText describe(Image header, Image data) {
  switch (header[0]) {
    case 0xa0:
      return {"FCoE parameters", fcoe_text(header, data)};
    case 0xa1:
      return {"FCF connection list", connections_text(data)};
    case 0xa2:
      return {"persistent link down", link_text(data)};
    case kEndOfList:
      return {"end of list", ""};
    default:
      return {"unknown", bytes_text(data.first(std::min<std::size_t>(data.size(), 16)))};
  }
}

/** The list ends at its end record, or where the image does. */
void add_records(Section& section, Image image) {
  section.field("version", "Version", word_at(image, 4));
  Table& table = section.table("records", "Records",
                               {{"offset", "OFFSET"},
                                {"type", "TYPE"},
                                {"name", "RECORD"},
                                {"words", "WORDS"},
                                {"meaning", "CONTENTS"}},
                               "The list holds no record.");
  std::size_t at = kImageHeader;
  bool ended = false;
  while (!ended && image.size() - at >= kRecordHeader) {
    const Image header = image.subspan(at, kRecordHeader);
    const std::size_t room = image.size() - at - kRecordHeader;
    const std::size_t size = header[1] * sizeof(std::uint32_t);
    const Image data = image.subspan(at + kRecordHeader, std::min(size, room));
    const auto [name, meaning] = describe(header, data);
    table.row({Hex{at, 3}, Hex{header[0], 2}, name, header[1],
               size > room ? "damaged: it leaves the region" : meaning});
    ended = header[0] == kEndOfList;
    at += kRecordHeader + data.size();
  }
  if (!ended) {
    section.note("The list has no end.");
  }
}

void add_entries(Section& section, Image image) {
  static constexpr std::size_t entry_bytes = sizeof(Region22Entry);
  section.field("version", "Version", image[4]);
  Table& table = section.table("entries", "Entries", {{"index", "ENTRY"}, {"bytes", "BYTES"}},
                               "The region holds no entry.");
  for (std::size_t i = 0; kImageHeader + (i + 1) * entry_bytes <= image.size(); ++i) {
    const Image entry = image.subspan(kImageHeader + i * entry_bytes, entry_bytes);
    if (!is_zero(entry)) {
      table.row({static_cast<std::uint32_t>(i), bytes_text(entry)});
    }
  }
}

}  // namespace

void add_region_contents(Section& section, const RegionKind& region, Image image) {
  if (region.number == kRecordList && has_signature(image, "RG23")) {
    add_records(section, image);
  } else if (region.number == kEntryTable && has_signature(image, "RG22")) {
    add_entries(section, image);
  } else {
    section.dump("bytes", "Contents", {image.begin(), image.end()});
  }
}

Bytes default_region(const RegionKind& region) {
  Bytes image(region.length);
  const auto put = [&image](std::size_t at, const Bytes& bytes) {
    std::ranges::copy(bytes, image.begin() + static_cast<std::ptrdiff_t>(at));
  };
  if (region.number == kEntryTable) {
    put(0, {'R', 'G', '2', '2', 1});
    return image;
  }
  put(0, {'R', 'G', '2', '3', 1});
  put(8, {0xa0, 2, 1, 1, 0x0e, 0xfc, 0x00});
  put(20, {0xa1, 80});
  put(344, {0xa2, 2, 0x30, 0, 1, 0, 1, 0, 0xff});
  put(356, {kEndOfList});
  return image;
}

std::size_t add_changes(Section& section, const Bytes& before, const Bytes& after) {
  static constexpr std::size_t line_bytes = 16;
  Table& table = section.table("changes", "Changes",
                               {{"offset", "OFFSET"}, {"before", "BEFORE"}, {"after", "AFTER"}},
                               "The region holds these bytes already.");
  std::size_t changed = 0;
  for (std::size_t at = 0; at < after.size(); at += line_bytes) {
    const std::size_t count = std::min(line_bytes, after.size() - at);
    const Image old_line = Image(before).subspan(at, count);
    const Image new_line = Image(after).subspan(at, count);
    for (std::size_t i = 0; i < count; ++i) {
      changed += old_line[i] != new_line[i] ? 1 : 0;
    }
    if (!std::ranges::equal(old_line, new_line)) {
      table.row({Hex{at, 3}, bytes_text(old_line), bytes_text(new_line)});
    }
  }
  return changed;
}

}  // namespace ovkctl
