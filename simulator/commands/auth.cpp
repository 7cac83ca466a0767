#include "driver_abi/records/auth.h"

#include "simulator/board/port_list.h"
#include "simulator/board/saved.h"
#include "simulator/commands/subsystem.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <ctime>
#include <map>
#include <string_view>
#include <vector>

namespace ravnsim {

namespace {

using ovk::AuthConfigRecord;
using ovk::AuthEntry;
using ovk::AuthFailure;
using ovk::AuthGroup;
using ovk::AuthHash;
using ovk::AuthMode;
using ovk::AuthPasswordRecord;
using ovk::AuthState;
using ovk::AuthStatusRecord;
using ovk::PortPair;
using ovk::SecretType;

constexpr std::size_t most_entries = 64;
constexpr std::uint8_t shortest_secret = 12;  // FC-SP wants 96 bits at the least

/** Records told apart by their ports, in the order of these. */
template <typename Record>
class PairTable {
 public:
  PairTable(Adapter& adapter, const char* name) : saved_{adapter, name} {
    std::ranges::for_each(saved_.records(), [this](const Record& record) { put(record); });
  }

  [[nodiscard]] std::size_t size() const { return in_force_.size(); }

  [[nodiscard]] const Record* find(const PortPair& ports) const {
    const auto found = in_force_.find(ports);
    return found != in_force_.end() ? &found->second : nullptr;
  }

  [[nodiscard]] const Record* after(const PortPair& ports) const {
    const auto found = in_force_.upper_bound(ports);
    return found != in_force_.end() ? &found->second : nullptr;
  }

  void put(const Record& record) { in_force_.insert_or_assign(record.ports, record); }
  void remove(const PortPair& ports) { in_force_.erase(ports); }
  void clear() { in_force_.clear(); }

  void persist() {
    saved_.change([this](std::vector<Record>& records) {
      records.clear();
      for (const auto& [ports, record] : in_force_) {
        records.push_back(record);
      }
    });
  }

  /** Forgets what was persisted, too. */
  void erase() {
    clear();
    saved_.forget();
  }

 private:
  SavedList<Record> saved_;
  std::map<PortPair, Record> in_force_;
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

  PairTable<AuthConfigRecord> configs;
  PairTable<AuthPasswordRecord> passwords;
  PairTable<AuthStatusRecord> statuses;
};

bool lists_known(std::span<const std::uint8_t> list, std::size_t count, std::uint8_t largest) {
  return count >= 1 && count <= list.size() &&
         std::ranges::all_of(list.first(count),
                             [&](std::uint8_t entry) { return entry >= 1 && entry <= largest; });
}

bool is_valid(const AuthConfigRecord& config) {
  constexpr auto last_hash = static_cast<std::uint8_t>(AuthHash::sha256);
  constexpr auto last_group = static_cast<std::uint8_t>(AuthGroup::bits_4096);
  return config.mode <= AuthMode::passive && config.bidirectional <= 1 &&
         lists_known(config.hashes, config.hash_count, last_hash) &&
         lists_known(config.groups, config.group_count, last_group);
}

DriverStatus set_config(Adapter& adapter, Request& request) {
  const auto& config = request.input<AuthConfigRecord>(1);
  if (config.ports.local != adapter.topology().port.port_wwn) {
    return DriverStatus::not_found;
  }
  if (!is_valid(config)) {
    return DriverStatus::not_permitted;
  }
  auto& configs = adapter.state<AuthTables>().configs;
  if (configs.find(config.ports) == nullptr && configs.size() >= most_entries) {
    return DriverStatus::no_memory;
  }
  configs.put(config);
  return DriverStatus::success;
}

DriverStatus get_config(Adapter& adapter, Request& request) {
  auto& configs = adapter.state<AuthTables>().configs;
  auto& record = request.output<AuthConfigRecord>(2);
  const PortPair ports{request.input<Wwn>(1), record.ports.remote};
  const bool walks = request.input<AuthEntry>(3) == AuthEntry::next;
  const AuthConfigRecord* config = walks ? configs.after(ports) : configs.find(ports);
  if (config == nullptr) {
    return DriverStatus::not_found;
  }
  record = *config;
  return DriverStatus::success;
}

DriverStatus delete_config(Adapter& adapter, Request& request) {
  auto& tables = adapter.state<AuthTables>();
  const PortPair ports = request.input<AuthConfigRecord>(1).ports;
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

std::string_view local_secret(const AuthPasswordRecord& record) {
  return secret(record.local_type, record.local_length, record.local);
}

std::string_view remote_secret(const AuthPasswordRecord& record) {
  return secret(record.remote_type, record.remote_length, record.remote);
}

bool is_valid_secret(SecretType type, std::uint8_t length) {
  return type == SecretType::none ||
         (type <= SecretType::binary && length >= shortest_secret && length <= 128);
}

DriverStatus set_password(Adapter& adapter, Request& request) {
  const auto& record = request.input<AuthPasswordRecord>(1);
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
  auto& record = request.output<AuthPasswordRecord>(1);
  const AuthPasswordRecord* known = adapter.state<AuthTables>().passwords.find(record.ports);
  if (known == nullptr) {
    return DriverStatus::not_found;
  }
  record = *known;
  record.local.fill('\0');
  record.remote.fill('\0');
  return DriverStatus::success;
}

AuthFailure authenticate(Adapter& adapter, const AuthConfigRecord& config,
                         const AuthPasswordRecord* password) {
  if (password == nullptr || (config.bidirectional != 0 && remote_secret(*password).empty())) {
    return AuthFailure::no_password;
  }
  const auto& peers = adapter.topology().offers.auth->peers;
  const auto peer = std::ranges::find(peers, config.ports.remote, &AuthPeerTopology::port_wwn);
  if (peer == peers.end()) {
    return AuthFailure::peer_silent;
  }
  if (local_secret(*password) != peer->expects) {
    return AuthFailure::board_rejected;
  }
  if (config.bidirectional != 0 && remote_secret(*password) != peer->answers_with) {
    return AuthFailure::peer_rejected;
  }
  return AuthFailure::none;
}

/** The first name is the local port's. */
DriverStatus initiate(Adapter& adapter, Request& request) {
  const PortPair ports{request.input<Wwn>(1), request.input<Wwn>(2)};
  auto& tables = adapter.state<AuthTables>();
  const AuthConfigRecord* config = tables.configs.find(ports);
  if (config == nullptr || adapter.state<PortList>().find(ports.remote) == nullptr) {
    return DriverStatus::not_found;
  }
  if (config->mode == AuthMode::disabled) {
    return DriverStatus::feature_disabled;
  }
  const AuthStatusRecord* before = tables.statuses.find(ports);
  const AuthFailure reason = authenticate(adapter, *config, tables.passwords.find(ports));
  const bool succeeded = reason == AuthFailure::none;
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
  auto& record = request.output<AuthStatusRecord>(1);
  auto& tables = adapter.state<AuthTables>();
  if (tables.configs.find(record.ports) == nullptr) {
    return DriverStatus::not_found;
  }
  const AuthStatusRecord* known = tables.statuses.find(record.ports);
  record = known != nullptr ? *known : AuthStatusRecord{.ports = PortPair{record.ports}};
  return DriverStatus::success;
}

}  // namespace

void add_auth_handlers(HandlerTable& table) {
  table.when(offers<&FeatureTopology::auth>)
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
