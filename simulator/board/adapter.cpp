#include "simulator/board/adapter.h"

#include "simulator/board/state_store.h"

namespace ravnsim {

Adapter::Adapter(const BoardTopology& topology, const DriverTopology& driver, StateStore& store)
    : topology_{topology}, driver_{driver}, store_{store} {}

std::optional<std::vector<std::uint8_t>> Adapter::load(const std::string& name) const {
  return store_.read(key(name));
}

void Adapter::save(const std::string& name, std::span<const std::uint8_t> blob) {
  store_.write(key(name), blob);
}

void Adapter::forget(const std::string& name) { store_.remove(key(name)); }

std::string Adapter::key(const std::string& name) const {
  return "board-" + std::to_string(topology_.driver_number) + "/" + name;
}

}  // namespace ravnsim
