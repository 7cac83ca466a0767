#include "ovkctl/subjects/pci_vpd.h"

#include "ovkctl/frame/values.h"
#include "ovkctl/frame/words.h"

#include <cstddef>
#include <numeric>
#include <optional>
#include <string_view>

namespace ovkctl {
namespace {

using ByteView = std::span<const std::uint8_t>;

constexpr std::uint8_t identifier_tag = 0x82;
constexpr std::uint8_t read_only_tag = 0x90;
constexpr std::uint8_t read_write_tag = 0x91;
constexpr std::uint8_t end_tag = 0x78;

std::string text_of(ByteView bytes) {
  const std::string text(bytes.begin(), bytes.end());
  return fixed_text(text);
}

/** Takes bytes from the front; nothing when there are not as many. */
std::optional<ByteView> take(ByteView& bytes, std::size_t count) {
  if (count > bytes.size()) {
    return std::nullopt;
  }
  const ByteView taken = bytes.first(count);
  bytes = bytes.subspan(count);
  return taken;
}

/** Takes the fields of a resource; false when one of them leaves it. */
bool take_fields(Vpd& vpd, ByteView contents, bool writable, const std::uint8_t* image) {
  while (!contents.empty()) {
    constexpr std::size_t header_size = 3;
    const auto header = take(contents, header_size);
    const auto value = header ? take(contents, (*header)[2]) : std::nullopt;
    if (!value) {
      return false;
    }
    const std::string keyword = text_of(header->first(2));
    if (keyword == "RV" && !value->empty()) {
      const auto sum = std::accumulate(image, value->data() + 1, std::uint32_t{0});
      vpd.checksum_right = sum % 256 == 0;
    } else if (keyword != "RW") {
      vpd.fields.push_back({keyword, text_of(*value), writable});
    }
  }
  return true;
}

}  // namespace

Vpd parse_vpd(std::span<const std::uint8_t> image) {
  Vpd vpd;
  ByteView rest = image;
  while (const auto tag = take(rest, 1)) {
    if (tag->front() == end_tag) {
      vpd.complete = true;
      break;
    }
    const auto length = take(rest, 2);
    const auto contents =
        length ? take(rest, (*length)[0] + std::size_t{256} * (*length)[1]) : std::nullopt;
    if (!contents) {
      break;
    }
    const bool writable = tag->front() == read_write_tag;
    if (tag->front() == identifier_tag) {
      vpd.identifier = text_of(*contents);
    } else if ((tag->front() != read_only_tag && !writable) ||
               !take_fields(vpd, *contents, writable, image.data())) {
      break;
    }
  }
  return vpd;
}

std::string vpd_keyword_text(const std::string& keyword) {
  static constexpr auto meanings = words<std::string_view>({{"PN", "Part number"},
                                                            {"EC", "Engineering change"},
                                                            {"SN", "Serial number"},
                                                            {"MN", "Manufacture ID"},
                                                            {"YA", "Asset tag"},
                                                            {"FG", "Fabric geography"},
                                                            {"LC", "Location"},
                                                            {"PG", "PCI geography"}});
  const char* const family = keyword.starts_with("V")   ? "Vendor-specific"
                             : keyword.starts_with("Y") ? "System"
                                                        : "";
  return word_or(meanings, keyword, family);
}

}  // namespace ovkctl
