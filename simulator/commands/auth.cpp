#include "simulator/board/adapter.h"
#include "simulator/board/port_list.h"
#include "simulator/board/saved.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <ctime>
#include <string_view>
#include <utility>
#include <vector>

namespace ravnsim {

namespace {

/** The two ports with which every record begins. */
struct PortPair {
  Wwn local;
  Wwn remote;
  auto operator<=>(const PortPair&) const = default;
};

enum class AuthMode : std::uint8_t { disabled = 0, enabled = 1, passive = 2 };

/** The configuration of a pair of ports. */
struct ConfigRecord {
  PortPair ports;
  AuthMode mode;
  std::uint8_t bidirectional;
  std::uint16_t timeout_seconds;
  std::uint8_t hash_count;
  std::array<std::uint8_t, 4> hashes;  ///< in the order of preference
  std::uint8_t group_count;
  std::array<std::uint8_t, 6> groups;  ///< DH groups, in the order of preference
  std::uint32_t interval_seconds;      ///< 0: authentication is not repeated
  std::uint8_t reserved36[744];
};

static_assert(sizeof(ConfigRecord) == 780);
static_assert(offsetof(ConfigRecord, hashes) == 21);
static_assert(offsetof(ConfigRecord, interval_seconds) == 32);

/** One direction's secret. */
enum class SecretType : std::uint8_t { none = 0, text = 1, binary = 2 };

/** The secrets of a pair of ports. */
struct PasswordRecord {
  PortPair ports;
  SecretType local_type;
  std::uint8_t local_length;
  SecretType remote_type;
  std::uint8_t remote_length;
  std::array<char, 128> local;
  std::array<char, 128> remote;
  std::uint32_t reserved276;
};

static_assert(sizeof(PasswordRecord) == 280);
static_assert(offsetof(PasswordRecord, local) == 20);
static_assert(offsetof(PasswordRecord, remote) == 148);

enum class AuthState : std::uint8_t { never = 0, authenticated = 1, failed = 2 };

enum class FailureReason : std::uint32_t {
  none = 0,
  no_password = 1,
  peer_silent = 2,
  board_rejected = 3,
  peer_rejected = 4,
};

/** What became of the last authentication of a pair of ports. */
struct StatusRecord {
  PortPair ports;
  AuthState state;
  std::uint8_t bidirectional;
  std::uint8_t hash;
  std::uint8_t group;
  FailureReason reason;
  std::uint32_t attempts;
  std::uint32_t time;  ///< of the last attempt, in seconds since 1970
  std::uint32_t interval_seconds;
  std::uint32_t reserved36;
};

static_assert(sizeof(StatusRecord) == 40);
static_assert(offsetof(StatusRecord, reason) == 20);

constexpr std::size_t most_entries = 64;
constexpr std::uint8_t shortest_secret = 12;  // FC-SP wants 96 bits at the least
constexpr std::uint8_t next_entry = 1;        // the flag of a read that walks the entries

/** Records told apart by their ports, in the order of these. */
template <typename Record>
class PairTable {
 public:
  PairTable(Adapter& adapter, const char* name)
      : saved_{adapter, name}, records_{saved_.records()} {}

  [[nodiscard]] const std::vector<Record>& records() const { return records_; }

  [[nodiscard]] Record* find(const PortPair& ports) {
    const auto found = lower_bound(ports);
    return found != records_.end() && found->ports == ports ? &*found : nullptr;
  }

  [[nodiscard]] const Record* after(const PortPair& ports) {
    const auto found = std::ranges::upper_bound(records_, ports, {}, ports_of);
    return found != records_.end() ? &*found : nullptr;
  }

  void put(const Record& record) {
    if (Record* known = find(record.ports)) {
      *known = record;
    } else {
      records_.insert(lower_bound(record.ports), record);
    }
  }

  void remove(const PortPair& ports) {
    std::erase_if(records_, [&](const Record& record) { return record.ports == ports; });
  }

  void clear() { records_.clear(); }

  void persist() {
    saved_.change([this](std::vector<Record>& records) { records = records_; });
  }

  /** Forgets what was persisted, too. */
  void erase() {
    clear();
    saved_.forget();
  }

 private:
  static PortPair ports_of(const Record& record) { return record.ports; }

  auto lower_bound(const PortPair& ports) {
    return std::ranges::lower_bound(records_, ports, {}, ports_of);
  }

  SavedList<Record> saved_;
  std::vector<Record> records_;
};

/** What is in force. It lasts as long as the driver unless it is persisted. */
struct AuthTables {
  explicit AuthTables(Adapter& adapter)
      : configs{adapter, "auth-configs"},
        passwords{adapter, "auth-passwords"},
        statuses{adapter, "auth-statuses"} {}

  template <typename Work>
  void for_each(Work work) {
    work(configs);
    work(passwords);
    work(statuses);
  }

  PairTable<ConfigRecord> configs;
  PairTable<PasswordRecord> passwords;
  PairTable<StatusRecord> statuses;
};

constexpr Guard offers_auth{
    [](Adapter& adapter, const Request&) { return adapter.topology().offers.auth.has_value(); },
    DriverStatus::not_supported};

bool lists_known(std::span<const std::uint8_t> list, std::size_t count, std::uint8_t largest) {
  return count >= 1 && count <= list.size() &&
         std::ranges::all_of(list.first(count),
                             [&](std::uint8_t entry) { return entry >= 1 && entry <= largest; });
}

bool is_valid(const ConfigRecord& config) {
  constexpr std::uint8_t hashes = 3;  // MD5, SHA-1, SHA-256
  constexpr std::uint8_t groups = 6;  // null, 1024, 1280, 1536, 2048, 4096 bits
  return config.mode <= AuthMode::passive && config.bidirectional <= 1 &&
         lists_known(config.hashes, config.hash_count, hashes) &&
         lists_known(config.groups, config.group_count, groups);
}

DriverStatus set_config(Adapter& adapter, Request& request) {
  const auto& config = request.input<ConfigRecord>(1);
  if (config.ports.local != adapter.topology().port.port_wwn) {
    return DriverStatus::not_found;
  }
  if (!is_valid(config)) {
    return DriverStatus::not_permitted;
  }
  auto& configs = adapter.state<AuthTables>().configs;
  if (configs.find(config.ports) == nullptr && configs.records().size() >= most_entries) {
    return DriverStatus::no_memory;
  }
  configs.put(config);
  return DriverStatus::success;
}

DriverStatus get_config(Adapter& adapter, Request& request) {
  auto& configs = adapter.state<AuthTables>().configs;
  auto& record = request.output<ConfigRecord>(2);
  const PortPair ports{request.input<Wwn>(1), record.ports.remote};
  const bool walks = request.input<std::uint8_t>(3) == next_entry;
  const ConfigRecord* config = walks ? configs.after(ports) : configs.find(ports);
  if (config == nullptr) {
    return DriverStatus::not_found;
  }
  record = *config;
  return DriverStatus::success;
}

DriverStatus delete_config(Adapter& adapter, Request& request) {
  auto& tables = adapter.state<AuthTables>();
  const PortPair ports = request.input<ConfigRecord>(1).ports;
  if (request.input<std::uint8_t>(2) != 0) {
    tables.for_each([](auto& table) { table.clear(); });
    return DriverStatus::success;
  }
  if (tables.configs.find(ports) == nullptr) {
    return DriverStatus::not_found;
  }
  tables.for_each([&](auto& table) { table.remove(ports); });
  return DriverStatus::success;
}

DriverStatus persist(Adapter& adapter, Request& /*request*/) {
  adapter.state<AuthTables>().for_each([](auto& table) { table.persist(); });
  return DriverStatus::success;
}

DriverStatus delete_object(Adapter& adapter, Request& /*request*/) {
  adapter.state<AuthTables>().for_each([](auto& table) { table.erase(); });
  return DriverStatus::success;
}

/** A secret; empty when the record is not valid or has none. */
std::string_view secret(SecretType type, std::uint8_t length, const std::array<char, 128>& bytes) {
  return type == SecretType::none ? std::string_view{}
                                  : std::string_view{bytes.data(), bytes.size()}.substr(0, length);
}

std::string_view local_secret(const PasswordRecord& record) {
  return secret(record.local_type, record.local_length, record.local);
}

std::string_view remote_secret(const PasswordRecord& record) {
  return secret(record.remote_type, record.remote_length, record.remote);
}

bool is_valid_secret(SecretType type, std::uint8_t length) {
  return type == SecretType::none ||
         (type <= SecretType::binary && length >= shortest_secret && length <= 128);
}

DriverStatus set_password(Adapter& adapter, Request& request) {
  const auto& record = request.input<PasswordRecord>(1);
  auto& tables = adapter.state<AuthTables>();
  if (tables.configs.find(record.ports) == nullptr) {
    return DriverStatus::not_found;
  }
  const bool valid = record.local_type != SecretType::none &&
                     is_valid_secret(record.local_type, record.local_length) &&
                     is_valid_secret(record.remote_type, record.remote_length);
  // FC-SP: the two directions must not have the same secret.
  if (!valid || local_secret(record) == remote_secret(record)) {
    return DriverStatus::not_permitted;
  }
  tables.passwords.put(record);
  return DriverStatus::success;
}

/** Tells that there are secrets and how long they are, but not the secrets. */
DriverStatus get_password(Adapter& adapter, Request& request) {
  auto& record = request.output<PasswordRecord>(1);
  const PasswordRecord* known = adapter.state<AuthTables>().passwords.find(record.ports);
  if (known == nullptr) {
    return DriverStatus::not_found;
  }
  record = *known;
  record.local.fill('\0');
  record.remote.fill('\0');
  return DriverStatus::success;
}

FailureReason authenticate(Adapter& adapter, const ConfigRecord& config,
                           const PasswordRecord* password) {
  if (password == nullptr || (config.bidirectional != 0 && remote_secret(*password).empty())) {
    return FailureReason::no_password;
  }
  const auto& peers = adapter.topology().offers.auth->peers;
  const auto peer = std::ranges::find(peers, config.ports.remote, &AuthPeerTopology::port_wwn);
  if (peer == peers.end()) {
    return FailureReason::peer_silent;
  }
  if (local_secret(*password) != peer->expects) {
    return FailureReason::board_rejected;
  }
  if (config.bidirectional != 0 && remote_secret(*password) != peer->answers_with) {
    return FailureReason::peer_rejected;
  }
  return FailureReason::none;
}

/** The first name is the local port's. */
DriverStatus initiate(Adapter& adapter, Request& request) {
  const PortPair ports{request.input<Wwn>(1), request.input<Wwn>(2)};
  auto& tables = adapter.state<AuthTables>();
  const ConfigRecord* config = tables.configs.find(ports);
  if (config == nullptr || adapter.state<PortList>().find(ports.remote) == nullptr) {
    return DriverStatus::not_found;
  }
  if (config->mode == AuthMode::disabled) {
    return DriverStatus::feature_disabled;
  }
  const StatusRecord* before = tables.statuses.find(ports);
  const FailureReason reason = authenticate(adapter, *config, tables.passwords.find(ports));
  const bool succeeded = reason == FailureReason::none;
  tables.statuses.put({.ports = ports,
                       .state = succeeded ? AuthState::authenticated : AuthState::failed,
                       .bidirectional = config->bidirectional,
                       .hash = config->hashes.front(),
                       .group = config->groups.front(),
                       .reason = reason,
                       .attempts = before != nullptr ? before->attempts + 1 : 1,
                       .time = static_cast<std::uint32_t>(std::time(nullptr)),
                       .interval_seconds = config->interval_seconds,
                       .reserved36 = 0});
  return DriverStatus::success;
}

DriverStatus get_status(Adapter& adapter, Request& request) {
  auto& record = request.output<StatusRecord>(1);
  auto& tables = adapter.state<AuthTables>();
  if (tables.configs.find(record.ports) == nullptr) {
    return DriverStatus::not_found;
  }
  const StatusRecord* known = tables.statuses.find(record.ports);
  record = known != nullptr ? *known : StatusRecord{.ports = PortPair{record.ports}};
  return DriverStatus::success;
}

}  // namespace

void add_auth_handlers(HandlerTable& table) {
  table.when(offers_auth)
      .on<"RAVN_MGMT_DEL_AUTH_CONFIG_OBJ">(delete_object)
      .on<"RAVN_MGMT_DEL_AUTH_CONFIG_V2">(delete_config)
      .on<"RAVN_MGMT_GET_AUTH_CONFIG_V2">(get_config)
      .on<"RAVN_MGMT_GET_AUTH_PASSWD_V2">(get_password)
      .on<"RAVN_MGMT_GET_AUTH_STATUS">(get_status)
      .on<"RAVN_MGMT_INIT_AUTH">(initiate)
      .on<"RAVN_MGMT_PERSIST_AUTH_CONFIG">(persist)
      .on<"RAVN_MGMT_SET_AUTH_CONFIG_V2">(set_config)
      .on<"RAVN_MGMT_SET_AUTH_PASSWD_V2">(set_password);
}

}  // namespace ravnsim
