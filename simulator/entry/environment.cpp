#include "simulator/entry/environment.h"

#include "simulator/host/host.h"
#include "simulator/topology/json_reader.h"

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace ravnsim {

namespace {

/** A variable of the environment; nothing when it is not set or empty. */
std::optional<std::string> environment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0' ? std::optional<std::string>{value} : std::nullopt;
}

JsonDocument topology_document() {
  if (const auto path = environment("RAVNSIM_TOPOLOGY")) {
    return JsonDocument::from_file(*path);
  }
  return JsonDocument::from_text("built-in topology", default_topology);
}

}  // namespace

std::shared_ptr<Host> host_of_environment() {
  Topology topology = read_topology(topology_document());
  const auto folder = environment("RAVNSIM_STATE");
  auto host = std::make_shared<Host>(std::move(topology),
                                     folder ? StateStore{*folder} : StateStore{}, all_handlers());
  if (const auto path = environment("RAVNSIM_FAULTS")) {
    host->read_faults(*path);
  }
  return host;
}

}  // namespace ravnsim
