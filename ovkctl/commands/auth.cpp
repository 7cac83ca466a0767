#include "driver_abi/records/auth.h"

#include "ovkctl/frame/command.h"
#include "ovkctl/subjects/board_text.h"
#include "ovkctl/subjects/secret.h"

#include <ovk/auth.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <ctime>

namespace ovkctl {
namespace {

constexpr ResultText auth_results[] = {
    {OVK_AUTH_NOT_SUPPORTED, "this adapter cannot authenticate",
     "See with \"ovkctl show\" which SLI mode the board has: it takes 4 or above."},
    {OVK_AUTH_NO_MEMORY, "there is not enough memory", "Free memory and run the command again."},
    {OVK_AUTH_STATUS_NOT_FOUND, "there is no such entry or port",
     "See with \"ovkctl auth config list\" which entries there are, and with \"ovkctl ports\" "
     "which ports."},
    {OVK_AUTH_STATUS_NO_ROOM, "there is no room for more entries",
     "Delete one with \"ovkctl auth config delete\"."},
    {OVK_AUTH_STATUS_NOT_OFFERED, "the driver does not offer authentication",
     "See with \"ovkctl show\" which adapter and driver this is."},
    {OVK_AUTH_STATUS_NOT_PERMITTED, "the driver does not take these values",
     "A password has 12 to 128 bytes, and the two of an entry differ."},
    {OVK_AUTH_STATUS_DISABLED, "the entry is disabled",
     "Enable it with \"ovkctl auth config set --mode enabled\"."},
};

constexpr auto modes = words<ovk::AuthMode>({{ovk::AuthMode::disabled, "disabled"},
                                             {ovk::AuthMode::enabled, "enabled"},
                                             {ovk::AuthMode::passive, "passive"}});
constexpr auto hashes = words<ovk::AuthHash>({{ovk::AuthHash::md5, "md5"},
                                              {ovk::AuthHash::sha1, "sha1"},
                                              {ovk::AuthHash::sha256, "sha256"}});
constexpr auto groups = words<ovk::AuthGroup>({{ovk::AuthGroup::null, "null"},
                                               {ovk::AuthGroup::bits_1024, "1024"},
                                               {ovk::AuthGroup::bits_1280, "1280"},
                                               {ovk::AuthGroup::bits_1536, "1536"},
                                               {ovk::AuthGroup::bits_2048, "2048"},
                                               {ovk::AuthGroup::bits_4096, "4096"}});
constexpr auto states = words<ovk::AuthState>({{ovk::AuthState::never_tried, "never tried"},
                                               {ovk::AuthState::authenticated, "authenticated"},
                                               {ovk::AuthState::failed, "failed"}});
constexpr auto reasons = words<ovk::AuthFailure>(
    {{ovk::AuthFailure::none, ""},
     {ovk::AuthFailure::no_password, "no password is set"},
     {ovk::AuthFailure::peer_silent, "the peer does not authenticate"},
     {ovk::AuthFailure::board_rejected, "the peer does not accept the board's password"},
     {ovk::AuthFailure::peer_rejected, "the peer's password is not the expected one"}});

using Config = ovk::AuthConfigRecord;

constexpr Word<Wwn> remote_word{"REMOTE", "port WWN of the remote port", "10:00:02:0a:54:00:00:01"};
constexpr Flag persist_flag{"--persist", "keep all of the board's entries over a restart"};

/** The word of a code that a record has as a byte. */
template <typename Code, std::size_t count>
std::string byte_word(const Words<Code, count>& table, std::uint8_t code) {
  return word_of(table, static_cast<Code>(code), "");
}

template <typename Code, std::size_t count>
List words_of(const Words<Code, count>& table, std::span<const std::uint8_t> codes,
              std::size_t used) {
  List list;
  for (const std::uint8_t code : codes.first(std::min(used, codes.size()))) {
    list.push_back(byte_word(table, code));
  }
  return list;
}

/** Fills a list of codes from "word,word"; returns how many there are. */
template <typename Code, std::size_t count>
std::uint8_t parse_codes(const Words<Code, count>& table, const std::string& text,
                         std::span<std::uint8_t> codes) {
  std::uint8_t used = 0;
  for (const std::string& word : split(text)) {
    if (used == codes.size()) {
      throw UsageError("At most {} of {} fit.", codes.size(), list_words(table, ", "));
    }
    codes[used++] = static_cast<std::uint8_t>(code_of(table, word));
  }
  return used;
}

void check_auth(const Board& board, std::uint32_t result, const char* operation) {
  board.check(result, operation, auth_results);
}

void persist_if(bool wanted, const Board& board) {
  if (wanted) {
    check_auth(board, OVK_PersistAuthConfig(board), "Persisting the authentication entries");
  }
}

// ---- Reading --------------------------------------------------------------------------------

/** The entry of a pair of ports, or the one after it; nothing when there is none. */
std::optional<Config> find_config(const Board& board, const ovk::PortPair& ports,
                                  ovk::AuthEntry entry) {
  Config config{.ports = ports};
  const std::uint32_t result = OVK_GetAuthConfigV2(board, ports.local, opaque<AuthConfig>(config),
                                                   static_cast<std::uint8_t>(entry));
  if (result == OVK_AUTH_STATUS_NOT_FOUND) {
    return std::nullopt;
  }
  check_auth(board, result, "Reading the authentication entries");
  return config;
}

Config read_config(const Board& board, const ovk::PortPair& ports) {
  const auto config = find_config(board, ports, ovk::AuthEntry::named);
  if (!config) {
    check_auth(board, OVK_AUTH_STATUS_NOT_FOUND, "Reading the authentication entry");
  }
  return *config;
}

/** Which of an entry's passwords are set. */
struct PasswordsSet {
  bool local = false;
  bool remote = false;
};

PasswordsSet read_passwords_set(const Board& board, const ovk::PortPair& ports) {
  static constexpr std::uint8_t lengths_only = 0;
  ovk::AuthPasswordRecord record{.ports = ports};
  const std::uint32_t result =
      OVK_GetAuthPasswordV2(board, opaque<AuthPassword>(record), lengths_only);
  const PasswordsSet set{record.local_type != ovk::SecretType::none && record.local_length != 0,
                         record.remote_type != ovk::SecretType::none && record.remote_length != 0};
  explicit_bzero(&record, sizeof record);
  if (result == OVK_AUTH_STATUS_NOT_FOUND) {
    return {};
  }
  check_auth(board, result, "Asking whether passwords are set");
  return set;
}

// ---- Entries --------------------------------------------------------------------------------

std::string mode_text(const Config& config) { return word_of(modes, config.mode, ""); }

List hash_list(const Config& config) { return words_of(hashes, config.hashes, config.hash_count); }

List group_list(const Config& config) {
  return words_of(groups, config.groups, config.group_count);
}

bool is_bidirectional(const Config& config) { return config.bidirectional != 0; }

Report config_report(const Board& board, const ovk::PortPair& ports) {
  const Config config = read_config(board, ports);
  const PasswordsSet passwords = read_passwords_set(board, ports);
  return board.report()
      .field("local_port", "Local port", config.ports.local)
      .field("remote_port", "Remote port", config.ports.remote)
      .field("mode", "Mode", mode_text(config))
      .field("bidirectional", "Bidirectional", is_bidirectional(config))
      .field("hashes", "Hashes", hash_list(config))
      .field("groups", "DH groups", group_list(config))
      .field("timeout_seconds", "Timeout, seconds", config.timeout_seconds)
      .field("interval_seconds", "Repeated after, seconds", config.interval_seconds)
      .field("local_password_set", "Local password set", passwords.local)
      .field("remote_password_set", "Remote password set", passwords.remote);
}

constexpr Column<Config> config_columns[] = {
    {"remote_port", "REMOTE PORT", [](const Config& config) { return config.ports.remote; }},
    {"mode", "MODE", field<mode_text>},
    {"bidirectional", "BIDIRECTIONAL", field<is_bidirectional>},
    {"hashes", "HASHES", field<hash_list>},
    {"groups", "DH GROUPS", field<group_list>},
};

Report list_configs(const Board& board) {
  std::vector<Config> configs;
  ovk::PortPair ports = ports_of(board, {});
  while (const auto config = find_config(board, ports, ovk::AuthEntry::next)) {
    if (config->ports.remote <= ports.remote && !configs.empty()) {
      throw OperationFailed("The driver does not list its entries in order.");
    }
    ports.remote = config->ports.remote;
    configs.push_back(*config);
  }
  return board.report().table("entries", "", config_columns, configs,
                              "The board has no authentication entry.");
}

Report show_config(const Board& board, const Wwn& remote) {
  return config_report(board, ports_of(board, remote));
}

constexpr Setting<ovk::AuthMode> mode_setting{"--mode",  "", "whether the board authenticates",
                                              "enabled", "", modes};
constexpr Flag bidirectional_flag{"--bidirectional", "the remote port authenticates as well"};
constexpr Setting<std::string> hashes_setting{"--hashes", "LIST",
                                              "of md5, sha1, sha256; best first", "sha256,sha1"};
constexpr Setting<std::string> groups_setting{
    "--groups", "LIST", "DH groups of null, 1024, 1280, 1536, 2048, 4096; best first", "2048,1536"};
constexpr Setting<std::uint16_t> timeout_setting{"--timeout", "SECONDS", "how long a peer may take",
                                                 "45",        "",        {1}};
constexpr Setting<std::uint32_t> interval_setting{
    "--interval", "SECONDS", "after which authentication is repeated; 0: never", "0"};

Report set_config(const Board& board, const Wwn& remote, ovk::AuthMode mode, bool bidirectional,
                  const std::string& hash_words, const std::string& group_words,
                  std::uint16_t timeout, std::uint32_t interval, bool keep) {
  Config record{.mode = mode,
                .bidirectional = static_cast<std::uint8_t>(bidirectional ? 1 : 0),
                .timeout_seconds = timeout,
                .interval_seconds = interval};
  record.hash_count = parse_codes(hashes, hash_words, record.hashes);
  record.group_count = parse_codes(groups, group_words, record.groups);
  record.ports = ports_of(board, remote);
  board.ask("This changes how {board} authenticates with the remote port.");
  check_auth(board, OVK_SetAuthConfigV2(board, opaque<AuthConfig>(record)),
             "Setting the authentication entry");
  persist_if(keep, board);
  return config_report(board, record.ports);
}

constexpr OptionalWord<Wwn> any_remote_word{remote_word.names, remote_word.help,
                                            remote_word.sample};
constexpr Flag all_flag{"--all", "delete all entries"};

Report delete_configs(const Board& board, const std::optional<Wwn>& remote, bool all, bool keep) {
  if (all == remote.has_value()) {
    throw UsageError("Name a REMOTE port or say --all.");
  }
  board.ask("This deletes {} and passwords of {board}.", all ? "all entries" : "the entry");
  Config config{.ports = all ? ovk::PortPair{} : ports_of(board, *remote)};
  check_auth(board, OVK_DeleteAuthConfigV2(board, opaque<AuthConfig>(config), all ? 1 : 0),
             "Deleting authentication entries");
  persist_if(keep, board);
  return list_configs(board);
}

Report persist_configs(const Board& board) {
  persist_if(true, board);
  return list_configs(board);
}

Report reset_configs(const Board& board) {
  check_auth(board, OVK_DeleteAuthConfigObject(board), "Deleting the authentication configuration");
  return list_configs(board);
}

// ---- Passwords ------------------------------------------------------------------------------

constexpr Range descriptors{0, 1023};
constexpr Option<std::uint32_t> local_option{
    "--local-fd", "NUMBER", "read the board's password from this file descriptor", "", descriptors};
constexpr Option<std::uint32_t> remote_option{
    "--remote-fd", "NUMBER", "read the remote port's password from this file descriptor", "",
    descriptors};

/** Takes a password from the descriptor that the option names, else from the terminal. */
void take_password(Secret& secret, const std::optional<std::uint32_t>& descriptor,
                   const char* what) {
  if (descriptor) {
    secret.read_from(static_cast<int>(*descriptor));
  } else {
    secret.ask(what);
  }
}

void send_passwords(const Board& board, const ovk::PortPair& ports, const Secret& local,
                    const Secret& remote) {
  using ovk::SecretType;
  ovk::AuthPasswordRecord record{
      .ports = ports,
      .local_type = SecretType::text,
      .local_length = local.length(),
      .remote_type = remote.length() != 0 ? SecretType::text : SecretType::none,
      .remote_length = remote.length(),
      .local = local.bytes(),
      .remote = remote.bytes()};
  const std::uint32_t result = OVK_SetAuthPasswordV2(board, opaque<AuthPassword>(record));
  explicit_bzero(&record, sizeof record);
  check_auth(board, result, "Setting the passwords");
}

Report set_passwords(const Board& board, const Wwn& remote_port,
                     std::optional<std::uint32_t> local_fd, std::optional<std::uint32_t> remote_fd,
                     bool keep) {
  const ovk::PortPair ports = ports_of(board, remote_port);
  const bool bidirectional = is_bidirectional(read_config(board, ports));
  Secret local;
  take_password(local, local_fd, "Password of the board");
  Secret remote;
  if (bidirectional || remote_fd) {
    take_password(remote, remote_fd, "Password of the remote port");
  }
  send_passwords(board, ports, local, remote);
  persist_if(keep, board);
  return config_report(board, ports);
}

// ---- Status ---------------------------------------------------------------------------------

std::string time_text(std::uint32_t seconds) {
  const std::time_t time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&time, &parts));
  return text.data();
}

Report status_report(const Board& board, const ovk::PortPair& ports) {
  ovk::AuthStatusRecord status{.ports = ports};
  check_auth(board, OVK_GetAuthStatus(board, opaque<AuthStatus>(status)),
             "Reading the authentication status");
  const bool tried = status.attempts != 0;
  return board.report()
      .field("local_port", "Local port", status.ports.local)
      .field("remote_port", "Remote port", status.ports.remote)
      .field("state", "State", word_of(states, status.state, ""))
      .field("reason", "Reason", word_of(reasons, status.reason, ""))
      .field("bidirectional", "Bidirectional", status.bidirectional != 0)
      .field("hash", "Hash", tried ? Cell(byte_word(hashes, status.hash)) : Cell())
      .field("group", "DH group", tried ? Cell(byte_word(groups, status.group)) : Cell())
      .field("attempts", "Attempts", status.attempts)
      .field("last_attempt", "Last attempt", tried ? Cell(time_text(status.time)) : Cell());
}

Report show_status(const Board& board, const Wwn& remote) {
  return status_report(board, ports_of(board, remote));
}

Report start(const Board& board, const Wwn& remote, bool keep) {
  const ovk::PortPair ports = ports_of(board, remote);
  check_auth(board, OVK_InitiateAuthentication(board, ports.local, ports.remote),
             "Starting authentication");
  persist_if(keep, board);
  return status_report(board, ports);
}

void add_config(const Command& config) {
  config.command("list", "Show a board's entries").shows(list_configs);
  config.command("show", "Show one entry").takes(remote_word).shows(show_config);
  config.command("set", "Add an entry or replace it")
      .takes(remote_word, mode_setting, bidirectional_flag, hashes_setting, groups_setting,
             timeout_setting, interval_setting, persist_flag)
      .asks_itself()
      .shows(set_config);
  config.command("delete", "Delete an entry with its passwords, or all")
      .takes(any_remote_word, all_flag, persist_flag)
      .asks_itself()
      .example("0 --all --persist --yes")
      .shows(delete_configs);
  config.command("persist", "Keep a board's entries over a restart")
      .asks("This has the entries of {board} outlive a restart, in place of those kept before.")
      .shows(persist_configs);
  config.command("reset", "Delete a board's entries, the persisted ones too")
      .asks("This deletes the whole authentication configuration of {board}.")
      .shows(reset_configs);
}

}  // namespace

void add_auth(Command root) {
  const Command auth = root.noun("auth", "Manage FC-SP DH-CHAP port authentication");
  add_config(auth.noun("config", "Show and change the entries of port pairs"));
  auth.command("password",
               "Set the passwords of an entry: asked for at the terminal without echo, or read "
               "from file descriptors")
      .takes(remote_word, local_option, remote_option, persist_flag)
      .asks("This replaces the passwords with which {board} authenticates.")
      .example("0 10:00:02:0a:54:00:00:01 --local-fd 3 --yes 3< board.key")
      .shows(set_passwords);
  auth.command("start", "Authenticate now, and show what came of it")
      .takes(remote_word, persist_flag)
      .asks("When authentication fails, {board} loses its connection to the remote port.")
      .shows(start);
  auth.command("status", "Show what came of the last authentication")
      .takes(remote_word)
      .shows(show_status);
}

}  // namespace ovkctl
