#include "ovkctl/subjects/region_text.h"

#include "driver_abi/record.h"
#include "driver_abi/regions.h"
#include "ovkctl/frame/values.h"
#include "ovkctl/frame/words.h"

#include <ovk/regions.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <fmt/core.h>
#include <functional>
#include <numeric>
#include <optional>
#include <vector>

namespace ovkctl {
namespace {

using Image = std::span<const std::uint8_t>;

std::string spaced(Image bytes) { return bytes_text(bytes, " "); }

std::string fcoe_text(const ovk::RecordHeader& header, Image data) {
  const auto fcoe = ovk::read_record<ovk::FcoeParametersData>(data);
  if (!fcoe || data.size() != sizeof *fcoe) {
    return "damaged: it has another length";
  }
  const std::string vlan = (header.fields[1] & ovk::fcoe_vlan_valid) != 0
                               ? fmt::format("VLAN {}", fcoe->vlan_id & OVK_VLAN_ID_MASK)
                               : "no VLAN";
  return fmt::format("FC-MAP {}, {}", spaced(fcoe->fc_map), vlan);
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
  return fmt::format("{} of {} in use", used, connections.size());
}

std::string link_text(Image data) {
  for (const ovk::LinkSlot& slot : records_of<ovk::LinkSlot>(data)) {
    if (slot.valid == 1) {
      return slot.link_enabled == 0 ? "the link is kept down" : "the link may come up";
    }
  }
  return "no valid setting";
}

constexpr auto record_names = words<ovk::RecordType>({
    {ovk::RecordType::fcoe_parameters, "FCoE parameters"},
    {ovk::RecordType::fcf_connections, "FCF connection list"},
    {ovk::RecordType::persistent_link_down, "persistent link down"},
    {ovk::RecordType::end_of_list, "end of list"},
});

std::string meaning_of(const ovk::RecordHeader& header, Image data) {
  switch (header.type) {
    case ovk::RecordType::fcoe_parameters:
      return fcoe_text(header, data);
    case ovk::RecordType::fcf_connections:
      return connections_text(data);
    case ovk::RecordType::persistent_link_down:
      return link_text(data);
    case ovk::RecordType::end_of_list:
      return "";
    default:
      return spaced(data.first(std::min<std::size_t>(data.size(), 16)));
  }
}

/** A record of region 23. */
struct RecordRow {
  std::size_t offset;
  ovk::RecordHeader header;
  Image data;
  bool whole;
};

constexpr Column<RecordRow> record_columns[] = {
    {"offset", "OFFSET", as<Hex, &RecordRow::offset, 3>},
    {"type", "TYPE",
     [](const RecordRow& row) {
       return Hex{static_cast<std::uint8_t>(row.header.type), 2};
     }},
    {"name", "RECORD",
     [](const RecordRow& row) { return word_or(record_names, row.header.type, "unknown"); }},
    {"words", "WORDS", [](const RecordRow& row) { return row.header.words; }},
    {"meaning", "CONTENTS",
     [](const RecordRow& row) {
       return row.whole ? meaning_of(row.header, row.data) : "damaged: it leaves the region";
     }},
};

/** The list ends at its end record, or where the image does. */
void add_records(Section& section, Image image, const ovk::Region23Header& region) {
  std::vector<RecordRow> records;
  std::size_t at = sizeof region;
  bool ended = false;
  while (const auto header =
             ended ? std::nullopt : ovk::read_record<ovk::RecordHeader>(image, at)) {
    const std::size_t room = image.size() - at - sizeof *header;
    const std::size_t size = header->words * sizeof(std::uint32_t);
    const Image data = image.subspan(at + sizeof *header, std::min(size, room));
    records.push_back({at, *header, data, size <= room});
    ended = header->type == ovk::RecordType::end_of_list;
    at += sizeof *header + data.size();
  }
  section.field("version", "Version", region.version)
      .table("records", "Records", record_columns, records, "The list holds no record.");
  if (!ended) {
    section.note("The list has no end.");
  }
}

/** An entry of region 22 and its index. */
struct EntryRow {
  std::uint32_t index;
  std::string bytes;
};

constexpr Column<EntryRow> entry_columns[] = {
    {"index", "ENTRY", field<&EntryRow::index>},
    {"bytes", "BYTES", field<&EntryRow::bytes>},
};

void add_entries(Section& section, Image image) {
  std::vector<EntryRow> entries;
  std::uint32_t index = 0;
  for (const auto& [bytes] :
       records_of<ovk::Region22Slot>(image.subspan(offsetof(ovk::Region22Image, entries)))) {
    if (std::ranges::count(bytes, 0) != sizeof bytes) {
      entries.push_back({index, spaced(bytes)});
    }
    ++index;
  }
  section.field("version", "Version", image[offsetof(ovk::Region22Image, version)])
      .table("entries", "Entries", entry_columns, entries, "The region holds no entry.");
}

/** A line of bytes that changes. */
struct ChangeRow {
  std::size_t offset;
  Image before;
  Image after;
};

constexpr Column<ChangeRow> change_columns[] = {
    {"offset", "OFFSET", as<Hex, &ChangeRow::offset, 3>},
    {"before", "BEFORE", [](const ChangeRow& row) { return spaced(row.before); }},
    {"after", "AFTER", [](const ChangeRow& row) { return spaced(row.after); }},
};

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
    section.payload("bytes", "Contents", {image.begin(), image.end()});
    return;
  }
  section.payload("", "", {image.begin(), image.end()});
}

Bytes default_region(const RegionKind& region) {
  const auto image_of = [&region](const auto& contents) {
    Bytes image(region.length);
    std::memcpy(image.data(), &contents, sizeof contents);
    return image;
  };
  return region.number == ovk::region22 ? image_of(ovk::default_region22)
                                        : image_of(ovk::default_region23);
}

std::size_t add_changes(Section& section, const Bytes& before, const Bytes& after) {
  static constexpr std::size_t line_bytes = 16;
  std::vector<ChangeRow> rows;
  std::size_t changed = 0;
  for (std::size_t at = 0; at < after.size(); at += line_bytes) {
    const std::size_t count = std::min(line_bytes, after.size() - at);
    const ChangeRow row{at, Image{before}.subspan(at, count), Image{after}.subspan(at, count)};
    const std::size_t same =
        std::inner_product(row.before.begin(), row.before.end(), row.after.begin(), std::size_t{0},
                           std::plus{}, std::equal_to{});
    if (same != count) {
      changed += count - same;
      rows.push_back(row);
    }
  }
  section.table("changes", "Changes", change_columns, rows,
                "The region holds these bytes already.");
  return changed;
}

}  // namespace ovkctl
