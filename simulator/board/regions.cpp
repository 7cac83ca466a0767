#include "simulator/board/regions.h"

#include <algorithm>

namespace ravnsim {

namespace {

std::string saved_name(std::uint32_t region) { return "region-" + std::to_string(region); }

}  // namespace

RegionStatus Regions::read(std::uint32_t region, std::vector<std::uint8_t>& contents) const {
  const std::uint32_t length = ovk::region_length(region);
  if (length == 0) {
    return RegionStatus::unknown;
  }
  if (auto saved = adapter_.load(saved_name(region))) {
    contents = std::move(*saved);
  } else if (const RegionTopology* given = initial(region); given != nullptr) {
    contents = given->contents;
  }
  if (contents.empty()) {
    return RegionStatus::empty;
  }
  contents.resize(length);
  return RegionStatus::completed;
}

RegionStatus Regions::write(std::uint32_t region, std::span<const std::uint8_t> bytes) {
  const std::uint32_t length = ovk::region_length(region);
  if (length == 0) {
    return RegionStatus::unknown;
  }
  if (bytes.empty() || bytes.size() > length) {
    return RegionStatus::bad_length;
  }
  if (const RegionTopology* given = initial(region); given != nullptr && given->locked) {
    return RegionStatus::locked;
  }
  std::vector<std::uint8_t> contents{bytes.begin(), bytes.end()};
  contents.resize(length);
  adapter_.save(saved_name(region), contents);
  return RegionStatus::completed;
}

const RegionTopology* Regions::initial(std::uint32_t region) const {
  const auto& regions = adapter_.topology().regions;
  const auto found = std::ranges::find(regions, region, &RegionTopology::number);
  return found != regions.end() ? &*found : nullptr;
}

}  // namespace ravnsim
