#include "library/regions/record_list.h"

#include "library/core/log.h"

#include <cstring>

using ovk::RecordCursor;
using ovk::RecordHeader;
using ovk::RecordType;

namespace ovk {

SearchCode check_region23(const void* image) {
  Region23Header header;
  std::memcpy(&header, image, sizeof header);
  if (header.signature != region23_signature) {
    return wrong_signature;
  }
  return header.version == region_version ? record_found : wrong_version;
}

}  // namespace ovk

RecordHeader* searchRegion23(void* image, std::uint32_t length, std::uint8_t type,
                             std::uint8_t* code) {
  const auto log_found = [](RecordType found) {
    if (ovk::log_enabled(OVK_LOG_ERROR)) {
      ovk::write_log_line(ovk::here("searchRegion23"), "ERROR: %02X Found\n\n",
                          static_cast<unsigned>(found));
    }
  };

  *code = ovk::check_region23(image);
  if (*code != ovk::record_found) {
    return nullptr;
  }
  for (RecordCursor cursor{static_cast<std::uint8_t*>(image), length}; cursor.at_record();
       cursor.advance()) {
    if (cursor.type() == RecordType::end_of_list) {
      log_found(RecordType::end_of_list);
      *code = ovk::end_of_list_found;
      return nullptr;
    }
    if (cursor.type() == RecordType{type}) {
      log_found(cursor.type());  // intended: a record that was looked for is logged like an error
      return cursor.header();
    }
  }
  *code = ovk::list_runs_out;
  return nullptr;
}
