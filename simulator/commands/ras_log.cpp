#include "driver_abi/records/ras_log.h"

#include "simulator/board/saved.h"
#include "simulator/commands/subsystem.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <vector>

namespace ravnsim {

namespace {

/** The answer to RAVN_MGMT_GET_RAS_CONFIG. */
struct [[gnu::packed]] ConfigRecord {
  std::uint8_t active;
  std::uint8_t level;
  std::uint32_t buffer_units;
};

/** What RAVN_MGMT_SET_RAS_CONFIG takes. */
struct SettingRecord {
  std::uint8_t start;
  std::uint8_t level;
};

static_assert(sizeof(ConfigRecord) == 6);

constexpr std::uint8_t highest_level = 4;
constexpr std::uint32_t buffer_unit = 262144;
constexpr std::size_t line_length = 64;

/** One line of the log, a line end in its last byte. The firmware repeats itself. */
std::array<char, line_length> line(std::uint64_t number) {
  static constexpr const char* events[] = {
      "link: speed negotiated, 32G",      "fcf: keep-alive received",
      "io: XRI returned to the pool",     "els: PRLI accept received",
      "temperature: 51 C, normal",        "io: abort completed, no match",
      "sli: mailbox doorbell serviced",   "rsrc: RPI table 12 % in use",
      "link: one primitive sequence lost"};
  std::array<char, line_length> text{};
  text.fill(' ');
  const int length =
      std::snprintf(text.data(), text.size(), "%010llu fw %s",
                    static_cast<unsigned long long>(number), events[number % std::size(events)]);
  text.at(static_cast<std::size_t>(length)) = ' ';
  text.back() = '\n';
  return text;
}

/**
 * The firmware log: a ring in memory that the driver gives. It grows by a part with each command
 * that concerns it while the firmware logs, and can be read after that too.
 */
class RasLog {
 public:
  explicit RasLog(Adapter& adapter)
      : topology_{*adapter.topology().offers.ras_log},
        size_{topology_.buffer_units * buffer_unit},
        state_{adapter, "ras-log"} {}

  [[nodiscard]] bool active() const { return state_.get().active != 0; }
  [[nodiscard]] std::uint8_t level() const { return static_cast<std::uint8_t>(state_.get().level); }

  void start(std::uint8_t level) { state_.set({.active = 1, .level = level, .written = 0}); }

  void stop() {
    state_.change([](State& state) { state.active = 0; });
  }

  void grow() {
    if (active()) {
      const std::uint32_t bytes = topology_.bytes_per_command;
      state_.change([&](State& state) { state.written += bytes - bytes % line_length; });
    }
  }

  [[nodiscard]] std::uint32_t available() const {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(state_.get().written, size_));
  }

  [[nodiscard]] std::uint32_t oldest() const {
    return state_.get().written > size_ ? static_cast<std::uint32_t>(state_.get().written % size_)
                                        : 0;
  }

  /** The bytes of the ring from an offset on. */
  [[nodiscard]] std::vector<std::uint8_t> read(std::uint32_t offset, std::size_t size) const {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(size + line_length);
    const std::size_t skipped = offset % line_length;
    for (std::uint64_t at = offset - skipped; bytes.size() < skipped + size; at += line_length) {
      const auto text = line(line_at(at));
      bytes.insert(bytes.end(), text.begin(), text.end());
    }
    return {bytes.begin() + static_cast<std::ptrdiff_t>(skipped),
            bytes.begin() + static_cast<std::ptrdiff_t>(skipped + size)};
  }

 private:
  struct State {
    std::uint32_t active = 0;
    std::uint32_t level = 0;
    std::uint64_t written = 0;
  };

  /** The number of the last line that was written at that place of the ring. */
  [[nodiscard]] std::uint64_t line_at(std::uint64_t at) const {
    const std::uint64_t rounds = (state_.get().written - at - 1) / size_;
    return (at + rounds * size_) / line_length;
  }

  const RasLogTopology& topology_;
  std::uint64_t size_;
  Saved<State> state_;
};

DriverStatus get_config(Adapter& adapter, Request& request) {
  auto& log = adapter.state<RasLog>();
  log.grow();
  request.output<ConfigRecord>(1) = {
      .active = static_cast<std::uint8_t>(log.active() ? 1 : 0),
      .level = log.level(),
      .buffer_units = adapter.topology().offers.ras_log->buffer_units};
  return DriverStatus::success;
}

DriverStatus set_config(Adapter& adapter, Request& request) {
  const auto& setting = request.input<SettingRecord>(1);
  auto& log = adapter.state<RasLog>();
  if (setting.start == 0) {
    if (!log.active()) {
      return DriverStatus::ras_not_active;
    }
    log.stop();
    return DriverStatus::success;
  }
  if (log.active()) {
    return DriverStatus::ras_already_active;
  }
  if (setting.level > highest_level) {
    return DriverStatus::ras_bad_level;
  }
  log.start(setting.level);
  return DriverStatus::success;
}

DriverStatus get_log(Adapter& adapter, Request& request) {
  auto& log = adapter.state<RasLog>();
  log.grow();
  auto& exchange = request.output<ovk::RasLogExchange>(1);
  exchange.extent.available = log.available();
  exchange.extent.oldest = log.oldest();
  if (exchange.offset > exchange.extent.available) {
    return DriverStatus::does_not_fit;
  }
  const std::size_t size = std::min<std::size_t>(
      {exchange.size, request.room_behind(2), exchange.extent.available - exchange.offset});
  request.write_behind(2, log.read(exchange.offset, size));
  return DriverStatus::success;
}

}  // namespace

void add_ras_log_handlers(HandlerTable& table) {
  table.when(offers<&FeatureTopology::ras_log>)
      .when(is_enabled<&FeatureTopology::ras_log>)
      .on<"RAVN_MGMT_GET_RAS_CONFIG">(get_config)
      .on<"RAVN_MGMT_GET_RAS_LOG">(get_log)
      .on<"RAVN_MGMT_SET_RAS_CONFIG">(set_config);
}

}  // namespace ravnsim
