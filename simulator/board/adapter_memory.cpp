#include "simulator/board/adapter_memory.h"

#include "simulator/board/board_state.h"

#include <algorithm>

namespace ravnsim {

namespace {

constexpr const char* saved_memory = "memory";

// The status register: the firmware runs, and takes commands.
constexpr std::uint32_t firmware_running = 0x80000000;
constexpr std::uint32_t takes_commands = 0x40000000;

std::vector<std::uint8_t> initial_memory(const BoardTopology& board) {
  std::vector<std::uint8_t> bytes(board.hardware.memory_size);
  const std::string& version = board.firmware_version;
  std::copy_n(version.begin(), std::min(version.size(), bytes.size()), bytes.begin());
  return bytes;
}

}  // namespace

AdapterMemory::AdapterMemory(Adapter& adapter)
    : adapter_{adapter}, bytes_{initial_memory(adapter.topology())} {
  const auto saved = adapter.load(saved_memory);
  if (saved && saved->size() == bytes_.size()) {
    bytes_ = *saved;
  }
}

void AdapterMemory::write(std::size_t offset, std::span<const std::uint8_t> data) {
  std::ranges::copy(data, bytes_.begin() + static_cast<std::ptrdiff_t>(offset));
  adapter_.save(saved_memory, bytes_);
}

ControlRegisters::ControlRegisters(Adapter& adapter)
    : adapter_{adapter}, values_{adapter, "control-registers"} {}

std::uint32_t ControlRegisters::status() const {
  const bool normal = adapter_.state<BoardState>().mode() == BoardMode::normal;
  return normal ? firmware_running | takes_commands : firmware_running;
}

std::optional<std::uint32_t> ControlRegisters::read(ControlRegister place) const {
  switch (place) {
    case ControlRegister::attention:
      return values_.get().attention;
    case ControlRegister::doorbell:
      return 0;
    case ControlRegister::status:
      return status();
    case ControlRegister::control:
      return values_.get().control;
  }
  return std::nullopt;
}

bool ControlRegisters::write(ControlRegister place, std::uint32_t value) {
  Values values = values_.get();
  switch (place) {
    case ControlRegister::attention:
      values.attention &= ~value;
      break;
    case ControlRegister::doorbell:
      values.attention |= value;
      break;
    case ControlRegister::control:
      values.control = value;
      break;
    default:
      return false;
  }
  values_.set(values);
  return true;
}

}  // namespace ravnsim
