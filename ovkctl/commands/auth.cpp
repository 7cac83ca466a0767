#include "driver_abi/records/auth.h"

#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"
#include "ovkctl/subjects/board_text.h"
#include "ovkctl/subjects/secret.h"

#include <ovk/auth.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <ctime>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ovkctl {
namespace {

constexpr ResultText kAuthResults[] = {
    {OVK_AUTH_NOT_SUPPORTED, "this adapter cannot authenticate",
     "See with \"ovkctl show\" which SLI mode the board has: it takes 4 or above."},
    {OVK_AUTH_NO_MEMORY, "there is not enough memory", "Free memory and run the command again."},
    {OVK_AUTH_STATUS_NOT_FOUND, "there is no such entry or port",
     "See with \"ovkctl auth config list\" which entries there are, and with \"ovkctl ports\" "
     "which "
     "ports."},
    {OVK_AUTH_STATUS_NO_ROOM, "there is no room for more entries",
     "Delete one with \"ovkctl auth config delete\"."},
    {OVK_AUTH_STATUS_NOT_OFFERED, "the driver does not offer authentication",
     "See with \"ovkctl show\" which adapter and driver this is."},
    {OVK_AUTH_STATUS_NOT_PERMITTED, "the driver does not take these values",
     "A password has 12 to 128 bytes, and the two of an entry differ."},
    {OVK_AUTH_STATUS_DISABLED, "the entry is disabled",
     "Enable it with \"ovkctl auth config set --mode enabled\"."},
};

constexpr std::uint8_t kLengthsOnly = 0;

using WordTable = std::vector<std::string>;

// In the order of their codes; the codes of hashes and groups begin with 1.
const WordTable kModes = {"disabled", "enabled", "passive"};
const WordTable kHashes = {"md5", "sha1", "sha256"};
const WordTable kGroups = {"null", "1024", "1280", "1536", "2048", "4096"};
const WordTable kStates = {"never tried", "authenticated", "failed"};
const WordTable kReasons = {"", "no password is set", "the peer does not authenticate",
                            "the peer does not accept the board's password",
                            "the peer's password is not the expected one"};

void check_auth(std::uint32_t result, std::uint32_t board, const std::string& operation) {
  check_board(result, board, operation, kAuthResults);
}

/** The word of a code, which may be of an enumeration. */
template <typename Code>
std::string word_of(const WordTable& words, Code given, std::uint32_t first = 0) {
  const auto code = static_cast<std::uint32_t>(given);
  return code >= first && code - first < words.size() ? words[code - first] : std::to_string(code);
}

List words_of(const WordTable& words, std::span<const std::uint8_t> codes, std::size_t count) {
  List list;
  for (const std::uint8_t code : codes.first(std::min(count, codes.size()))) {
    list.push_back(word_of(words, code, 1));
  }
  return list;
}

std::uint8_t code_of(const WordTable& words, const std::string& word, std::uint8_t first) {
  const auto found = std::ranges::find(words, word);
  if (found == words.end()) {
    std::string known;
    for (const std::string& each : words) {
      known += (known.empty() ? "" : ", ") + each;
    }
    throw UsageError("\"" + word + "\" is none of " + known);
  }
  return static_cast<std::uint8_t>(found - words.begin() + first);
}

/** Fills a list of codes from "word,word"; returns how many there are. */
std::uint8_t parse_codes(const WordTable& words, std::string text, std::span<std::uint8_t> codes) {
  std::uint8_t count = 0;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(','), text.size());
    if (count == codes.size()) {
      throw UsageError("at most " + std::to_string(codes.size()) + " of them fit");
    }
    codes[count++] = code_of(words, text.substr(0, end), 1);
    text.erase(0, end + 1);
  }
  return count;
}

/** The board and the remote port that a command names. */
struct Pair {
  explicit Pair(const Command& command)
      : board(command.board()),
        remote(command.argument<Wwn>("REMOTE", "port WWN of the remote port")) {}

  ovk::PortPair ports(std::uint32_t index) const { return {read_own_port(index).PortWWN, *remote}; }

  Given<BoardIndex> board;
  Given<Wwn> remote;
};

Given<bool> persist_flag(const Command& command) {
  return command.flag("--persist", "keep all of the board's entries over a restart");
}

void persist(std::uint32_t board) {
  check_auth(OVK_PersistAuthConfig(board), board, "Persisting the authentication entries");
}

// ---- Reading --------------------------------------------------------------------------------

/** The entry of a pair of ports, or the one after it; nothing when there is none. */
std::optional<ovk::AuthConfigRecord> find_config(std::uint32_t board, const ovk::PortPair& ports,
                                                 ovk::AuthEntry entry) {
  auto config = std::bit_cast<AuthConfig>(ovk::AuthConfigRecord{.ports = ports});
  const std::uint32_t result =
      OVK_GetAuthConfigV2(board, ports.local, &config, static_cast<std::uint8_t>(entry));
  if (result == OVK_AUTH_STATUS_NOT_FOUND) {
    return std::nullopt;
  }
  check_auth(result, board, "Reading the authentication entries");
  return std::bit_cast<ovk::AuthConfigRecord>(config);
}

ovk::AuthConfigRecord read_config(std::uint32_t board, const ovk::PortPair& ports) {
  const auto config = find_config(board, ports, ovk::AuthEntry::named);
  if (!config) {
    check_auth(OVK_AUTH_STATUS_NOT_FOUND, board, "Reading the authentication entry");
  }
  return *config;
}

/** The lengths of the two passwords; 0 for one that is not set. */
struct PasswordLengths {
  std::uint8_t local = 0;
  std::uint8_t remote = 0;
};

PasswordLengths read_password_lengths(std::uint32_t board, const ovk::PortPair& ports) {
  auto password = std::bit_cast<AuthPassword>(ovk::AuthPasswordRecord{.ports = ports});
  const std::uint32_t result = OVK_GetAuthPasswordV2(board, &password, kLengthsOnly);
  auto record = std::bit_cast<ovk::AuthPasswordRecord>(password);
  explicit_bzero(&password, sizeof password);
  const PasswordLengths lengths{
      record.local_type != ovk::SecretType::none ? record.local_length : std::uint8_t{0},
      record.remote_type != ovk::SecretType::none ? record.remote_length : std::uint8_t{0}};
  explicit_bzero(&record, sizeof record);
  if (result == OVK_AUTH_STATUS_NOT_FOUND) {
    return {};
  }
  check_auth(result, board, "Asking whether passwords are set");
  return lengths;
}

ovk::AuthStatusRecord read_status(std::uint32_t board, const ovk::PortPair& ports) {
  auto status = std::bit_cast<AuthStatus>(ovk::AuthStatusRecord{.ports = ports});
  check_auth(OVK_GetAuthStatus(board, &status), board, "Reading the authentication status");
  return std::bit_cast<ovk::AuthStatusRecord>(status);
}

// ---- Reports --------------------------------------------------------------------------------

Report config_report(std::uint32_t board, const ovk::PortPair& ports) {
  const ovk::AuthConfigRecord config = read_config(board, ports);
  const PasswordLengths passwords = read_password_lengths(board, ports);
  Report report;
  report.field("board", "Board", board)
      .field("local_port", "Local port", config.ports.local)
      .field("remote_port", "Remote port", config.ports.remote)
      .field("mode", "Mode", word_of(kModes, config.mode))
      .field("bidirectional", "Bidirectional", config.bidirectional != 0)
      .field("hashes", "Hashes", words_of(kHashes, config.hashes, config.hash_count))
      .field("groups", "DH groups", words_of(kGroups, config.groups, config.group_count))
      .field("timeout_seconds", "Timeout, seconds", config.timeout_seconds)
      .field("interval_seconds", "Repeated after, seconds", config.interval_seconds)
      .field("local_password_set", "Local password set", passwords.local != 0)
      .field("remote_password_set", "Remote password set", passwords.remote != 0);
  return report;
}

Report configs_report(std::uint32_t board) {
  Report report;
  report.field("board", "Board", board);
  Table& table = report.table("entries", "",
                              {{"remote_port", "REMOTE PORT"},
                               {"mode", "MODE"},
                               {"bidirectional", "BIDIRECTIONAL"},
                               {"hashes", "HASHES"},
                               {"groups", "DH GROUPS"}},
                              "The board has no authentication entry.");
  ovk::PortPair ports{.local = read_own_port(board).PortWWN};
  while (const auto config = find_config(board, ports, ovk::AuthEntry::next)) {
    if (config->ports.remote <= ports.remote && !table.rows().empty()) {
      throw OperationFailed("The driver does not list its entries in order.");
    }
    ports.remote = config->ports.remote;
    table.row({config->ports.remote, word_of(kModes, config->mode), config->bidirectional != 0,
               words_of(kHashes, config->hashes, config->hash_count),
               words_of(kGroups, config->groups, config->group_count)});
  }
  return report;
}

std::string time_text(std::uint32_t seconds) {
  const std::time_t time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", gmtime_r(&time, &parts));
  return text.data();
}

Report status_report(std::uint32_t board, const ovk::AuthStatusRecord& status) {
  const bool tried = status.attempts != 0;
  Report report;
  report.field("board", "Board", board)
      .field("local_port", "Local port", status.ports.local)
      .field("remote_port", "Remote port", status.ports.remote)
      .field("state", "State", word_of(kStates, status.state))
      .field("reason", "Reason", word_of(kReasons, status.reason))
      .field("bidirectional", "Bidirectional", status.bidirectional != 0)
      .field("hash", "Hash", tried ? Cell(word_of(kHashes, status.hash, 1)) : Cell())
      .field("group", "DH group", tried ? Cell(word_of(kGroups, status.group, 1)) : Cell())
      .field("attempts", "Attempts", status.attempts)
      .field("last_attempt", "Last attempt", tried ? Cell(time_text(status.time)) : Cell());
  return report;
}

// ---- Commands -------------------------------------------------------------------------------

void add_config_list(const Command& config) {
  add_board_report(config, "list", "Show a board's entries", "ovkctl auth config list 0",
                   configs_report);
}

void add_config_show(const Command& config) {
  const Command show = config.subcommand("show", "Show one entry");
  show.example("ovkctl auth config show 0 10:00:02:0a:54:00:00:01");
  const Pair pair(show);
  show.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*pair.board);
    context.print(config_report(index, pair.ports(index)));
  });
}

void add_config_set(const Command& config) {
  const Command set = config.subcommand("set", "Add an entry or replace it");
  set.example("ovkctl auth config set 0 10:00:02:0a:54:00:00:01 --bidirectional --persist");
  const Pair pair(set);
  const auto mode =
      set.option<std::string>("--mode", "WORD", "disabled, enabled or passive", "enabled");
  const auto bidirectional = set.flag("--bidirectional", "the remote port authenticates as well");
  const auto hashes = set.option<std::string>("--hashes", "LIST",
                                              "of md5, sha1, sha256; best first", "sha256,sha1");
  const auto groups = set.option<std::string>(
      "--groups", "LIST", "DH groups of null, 1024, 1280, 1536, 2048, 4096; best first",
      "2048,1536");
  const auto timeout = set.option<std::uint32_t>("--timeout", "SECONDS", "how long a peer may take",
                                                 45, between(1, UINT16_MAX));
  const auto interval = set.option<std::uint32_t>(
      "--interval", "SECONDS", "after which authentication is repeated; 0: never", 0);
  const auto keep = persist_flag(set);
  set.action([=](const Context& context) {
    ovk::AuthConfigRecord record{.mode = ovk::AuthMode{code_of(kModes, *mode, 0)},
                                 .bidirectional = static_cast<std::uint8_t>(*bidirectional ? 1 : 0),
                                 .timeout_seconds = static_cast<std::uint16_t>(*timeout),
                                 .interval_seconds = *interval};
    record.hash_count = parse_codes(kHashes, *hashes, record.hashes);
    record.group_count = parse_codes(kGroups, *groups, record.groups);
    const Session session;
    const std::uint32_t index = session.board(*pair.board);
    record.ports = pair.ports(index);
    auto sent = std::bit_cast<AuthConfig>(record);
    check_auth(OVK_SetAuthConfigV2(index, &sent), index, "Setting the authentication entry");
    if (*keep) {
      persist(index);
    }
    context.print(config_report(index, record.ports));
  });
}

void delete_entries(std::uint32_t board, const std::optional<ovk::PortPair>& ports) {
  AuthConfig config{};
  if (ports) {
    config = std::bit_cast<AuthConfig>(ovk::AuthConfigRecord{.ports = *ports});
  }
  check_auth(OVK_DeleteAuthConfigV2(board, &config, ports ? 0 : 1), board,
             "Deleting authentication entries");
}

void add_config_delete(const Command& config) {
  const Command remove = config.subcommand("delete", "Delete an entry with its passwords, or all");
  remove.example("ovkctl auth config delete 0 10:00:02:0a:54:00:00:01 --persist");
  remove.example("ovkctl auth config delete 0 --all --persist");
  const auto board = remove.board();
  const auto remote = remove.optional_argument<Wwn>("REMOTE", "port WWN of the remote port");
  const auto all = remove.flag("--all", "delete all entries");
  const auto keep = persist_flag(remove);
  const auto yes = remove.yes();
  remove.action([=](const Context& context) {
    if (*all == remote.present()) {
      throw UsageError("name a REMOTE port or say --all");
    }
    const Session session;
    const std::uint32_t index = session.board(*board);
    confirm(*yes, "This deletes " + std::string(*all ? "all entries" : "the entry") +
                      " and passwords of board " + std::to_string(index) + ".");
    delete_entries(
        index,
        *all ? std::nullopt : std::optional(ovk::PortPair{read_own_port(index).PortWWN, *remote}));
    if (*keep) {
      persist(index);
    }
    context.print(configs_report(index));
  });
}

void add_config_persist(const Command& config) {
  add_board_command(config, "persist", "Keep a board's entries over a restart",
                    "ovkctl auth config persist 0",
                    [](const Context& context, std::uint32_t index) {
                      persist(index);
                      context.print(configs_report(index));
                    });
}

void add_config_reset(const Command& config) {
  const Command reset =
      config.subcommand("reset", "Delete a board's entries, the persisted ones too");
  reset.example("ovkctl auth config reset 0 --yes");
  const auto board = reset.board();
  const auto yes = reset.yes();
  reset.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*board);
    confirm(*yes, "This deletes the whole authentication configuration of board " +
                      std::to_string(index) + ".");
    check_auth(OVK_DeleteAuthConfigObject(index), index,
               "Deleting the authentication configuration");
    context.print(configs_report(index));
  });
}

/** Takes a password from the descriptor that the option names, else from the terminal. */
void take_password(Secret& secret, const Given<std::uint32_t>& descriptor,
                   const std::string& what) {
  if (descriptor.present()) {
    secret.read_from(static_cast<int>(*descriptor));
  } else {
    secret.ask(what);
  }
}

void set_password(std::uint32_t board, const ovk::PortPair& ports, const Secret& local,
                  const Secret& remote) {
  ovk::AuthPasswordRecord record{
      .ports = ports,
      .local_type = ovk::SecretType::text,
      .local_length = local.length(),
      .remote_type = remote.length() != 0 ? ovk::SecretType::text : ovk::SecretType::none,
      .remote_length = remote.length(),
      .local = local.bytes(),
      .remote = remote.bytes()};
  auto sent = std::bit_cast<AuthPassword>(record);
  const std::uint32_t result = OVK_SetAuthPasswordV2(board, &sent);
  explicit_bzero(&record, sizeof record);
  explicit_bzero(&sent, sizeof sent);
  check_auth(result, board, "Setting the passwords");
}

void add_password(const Command& auth) {
  const Command password = auth.subcommand(
      "password",
      "Set the passwords of an entry: asked for at the terminal without echo, or read "
      "from file descriptors");
  password.example("ovkctl auth password 0 10:00:02:0a:54:00:00:01 --persist");
  password.example("ovkctl auth password 0 10:00:02:0a:54:00:00:01 --local-fd 3 3< board.key");
  const Pair pair(password);
  constexpr std::uint32_t largest = 1023;
  const auto local_fd = password.option<std::uint32_t>(
      "--local-fd", "NUMBER", "read the board's password from this file descriptor", 0,
      between(0, largest));
  const auto remote_fd = password.option<std::uint32_t>(
      "--remote-fd", "NUMBER", "read the remote port's password from this file descriptor", 0,
      between(0, largest));
  const auto keep = persist_flag(password);
  password.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*pair.board);
    const ovk::PortPair ports = pair.ports(index);
    const bool bidirectional = read_config(index, ports).bidirectional != 0;
    Secret local;
    take_password(local, local_fd, "Password of the board");
    Secret remote;
    if (bidirectional || remote_fd.present()) {
      take_password(remote, remote_fd, "Password of the remote port");
    }
    set_password(index, ports, local, remote);
    if (*keep) {
      persist(index);
    }
    context.print(config_report(index, ports));
  });
}

void add_start(const Command& auth) {
  const Command start = auth.subcommand("start", "Authenticate now, and show what came of it");
  start.example("ovkctl auth start 0 10:00:02:0a:54:00:00:01");
  const Pair pair(start);
  const auto keep = persist_flag(start);
  const auto yes = start.yes();
  start.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*pair.board);
    const ovk::PortPair ports = pair.ports(index);
    confirm(*yes, "When authentication fails, board " + std::to_string(index) +
                      " loses its connection to the remote port.");
    check_auth(OVK_InitiateAuthentication(index, ports.local, ports.remote), index,
               "Starting authentication");
    if (*keep) {
      persist(index);
    }
    const ovk::AuthStatusRecord status = read_status(index, ports);
    context.print(status_report(index, status));
  });
}

void add_status(const Command& auth) {
  const Command status = auth.subcommand("status", "Show what came of the last authentication");
  status.example("ovkctl auth status 0 10:00:02:0a:54:00:00:01");
  const Pair pair(status);
  status.action([=](const Context& context) {
    const Session session;
    const std::uint32_t index = session.board(*pair.board);
    context.print(status_report(index, read_status(index, pair.ports(index))));
  });
}

}  // namespace

void add_auth(Command root) {
  const Command auth = root.subcommand("auth", "Manage FC-SP DH-CHAP port authentication");
  const Command config = auth.subcommand("config", "Show and change the entries of port pairs");
  add_config_list(config);
  add_config_show(config);
  add_config_set(config);
  add_config_delete(config);
  add_config_persist(config);
  add_config_reset(config);
  add_password(auth);
  add_start(auth);
  add_status(auth);
}

}  // namespace ovkctl
