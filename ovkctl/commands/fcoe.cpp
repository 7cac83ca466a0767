#include "ovkctl/frame/command.h"
#include "ovkctl/subjects/long_list.h"

#include <ovk/regions.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace ovkctl {
namespace {

constexpr ResultText fcoe_results[] = {
    {OVK_NOT_SUPPORTED, "the board is no SLI-4 board",
     "FCoE needs an SLI-4 board: see \"ovkctl list\"."},
    {OVK_RECORD_NOT_FOUND, "region 23 holds no such record",
     "Give region 23 its default contents with \"ovkctl region init BOARD 23\"."},
    {OVK_MORE_DATA, "the record in region 23 has another length",
     "Look at it with \"ovkctl region read BOARD 23\"."},
};

// ---- FCoE parameters ------------------------------------------------------------------------

FcoeParams read_params(const Board& board) {
  return board.read(OVK_FCoEGetParams, "Reading the FCoE parameters", fcoe_results);
}

Report show(const Board& board) {
  const FcoeParams params = read_params(board);
  return board.report()
      .field("fc_map", "FC-MAP", "0x" + bytes_text(params.fc_map))
      .field("vlan_valid", "VLAN used", params.vlan_valid != 0)
      .field("vlan_id", "VLAN", params.vlan_id);
}

constexpr Option<HexBytes> fc_map_option{"--fc-map", "BYTES", "the three bytes of the FC-MAP"};
constexpr Option<std::uint16_t> vlan_option{
    "--vlan", "NUMBER", "use this VLAN", "100", {0, OVK_VLAN_ID_MASK}};
constexpr Flag no_vlan_flag{"--no-vlan", "use no VLAN"};

/** What of the parameters is to be set. */
struct NewParams {
  std::optional<HexBytes> fc_map;
  std::optional<std::uint16_t> vlan;
  bool no_vlan;

  void apply(FcoeParams& params) const {
    if (!fc_map && !vlan && !no_vlan) {
      throw UsageError("Give what is to be set: --fc-map, --vlan or --no-vlan.");
    }
    if (vlan && no_vlan) {
      throw UsageError("--vlan and --no-vlan exclude each other.");
    }
    if (fc_map) {
      if (fc_map->bytes.size() != sizeof params.fc_map) {
        throw UsageError("An FC-MAP has three bytes, such as 0efc00.");
      }
      std::ranges::copy(fc_map->bytes, params.fc_map);
    }
    if (vlan || no_vlan) {
      params.vlan_valid = vlan ? 1 : 0;
      params.vlan_id = vlan.value_or(0);
    }
  }
};

Report set(const Board& board, const NewParams& given) {
  FcoeParams params = read_params(board);
  given.apply(params);
  board.ask("This changes how {board} finds its fabric from the next reset on.");
  board.check(OVK_FCoESetParams(board, &params), "Setting the FCoE parameters", fcoe_results);
  const FcoeParams stored = read_params(board);
  board.check_stored(std::memcmp(&stored, &params, sizeof params) == 0, "The FCoE parameters");
  return show(board);
}

// ---- FCFs -----------------------------------------------------------------------------------

// The driver's values keep the names that the interface gives them.
constexpr Column<FcfListEntry> fcf_columns[] = {
    {"index", "FCF", row_number},
    {"name20", "NAME (20)", field<&FcfListEntry::name20>},
    {"name548", "NAME (548)", field<&FcfListEntry::name548>},
    {"flag18", "FLAG (18)", [](const FcfListEntry& fcf) { return fcf.flag18 != 0; }},
    {"half16", "VALUE (16)", field<&FcfListEntry::half16>},
    {"word12", "VALUE (12)", field<&FcfListEntry::word12>},
    {"word4", "VALUE (4)", field<&FcfListEntry::word4>},
    {"word8", "VALUE (8)", field<&FcfListEntry::word8>},
    {"half28", "VALUE (28)", field<&FcfListEntry::half28>},
    {"byte30", "VALUE (30)", field<&FcfListEntry::byte30>},
    {"block36", "", field<&FcfListEntry::block36>},
};

Report list_fcfs(const Board& board) {
  static constexpr std::uint32_t first_room = 32;
  LongList<FcfList, &FcfList::count, &FcfList::entries> list;
  board.check(list.read(first_room, std::numeric_limits<std::uint16_t>::max(),
                        [&](auto* fcfs) { return OVK_FCoEGetFCFList(board, fcfs); }),
              "Reading the FCF table", fcoe_results);
  return board.report()
      .field("value", "Driver's value", list.get()->value)
      .table("fcfs", "FCFs", fcf_columns, list.entries(), "The board has discovered no FCF.");
}

// ---- FCFs that a board prefers --------------------------------------------------------------

FcfConnectList read_connections(const Board& board) {
  return board.read(OVK_FCoEGetFCFConnectList, "Reading the FCF connection list", fcoe_results,
                    {.count = OVK_FCF_CONNECT_ENTRIES});
}

constexpr Column<FcfConnectEntry> connection_columns[] = {
    {"index", "ENTRY", row_number},
    {"flags", "FLAGS", as<Hex, &FcfConnectEntry::flags, 2>},
    {"vlan_id", "VLAN", field<&FcfConnectEntry::vlan_id>},
    {"first_name", "FIRST NAME", [](const auto& entry) { return entry.names[0]; }},
    {"second_name", "SECOND NAME", [](const auto& entry) { return entry.names[1]; }},
};

Report list_connections(const Board& board) {
  const FcfConnectList list = read_connections(board);
  return board.report()
      .field("capacity", "Room for", list.capacity)
      .table("connections", "Connections", connection_columns, first_of(list.entries, list.count),
             "The list is empty.");
}

constexpr Rest<std::string> connection_words{
    "CONNECTION", "FLAGS,VLAN,NAME,NAME of a preferred FCF",
    "0x06,100,10:00:02:fa:54:00:00:03,10:00:02:64:54:00:03:01"};

/** Reads "FLAGS,VLAN,NAME,NAME". The adapter marks each entry as used. */
FcfConnectEntry parse_connection(const std::string& text) {
  const std::vector<std::string> parts = split(text);
  if (parts.size() != 4) {
    throw UsageError("\"{}\" is no connection such as 0x06,100,WWN,WWN.", text);
  }
  FcfConnectEntry entry{};
  parse_value(parts[0], entry.flags);
  parse_value(parts[1], entry.vlan_id);
  parse_value(parts[2], entry.names[0]);
  parse_value(parts[3], entry.names[1]);
  if ((entry.flags & ~(OVK_FCF_CONNECT_IN_USE | OVK_FCF_CONNECT_OPTIONS)) != 0) {
    throw UsageError("{} has flags that the adapter does not keep: only 0x3f are kept.", parts[0]);
  }
  entry.flags |= OVK_FCF_CONNECT_IN_USE;
  return entry;
}

FcfConnectList parse_connections(const std::vector<std::string>& texts) {
  if (texts.size() > OVK_FCF_CONNECT_ENTRIES) {
    throw UsageError("The list has room for {} connections.", OVK_FCF_CONNECT_ENTRIES);
  }
  FcfConnectList list{};
  for (const std::string& text : texts) {
    list.entries[list.count++] = parse_connection(text);
  }
  return list;
}

/** Replaces the list, and reads it back. */
Report set_connections(const Board& board, const std::vector<std::string>& texts) {
  FcfConnectList list = parse_connections(texts);
  board.ask("This replaces the FCF connection list of {board}.");
  board.check(OVK_FCoESetFCFConnectList(board, &list), "Setting the FCF connection list",
              fcoe_results);
  const FcfConnectList stored = read_connections(board);
  board.check_stored(std::memcmp(&stored, &list, sizeof list) == 0, "The FCF connection list");
  return list_connections(board);
}

Report clear_connections(const Board& board) { return set_connections(board, {}); }

}  // namespace

void add_fcoe(Command root) {
  const Command fcoe = root.noun("fcoe", "Show and set a board's FCoE parameters");
  fcoe.command("show", "Show FC-MAP and VLAN").on_board("2").shows(show);
  fcoe.command("set", "Set FC-MAP and VLAN")
      .on_board("2")
      .takes(fc_map_option, vlan_option, no_vlan_flag)
      .asks_itself()
      .shows(set);

  const Command fcf =
      root.noun("fcf", "Show the Fibre Channel Forwarders that a board sees and prefers");
  fcf.command("list", "Show the FCFs that the board has discovered").on_board("2").shows(list_fcfs);
  const Command connect = fcf.noun("connect", "Show and set the FCFs that a board prefers");
  connect.command("list", "Show the FCF connection list").on_board("2").shows(list_connections);
  connect.command("set", "Replace the FCF connection list")
      .on_board("2")
      .takes(connection_words)
      .asks_itself()
      .shows(set_connections);
  connect.command("clear", "Empty the FCF connection list")
      .on_board("2")
      .asks_itself()
      .shows(clear_connections);
}

}  // namespace ovkctl
