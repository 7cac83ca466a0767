#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"
#include "ovkctl/subjects/fcoe_results.h"
#include "ovkctl/subjects/region_io.h"

#include <ovk/regions.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace ovkctl {
namespace {

/** FCFs for which there is room at first; more are asked for again. */
constexpr std::uint16_t kFirstRoom = 32;

struct Free {
  void operator()(FcfList* list) const { std::free(list); }
};
using FcfListOwner = std::unique_ptr<FcfList, Free>;

/** An empty list with room for so many FCFs. */
FcfListOwner make_list(std::uint16_t room) {
  const std::size_t size = sizeof(FcfList) + room * sizeof(FcfListEntry);
  FcfListOwner list(static_cast<FcfList*>(std::calloc(1, size)));
  if (!list) {
    throw OperationFailed("There is not enough memory.");
  }
  list->count = room;
  return list;
}

/** Reads the whole table, again with more room when it did not fit. */
FcfListOwner read_list(std::uint32_t board) {
  FcfListOwner list = make_list(kFirstRoom);
  std::uint32_t result = OVK_FCoEGetFCFList(board, list.get());
  if (result == OVK_MORE_DATA) {
    list = make_list(list->count);
    result = OVK_FCoEGetFCFList(board, list.get());
  }
  check_board(result, board, "Reading the FCF table", kFcoeResults);
  return list;
}

std::vector<Cell> fcf_row(std::uint32_t index, const FcfListEntry& fcf) {
  std::string block;
  for (const std::uint8_t byte : fcf.block36) {
    block += hex_text(byte, 2).substr(2);
  }
  return {index,     fcf.name20, fcf.name548, fcf.flag18 != 0, fcf.half16, fcf.word12,
          fcf.word4, fcf.word8,  fcf.half28,  fcf.byte30,      block};
}

/** The driver's values keep the names that the interface gives them. */
void print_list(const Context& context, std::uint32_t board) {
  const FcfListOwner list = read_list(board);
  Report report;
  report.field("board", "Board", board).field("value", "Driver's value", list->value);
  Table& table = report.table("fcfs", "FCFs",
                              {{"index", "FCF"},
                               {"name20", "NAME (20)"},
                               {"name548", "NAME (548)"},
                               {"flag18", "FLAG (18)"},
                               {"half16", "VALUE (16)"},
                               {"word12", "VALUE (12)"},
                               {"word4", "VALUE (4)"},
                               {"word8", "VALUE (8)"},
                               {"half28", "VALUE (28)"},
                               {"byte30", "VALUE (30)"},
                               {"block36", ""}},
                              "The board has discovered no FCF.");
  for (std::uint32_t i = 0; i < list->count; ++i) {
    table.row(fcf_row(i, list->entries[i]));
  }
  context.print(report);
}

FcfConnectList read_connections(std::uint32_t board) {
  FcfConnectList list{};
  list.count = OVK_FCF_CONNECT_ENTRIES;
  check_board(OVK_FCoEGetFCFConnectList(board, &list), board, "Reading the FCF connection list",
              kFcoeResults);
  return list;
}

void print_connections(const Context& context, std::uint32_t board) {
  const FcfConnectList list = read_connections(board);
  Report report;
  report.field("board", "Board", board).field("capacity", "Room for", list.capacity);
  Table& table = report.table("connections", "Connections",
                              {{"index", "ENTRY"},
                               {"flags", "FLAGS"},
                               {"vlan_id", "VLAN"},
                               {"first_name", "FIRST NAME"},
                               {"second_name", "SECOND NAME"}},
                              "The list is empty.");
  for (std::uint32_t i = 0; i < list.count; ++i) {
    const FcfConnectEntry& entry = list.entries[i];
    table.row({i, Hex{entry.flags, 2}, entry.vlan_id, entry.names[0], entry.names[1]});
  }
  context.print(report);
}

/** Replaces the list, and reads it back. The adapter marks each entry as used. */
void write_connections(const Context& context, std::uint32_t board, FcfConnectList& list,
                       bool yes) {
  for (std::size_t i = 0; i < list.count; ++i) {
    list.entries[i].flags |= OVK_FCF_CONNECT_IN_USE;
  }
  confirm(yes, "This replaces the FCF connection list of board " + std::to_string(board) + ".");
  check_board(OVK_FCoESetFCFConnectList(board, &list), board, "Setting the FCF connection list",
              kFcoeResults);
  const FcfConnectList stored = read_connections(board);
  if (std::memcmp(&stored, &list, sizeof list) != 0) {
    fail_verification(board, "The FCF connection list");
  }
  print_connections(context, board);
}

/** Reads "FLAGS,VLAN,NAME,NAME". */
FcfConnectEntry parse_connection(const std::string& text) {
  std::istringstream words(text);
  std::vector<std::string> parts;
  for (std::string part; std::getline(words, part, ',');) {
    parts.push_back(part);
  }
  if (parts.size() != 4) {
    throw UsageError("\"" + text + "\" is no connection such as 0x06,100,WWN,WWN");
  }
  FcfConnectEntry entry{};
  parse_value(parts[0], entry.flags);
  parse_value(parts[1], entry.vlan_id);
  parse_value(parts[2], entry.names[0]);
  parse_value(parts[3], entry.names[1]);
  if ((entry.flags & ~(OVK_FCF_CONNECT_IN_USE | OVK_FCF_CONNECT_OPTIONS)) != 0) {
    throw UsageError(parts[0] + " has flags that the adapter does not keep: only 0x3f are");
  }
  return entry;
}

FcfConnectList parse_connections(const std::vector<std::string>& texts) {
  if (texts.size() > OVK_FCF_CONNECT_ENTRIES) {
    throw UsageError("The list has room for " + std::to_string(OVK_FCF_CONNECT_ENTRIES) +
                     " connections.");
  }
  FcfConnectList list{};
  for (const std::string& text : texts) {
    list.entries[list.count++] = parse_connection(text);
  }
  return list;
}

void add_connect(const Command& noun) {
  const Command connect = noun.subcommand("connect", "Show and set the FCFs that a board prefers");
  add_board_command(connect, "list", "Show the FCF connection list", "ovkctl fcf connect list 2",
                    print_connections);

  const Command set = connect.subcommand("set", "Replace the FCF connection list");
  set.example(
      "ovkctl fcf connect set 2 0x06,100,10:00:02:fa:54:00:00:03,10:00:02:64:54:00:03:01 --yes");
  const auto set_board = set.board();
  const auto texts =
      set.arguments<std::string>("CONNECTION", "FLAGS,VLAN,NAME,NAME of a preferred FCF");
  const auto set_yes = set.yes();
  set.action([=](const Context& context) {
    FcfConnectList wanted = parse_connections(*texts);
    const Session session;
    write_connections(context, session.board(*set_board), wanted, *set_yes);
  });

  const Command clear = connect.subcommand("clear", "Empty the FCF connection list");
  clear.example("ovkctl fcf connect clear 2 --yes");
  const auto clear_board = clear.board();
  const auto clear_yes = clear.yes();
  clear.action([=](const Context& context) {
    FcfConnectList nothing{};
    const Session session;
    write_connections(context, session.board(*clear_board), nothing, *clear_yes);
  });
}

}  // namespace

void add_fcf(Command root) {
  const Command noun =
      root.subcommand("fcf", "Show the Fibre Channel Forwarders that a board sees and prefers");
  add_board_command(noun, "list", "Show the FCFs that the board has discovered",
                    "ovkctl fcf list 2", print_list);
  add_connect(noun);
}

}  // namespace ovkctl
