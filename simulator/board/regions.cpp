#include "simulator/board/regions.h"

#include <algorithm>
#include <map>

namespace ravnsim {

namespace {

std::string saved_name(std::uint32_t region) { return "region-" + std::to_string(region); }

}  // namespace

std::uint32_t region_length(std::uint32_t region) {
  static const std::map<std::uint32_t, std::uint32_t> lengths{
      {0, 60},   {4, 120},   {5, 200},   {6, 200},  {7, 200},    {8, 60},
      {9, 256},  {10, 256},  {14, 1000}, {17, 100}, {19, 2028},  {21, 200},
      {22, 512}, {23, 1024}, {30, 12},   {32, 8},   {160, 4096}, {162, 4096}};
  const auto found = lengths.find(region);
  return found != lengths.end() ? found->second : 0;
}

RegionStatus Regions::read(std::uint32_t region, std::vector<std::uint8_t>& contents) const {
  const std::uint32_t length = region_length(region);
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
  const std::uint32_t length = region_length(region);
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
