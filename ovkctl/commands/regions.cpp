#include "ovkctl/frame/command.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/subjects/region_archive.h"
#include "ovkctl/subjects/region_io.h"
#include "ovkctl/subjects/region_text.h"

#include <ovk/regions.h>

#include <algorithm>
#include <map>

namespace ovkctl {
namespace {

constexpr Word<std::uint32_t> region_word{"REGION", "region number", "23"};

std::string count_text(std::size_t count, const char* noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

/** Hands each element of a range to `work`, and shows how many are done. */
template <typename Range, typename Work>
void go_through(const Board& board, const char* label, const Range& range, Work work) {
  Progress progress = board.progress(label, std::size(range));
  std::uint64_t done = 0;
  for (const auto& element : range) {
    work(element);
    progress.update(++done);
  }
}

// ---- Reading --------------------------------------------------------------------------------

struct RegionRow {
  std::uint32_t number;
  std::uint32_t length;
  std::string_view state;
};

constexpr Column<RegionRow> region_columns[] = {
    {"region", "REGION", field<&RegionRow::number>},
    {"size_bytes", "SIZE", as<Size, &RegionRow::length>},
    {"state", "STATE", field<&RegionRow::state>},
};

Report list(const Board& board) {
  const RegionIo io{board};
  std::vector<RegionRow> rows;
  for (const RegionKind& region : ovk::region_kinds) {
    rows.push_back({region.number, region.length, io.read(region).state});
  }
  return Report{}.table("regions", "", region_columns, rows, "");
}

Report region_report(const Board& board, const RegionKind& region, const RegionContents& contents) {
  return board.report()
      .field("region", "Region", region.number)
      .field("state", "State", contents.state)
      .field("size_bytes", "Size", Size{region.length});
}

constexpr Flag raw_flag{"--raw", "show the bytes, also where their meaning is known"};

Report read(const Board& board, std::uint32_t number, bool raw) {
  const RegionKind& region = region_kind(number);
  const RegionContents contents = RegionIo{board}.read(region);
  Report report = region_report(board, region, contents);
  if (!contents.readable()) {
    return report;
  }
  Section& section = report.section("contents", "");
  if (raw) {
    section.payload("bytes", "Contents", contents.bytes);
  } else {
    add_region_contents(section, region, contents.bytes);
  }
  return report;
}

// ---- Writing --------------------------------------------------------------------------------

constexpr Word<std::uint32_t> written_word{"REGION", "region number", "22"};
constexpr Option<std::string> file_option{"--file", "FILE", "take the bytes from a file"};
constexpr Option<HexBytes> hex_option{"--hex", "BYTES", "take the bytes from here", "01 02 03 04"};
constexpr Setting<std::uint32_t> offset_setting{
    "--offset", "NUMBER", "where in the region they go; all others stay (default: 0)", "0", "8"};
constexpr Flag dry_run_flag{"--dry-run", "only show what would change"};

/** A region's bytes with new ones in their place. */
Bytes put_into(Bytes image, const Bytes& given, std::uint32_t offset) {
  if (offset > image.size() || given.size() > image.size() - offset) {
    throw UsageError("The region has {} bytes: {} at offset {} do not fit.", image.size(),
                     count_text(given.size(), "byte"), offset);
  }
  std::ranges::copy(given, image.begin() + static_cast<std::ptrdiff_t>(offset));
  return image;
}

Report write(const Board& board, std::uint32_t number, const std::optional<std::string>& file,
             const std::optional<HexBytes>& hex, std::uint32_t offset, bool dry_run) {
  const RegionKind& region = region_kind(number);
  const RegionIo io{board};
  const RegionContents contents = io.read(region);
  Bytes before = contents.bytes;
  before.resize(region.length);
  const Bytes given = given_bytes(hex, file, ovk::max_region_length,
                                  "Give the bytes either with --file or with --hex.");
  const Bytes after = put_into(before, given, offset);

  Report report = region_report(board, region, contents);
  const std::size_t changed = add_changes(report.section("", ""), before, after);
  const bool needed = changed != 0 || !contents.readable();
  if (dry_run || !needed) {
    return std::move(report).field("written", "Written", false);
  }
  const bool shown = board.ask(
      report, "This changes {} of region {} of {board}, which a wrong byte can make unusable.",
      count_text(changed, "byte"), region.number);
  io.write(region, after);
  return (shown ? Report{} : std::move(report)).field("written", "Written and verified", true);
}

constexpr Word<std::uint32_t> default_word{"REGION", "22 or 23", "23"};

Report initialise(const Board& board, std::uint32_t number) {
  if (number != ovk::region22 && number != ovk::region23) {
    throw UsageError("Only the regions 22 and 23 have a default.");
  }
  board.ask("This replaces all of region {} of {board} by its default.", number);
  board.check(number == ovk::region22 ? OVK_InitR22(board) : OVK_InitR23(board),
              fmt::format("Initialising region {}", number));
  const RegionKind& region = region_kind(number);
  const RegionContents contents = RegionIo{board}.read(region);
  board.check_stored(contents.bytes == default_region(region), fmt::format("Region {}", number));
  Report report = region_report(board, region, contents);
  add_region_contents(report.section("contents", ""), region, contents.bytes);
  return report;
}

// ---- Saving and restoring -------------------------------------------------------------------

constexpr Word<std::string> new_archive_word{"FILE", "the file to be written", "board0.regions"};
constexpr Word<std::string> archive_word{"FILE", "what \"region save\" wrote", "board0.regions"};
constexpr Flag replacement_flag{
    "--replacement", "allow regions of another board of the same model, which this one replaces"};

/** The numbers of some regions. */
List numbers_of(const std::map<std::uint32_t, Bytes>& regions) {
  List numbers;
  for (const auto& [number, bytes] : regions) {
    numbers.push_back(std::to_string(number));
  }
  return numbers;
}

Report save(const Board& board) {
  const RegionIo io{board};
  RegionArchive archive{.board = identity_of(board), .regions = {}};
  go_through(board, "Reading the regions", ovk::region_kinds, [&](const RegionKind& region) {
    if (RegionContents contents = io.read(region); contents.readable()) {
      archive.regions[region.number] = std::move(contents.bytes);
    }
  });
  const std::string text = archive.text();
  return board.report()
      .field("regions", "Saved regions", numbers_of(archive.regions))
      .payload("", "", Bytes(text.begin(), text.end()));
}

void refuse_other_board(const BoardIdentity& saved, const BoardIdentity& here, bool replacement) {
  const bool fits = replacement ? saved.model == here.model : saved == here;
  if (!fits) {
    throw OperationFailed(fmt::format("The file was saved from another board: {}; this is {}.",
                                      saved.text(), here.text()),
                          saved.model == here.model
                              ? "If this board replaces that one, add --replacement."
                              : "Regions of another model do not fit.");
  }
}

Report restore(const Board& board, const std::string& path, bool replacement) {
  const RegionArchive archive = RegionArchive::from_file(path);
  refuse_other_board(archive.board, identity_of(board), replacement);
  const RegionIo io{board};
  std::map<std::uint32_t, Bytes> different;
  go_through(board, "Comparing the regions", archive.regions, [&](const auto& saved) {
    if (io.read(region_kind(saved.first)).bytes != saved.second) {
      different.insert(saved);
    }
  });
  if (!different.empty()) {
    board.ask("This replaces {} of {board} by those of \"{}\".",
              count_text(different.size(), "region"), path);
    go_through(board, "Writing the regions", different,
               [&io](const auto& saved) { io.write(region_kind(saved.first), saved.second); });
  }
  return board.report()
      .field("restored", "Restored and verified", numbers_of(different))
      .field("unchanged", "Already the same",
             static_cast<std::uint32_t>(archive.regions.size() - different.size()));
}

// ---- Persistent link down -------------------------------------------------------------------

constexpr ResultText link_down_results[] = {
    {OVK_NOT_SUPPORTED, "the board cannot keep its link down, or its setting is damaged",
     "See with \"ovkctl show\" whether it has the feature, and with \"ovkctl region read BOARD "
     "23\" what is stored."},
    {OVK_RECORD_NOT_FOUND, "region 23 holds no such setting",
     "Give region 23 its default contents with \"ovkctl region init BOARD 23\"."},
};

bool read_link_down(const Board& board) {
  return board.read(OVK_GetPersistLinkDown, "Reading persistent link down", link_down_results) != 0;
}

Report show_link_down(const Board& board) {
  return board.report().field("link_down", "Persistent link down", read_link_down(board));
}

Report set_link_down(const Board& board, bool link_down) {
  board.check(OVK_SetPersistLinkDown(board, link_down ? 1 : 0), "Setting persistent link down",
              link_down_results);
  board.check_stored(read_link_down(board) == link_down, "Persistent link down");
  return show_link_down(board);
}

Report keep_link_down(const Board& board) { return set_link_down(board, true); }
Report let_link_come_up(const Board& board) { return set_link_down(board, false); }

}  // namespace

void add_regions(Command root) {
  const Command region =
      root.noun("region", "Read and write an adapter's non-volatile configuration");
  region.command("list", "List the regions of a board").shows(list);
  region.command("read", "Show what a region holds")
      .takes(region_word, raw_flag)
      .saves()
      .example("0 23 --raw")
      .example("0 14 -o region14.bin")
      .shows(read);
  region.command("write", "Change a region, and read it back")
      .takes(written_word, file_option, hex_option, offset_setting, dry_run_flag)
      .asks_itself()
      .example("0 14 --file region14.bin --dry-run")
      .shows(write);
  region.command("init", "Give region 22 or 23 its default contents")
      .takes(default_word)
      .asks_itself()
      .shows(initialise);
  region.command("save", "Save all regions of a board to a file")
      .saves(new_archive_word)
      .shows(save);
  region.command("restore", "Write the regions of a saved file back")
      .takes(archive_word, replacement_flag)
      .asks_itself()
      .shows(restore);

  const Command linkdown =
      root.noun("linkdown", "Keep a board's link down across resets and power cycles");
  linkdown.command("show", "Show whether the link is kept down").shows(show_link_down);
  linkdown.command("on", "Keep the link down")
      .asks("This keeps the link of {board} down from the next reset on.")
      .shows(keep_link_down);
  linkdown.command("off", "Let the link come up")
      .asks("This lets the link of {board} come up from the next reset on.")
      .shows(let_link_come_up);
}

}  // namespace ovkctl
