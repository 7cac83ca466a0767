#include "ovkctl/frame/board_command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/frame/terminal.h"
#include "ovkctl/subjects/region_archive.h"
#include "ovkctl/subjects/region_io.h"
#include "ovkctl/subjects/region_text.h"

#include <ovk/core.h>
#include <ovk/regions.h>

#include <algorithm>
#include <string>

namespace ovkctl {
namespace {

std::string place_text(std::uint32_t board, std::uint32_t region) {
  return "region " + std::to_string(region) + " of board " + std::to_string(board);
}

std::string count_text(std::size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

Report region_report(std::uint32_t board, const RegionKind& region,
                     const RegionContents& contents) {
  Report report;
  report.field("board", "Board", board)
      .field("region", "Region", region.number)
      .field("state", "State", contents.state())
      .field("size_bytes", "Size", Size{region.length});
  return report;
}

void read_region(const Context& context, std::uint32_t board, std::uint32_t number, bool raw,
                 const Given<std::string>& output) {
  const RegionKind& region = region_kind(number);
  const RegionContents contents = RegionIo(board).read(region);
  Report report = region_report(board, region, contents);
  if (output.present()) {
    write_file(*output, RegionIo(board).read_bytes(region));
    report.field("file", "Written to", *output);
  } else if (contents.readable() && raw) {
    report.section("contents", "").dump("bytes", "Contents", contents.bytes);
  } else if (contents.readable()) {
    add_region_contents(report.section("contents", ""), region, contents.bytes);
  }
  context.print(report);
}

void add_read(const Command& noun) {
  const Command read = noun.subcommand("read", "Show what a region holds");
  read.example("ovkctl region read 0 23");
  read.example("ovkctl region read 0 23 --raw");
  read.example("ovkctl region read 0 14 -o region14.bin");
  const auto board = read.board();
  const auto number = read.argument<std::uint32_t>("REGION", "region number");
  const auto raw = read.flag("--raw", "show the bytes, also where their meaning is known");
  const auto output = read.output_file();
  read.action([=](const Context& context) {
    const Session session;
    read_region(context, session.board(*board), *number, *raw, output);
  });
}

Report list_report(std::uint32_t board) {
  const RegionIo io(board);
  Report report;
  Table& table = report.table(
      "regions", "", {{"region", "REGION"}, {"size_bytes", "SIZE"}, {"state", "STATE"}}, "");
  for (const RegionKind& region : ovk::region_kinds) {
    table.row({region.number, Size{region.length}, io.read(region).state()});
  }
  return report;
}

void add_list(const Command& noun) {
  add_board_report(noun, "list", "List the regions of a board", "ovkctl region list 0",
                   list_report);
}

/** What is to be written, and where in the region. */
struct NewBytes {
  Given<std::string> file;
  Given<HexBytes> hex;
  Given<std::uint32_t> offset;

  [[nodiscard]] Bytes bytes() const {
    if (file.present() == hex.present()) {
      throw UsageError("Give the bytes either with --file or with --hex.");
    }
    return file.present() ? read_file(*file, ovk::max_region_length) : hex->bytes;
  }

  /** The region's bytes with the new ones in their place. */
  [[nodiscard]] Bytes put_into(Bytes image) const {
    const Bytes given = bytes();
    if (*offset > image.size() || given.size() > image.size() - *offset) {
      throw UsageError("The region has " + std::to_string(image.size()) +
                       " bytes: " + count_text(given.size(), "byte") + " at offset " +
                       std::to_string(*offset) + " do not fit.");
    }
    std::ranges::copy(given, image.begin() + static_cast<std::ptrdiff_t>(*offset));
    return image;
  }
};

void write_region(const Context& context, std::uint32_t board, std::uint32_t number,
                  const NewBytes& given, bool dry_run, bool yes) {
  const RegionKind& region = region_kind(number);
  const RegionIo io(board);
  const RegionContents contents = io.read(region);
  Bytes before = contents.bytes;
  before.resize(region.length);
  const Bytes after = given.put_into(before);

  Report report = region_report(board, region, contents);
  const std::size_t changed = add_changes(report.section("", ""), before, after);
  const bool needed = changed != 0 || !contents.readable();
  if (dry_run || !needed) {
    report.field("written", "Written", false);
    context.print(report);
    return;
  }
  const bool preview = !yes && !context.json();
  if (preview) {
    context.print(report);
  }
  confirm(yes, "This changes " + count_text(changed, "byte") + " of " + place_text(board, number) +
                   ", which a wrong byte can make unusable.");
  io.write(region, after);
  Report done;
  Report& result = preview ? done : report;
  result.field("written", "Written and verified", true);
  context.print(result);
}

void add_write(const Command& noun) {
  const Command write = noun.subcommand("write", "Change a region, and read it back");
  write.example("ovkctl region write 0 22 --offset 8 --hex \"01 02 03 04\" --dry-run");
  write.example("ovkctl region write 0 14 --file region14.bin --yes");
  const auto board = write.board();
  const auto number = write.argument<std::uint32_t>("REGION", "region number");
  const NewBytes given{
      .file = write.option<std::string>("--file", "FILE", "take the bytes from a file"),
      .hex = write.option<HexBytes>("--hex", "BYTES", "take the bytes from here"),
      .offset = write.option<std::uint32_t>(
          "--offset", "NUMBER", "where in the region they go; all others stay (default: 0)")};
  const auto dry_run = write.flag("--dry-run", "only show what would change");
  const auto yes = write.yes();
  write.action([=](const Context& context) {
    const Session session;
    write_region(context, session.board(*board), *number, given, *dry_run, *yes);
  });
}

void init_region(const Context& context, std::uint32_t board, std::uint32_t number, bool yes) {
  if (number != ovk::region22 && number != ovk::region23) {
    throw UsageError("Only the regions 22 and 23 have a default.");
  }
  confirm(yes, "This replaces all of " + place_text(board, number) + " by its default.");
  check_board(number == ovk::region22 ? OVK_InitR22(board) : OVK_InitR23(board), board,
              "Initialising region " + std::to_string(number));
  const RegionKind& region = region_kind(number);
  const RegionContents contents = RegionIo(board).read(region);
  if (contents.bytes != default_region(region)) {
    fail_verification(board, "Region " + std::to_string(number));
  }
  Report report = region_report(board, region, contents);
  add_region_contents(report.section("contents", ""), region, contents.bytes);
  context.print(report);
}

void add_init(const Command& noun) {
  const Command init = noun.subcommand("init", "Give region 22 or 23 its default contents");
  init.example("ovkctl region init 0 23 --yes");
  const auto board = init.board();
  const auto number = init.argument<std::uint32_t>("REGION", "22 or 23");
  const auto yes = init.yes();
  init.action([=](const Context& context) {
    const Session session;
    init_region(context, session.board(*board), *number, *yes);
  });
}

void save_regions(const Context& context, std::uint32_t board, const std::string& path) {
  const RegionIo io(board);
  RegionArchive archive{.board = identity_of(board), .regions = {}};
  Progress progress("Reading", std::size(ovk::region_kinds));
  for (const RegionKind& region : ovk::region_kinds) {
    if (RegionContents contents = io.read(region); contents.readable()) {
      archive.regions[region.number] = std::move(contents.bytes);
    }
  }
  const std::string text = archive.text();
  write_file(path, Bytes(text.begin(), text.end()));
  List saved;
  for (const auto& [number, bytes] : archive.regions) {
    saved.push_back(std::to_string(number));
  }
  Report report;
  report.field("board", "Board", board)
      .field("regions", "Saved regions", saved)
      .field("file", "Written to", path);
  context.print(report);
}

void add_save(const Command& noun) {
  const Command save = noun.subcommand("save", "Save all regions of a board to a file");
  save.example("ovkctl region save 0 board0.regions");
  const auto board = save.board();
  const auto path = save.argument<std::string>("FILE", "the file to be written");
  save.action([=](const Context& context) {
    const Session session;
    save_regions(context, session.board(*board), *path);
  });
}

void refuse_other_board(const BoardIdentity& saved, const BoardIdentity& here, bool replacement) {
  const bool fits = replacement ? saved.model == here.model : saved == here;
  if (!fits) {
    throw OperationFailed(
        "The file was saved from another board: " + saved.model + " " + saved.serial_number +
            ", port " + saved.port_wwn + "; this is " + here.model + " " + here.serial_number +
            ", port " + here.port_wwn + ".",
        saved.model == here.model ? "If this board replaces that one, add --replacement."
                                  : "Regions of another model do not fit.");
  }
}

void restore_regions(const Context& context, std::uint32_t board, const std::string& path,
                     bool replacement, bool yes) {
  const RegionArchive archive = RegionArchive::from_file(path);
  refuse_other_board(archive.board, identity_of(board), replacement);
  const RegionIo io(board);
  std::map<std::uint32_t, Bytes> different;
  for (const auto& [number, bytes] : archive.regions) {
    if (io.read(region_kind(number)).bytes != bytes) {
      different[number] = bytes;
    }
  }
  List restored;
  if (!different.empty()) {
    confirm(yes, "This replaces " + count_text(different.size(), "region") + " of board " +
                     std::to_string(board) + " by those of \"" + path + "\".");
  }
  for (const auto& [number, bytes] : different) {
    io.write(region_kind(number), bytes);
    restored.push_back(std::to_string(number));
  }
  Report report;
  report.field("board", "Board", board)
      .field("restored", "Restored and verified", restored)
      .field("unchanged", "Already the same",
             static_cast<std::uint32_t>(archive.regions.size() - different.size()));
  context.print(report);
}

void add_restore(const Command& noun) {
  const Command restore = noun.subcommand("restore", "Write the regions of a saved file back");
  restore.example("ovkctl region restore 0 board0.regions --yes");
  const auto board = restore.board();
  const auto path = restore.argument<std::string>("FILE", "what \"region save\" wrote");
  const auto replacement = restore.flag(
      "--replacement", "allow regions of another board of the same model, which this one replaces");
  const auto yes = restore.yes();
  restore.action([=](const Context& context) {
    const Session session;
    restore_regions(context, session.board(*board), *path, *replacement, *yes);
  });
}

}  // namespace

void add_region(Command root) {
  const Command noun =
      root.subcommand("region", "Read and write an adapter's non-volatile configuration");
  add_list(noun);
  add_read(noun);
  add_write(noun);
  add_init(noun);
  add_save(noun);
  add_restore(noun);
}

}  // namespace ovkctl
