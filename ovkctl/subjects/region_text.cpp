#include "ovkctl/subjects/region_text.h"

#include "driver_abi/record.h"
#include "driver_abi/regions.h"
#include "ovkctl/frame/values.h"

#include <ovk/regions.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <vector>

namespace ovkctl {
namespace {

using Image = std::span<const std::uint8_t>;

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

std::string fcoe_text(const ovk::RecordHeader& header, Image data) {
  const auto fcoe = ovk::read_record<ovk::FcoeParametersData>(data);
  if (!fcoe || data.size() != sizeof *fcoe) {
    return "damaged: it has another length";
  }
  const std::string vlan = (header.fields[1] & ovk::fcoe_vlan_valid) != 0
                               ? "VLAN " + std::to_string(fcoe->vlan_id & OVK_VLAN_ID_MASK)
                               : "no VLAN";
  return "FC-MAP " + bytes_text(fcoe->fc_map) + ", " + vlan;
}

/** All records of one kind that fit into the data. */
template <typename Record>
std::vector<Record> records_of(Image data) {
  std::vector<Record> records;
  while (const auto record = ovk::read_record<Record>(data, records.size() * sizeof(Record))) {
    records.push_back(*record);
  }
  return records;
}

std::string connections_text(Image data) {
  const auto connections = records_of<ovk::FcfConnectionData>(data);
  const auto used = std::ranges::count_if(connections, [](const auto& connection) {
    return (connection.flags & OVK_FCF_CONNECT_IN_USE) != 0;
  });
  return std::to_string(used) + " of " + std::to_string(connections.size()) + " in use";
}

std::string link_text(Image data) {
  for (const ovk::LinkSlot& slot : records_of<ovk::LinkSlot>(data)) {
    if (slot.valid == 1) {
      return slot.link_enabled == 0 ? "the link is kept down" : "the link may come up";
    }
  }
  return "no valid setting";
}

struct RecordText {
  std::string name;
  std::string meaning;
};

RecordText describe(const ovk::RecordHeader& header, Image data) {
  switch (header.type) {
    case ovk::RecordType::fcoe_parameters:
      return {"FCoE parameters", fcoe_text(header, data)};
    case ovk::RecordType::fcf_connections:
      return {"FCF connection list", connections_text(data)};
    case ovk::RecordType::persistent_link_down:
      return {"persistent link down", link_text(data)};
    case ovk::RecordType::end_of_list:
      return {"end of list", ""};
    default:
      return {"unknown", bytes_text(data.first(std::min<std::size_t>(data.size(), 16)))};
  }
}

/** The list ends at its end record, or where the image does. */
void add_records(Section& section, Image image, const ovk::Region23Header& region) {
  section.field("version", "Version", region.version);
  Table& table = section.table("records", "Records",
                               {{"offset", "OFFSET"},
                                {"type", "TYPE"},
                                {"name", "RECORD"},
                                {"words", "WORDS"},
                                {"meaning", "CONTENTS"}},
                               "The list holds no record.");
  std::size_t at = sizeof region;
  bool ended = false;
  while (const auto header =
             ended ? std::nullopt : ovk::read_record<ovk::RecordHeader>(image, at)) {
    const std::size_t room = image.size() - at - sizeof *header;
    const std::size_t size = header->words * sizeof(std::uint32_t);
    const Image data = image.subspan(at + sizeof *header, std::min(size, room));
    const auto [name, meaning] = describe(*header, data);
    table.row({Hex{at, 3}, Hex{static_cast<std::uint8_t>(header->type), 2}, name, header->words,
               size > room ? "damaged: it leaves the region" : meaning});
    ended = header->type == ovk::RecordType::end_of_list;
    at += sizeof *header + data.size();
  }
  if (!ended) {
    section.note("The list has no end.");
  }
}

void add_entries(Section& section, Image image) {
  section.field("version", "Version", image[offsetof(ovk::Region22Image, version)]);
  Table& table = section.table("entries", "Entries", {{"index", "ENTRY"}, {"bytes", "BYTES"}},
                               "The region holds no entry.");
  std::uint32_t index = 0;
  const Image entries = image.subspan(offsetof(ovk::Region22Image, entries));
  for (const ovk::Region22Slot& entry : records_of<ovk::Region22Slot>(entries)) {
    if (!is_zero(entry.bytes)) {
      table.row({index, bytes_text(entry.bytes)});
    }
    ++index;
  }
}

}  // namespace

void add_region_contents(Section& section, const RegionKind& region, Image image) {
  // Region 22 begins as Region 23 does.
  const auto header = ovk::read_record<ovk::Region23Header>(image);
  const std::uint32_t signature = header ? header->signature : 0;
  if (region.number == ovk::region23 && signature == ovk::region23_signature) {
    add_records(section, image, *header);
  } else if (region.number == ovk::region22 && signature == ovk::region22_signature) {
    add_entries(section, image);
  } else {
    section.dump("bytes", "Contents", {image.begin(), image.end()});
  }
}

Bytes default_region(const RegionKind& region) {
  Bytes image(region.length);
  if (region.number == ovk::region22) {
    std::memcpy(image.data(), &ovk::default_region22, sizeof ovk::default_region22);
  } else {
    std::memcpy(image.data(), &ovk::default_region23, sizeof ovk::default_region23);
  }
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
