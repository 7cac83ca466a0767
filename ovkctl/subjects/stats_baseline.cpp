#include "ovkctl/subjects/stats_baseline.h"

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/values.h"

#include <bit>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>

namespace ovkctl {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t largest_file = 4096;

fs::path state_folder() {
  if (const char* const state = std::getenv("XDG_STATE_HOME"); state != nullptr && *state != '\0') {
    return fs::path(state) / "ovkctl";
  }
  if (const char* const home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    return fs::path(home) / ".local" / "state" / "ovkctl";
  }
  throw OperationFailed("There is no place to keep what the counters read.",
                        "Set XDG_STATE_HOME to a folder.");
}

std::string baseline_path(const Wwn& port_wwn) {
  return state_folder() / ("statistics-" + wwn_text(port_wwn));
}

}  // namespace

std::optional<PortStatistics> load_baseline(const Wwn& port_wwn) {
  const std::string path = baseline_path(port_wwn);
  if (!fs::exists(path)) {
    return std::nullopt;
  }
  const Bytes bytes = read_file(path, largest_file);
  std::istringstream text(std::string(bytes.begin(), bytes.end()));
  CounterRow counters{};
  for (std::int64_t& counter : counters) {
    text >> counter;
  }
  if (!text) {
    throw OperationFailed(path + " does not hold the counters of a port.",
                          "Reset the statistics of this port anew.");
  }
  return std::bit_cast<PortStatistics>(counters);
}

void save_baseline(const Wwn& port_wwn, const PortStatistics& baseline) {
  std::string text;
  for (const std::int64_t counter : std::bit_cast<CounterRow>(baseline)) {
    text += std::to_string(counter) + "\n";
  }
  const std::string path = baseline_path(port_wwn);
  std::error_code error;
  fs::create_directories(fs::path(path).parent_path(), error);
  if (error) {
    throw OperationFailed(path + " cannot be written: " + error.message() + ".");
  }
  write_file(path, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

}  // namespace ovkctl
